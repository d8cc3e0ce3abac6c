#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

# Everything builds with the cross compiler for aarch64; tests and tools run under qemu.
source "$(dirname "$0")/cross.sh"

prepare_machine aarch64
check_machine little
what_was_seen
