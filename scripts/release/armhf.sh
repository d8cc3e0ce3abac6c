#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

# The same on a machine of 32 bits that aligns every number by its size.
source "$(dirname "$0")/cross.sh"

prepare_machine arm
check_machine little
what_was_seen
