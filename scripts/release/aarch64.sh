#!/usr/bin/env bash
# Everything builds with the cross compiler for aarch64; tests and tools run under qemu.
source "$(dirname "$0")/cross.sh"

prepare_machine aarch64
check_machine little
what_was_seen
