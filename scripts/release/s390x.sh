#!/usr/bin/env bash
# The same on a machine that stores the high octet of a number first.
source "$(dirname "$0")/cross.sh"

prepare_machine s390x
check_machine big
echo "s390x (big-endian) under qemu: $tests tests of the library pass; packages are judged alike there and here"
