#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

# The same on a machine that stores the high octet of a number first.
source "$(dirname "$0")/cross.sh"

prepare_machine s390x
check_machine big
what_was_seen
