#!/usr/bin/env bash
# The same on a machine that stores the high octet of a number first.
source "$(dirname "$0")/cross.sh"

prepare_machine s390x
check_machine big
what_was_seen
