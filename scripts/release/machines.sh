# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

# shellcheck shell=bash
# Other machines for which things are built and tried on this one.

# machine_names MACHINE: sets what else a machine is called that has this name to qemu: compiler, which Debian's cross
# compiler begins with; architecture and triplet, its packages and where their libraries lie. False for no such machine.
machine_names() {
  machine=$1
  case $machine in
    i386) compiler=i686-linux-gnu architecture=i386 triplet=i386-linux-gnu ;;
    arm) compiler=arm-linux-gnueabihf architecture=armhf triplet=$compiler ;;
    aarch64) compiler=aarch64-linux-gnu architecture=arm64 triplet=$compiler ;;
    riscv64) compiler=riscv64-linux-gnu architecture=riscv64 triplet=$compiler ;;
    s390x) compiler=s390x-linux-gnu architecture=s390x triplet=$compiler ;;
    *) return 1 ;;
  esac
}

# emulate COMMAND...: runs a program of the machine. qemu-i386 7.2 hangs with two threads, so an x86-64 kernel runs
# those of i386 itself.
emulate() {
  if runs_by_itself; then
    "/usr/$compiler/lib/ld-linux.so.2" --library-path "/usr/$compiler/lib" "$@"
  else
    "qemu-$machine" -L "/usr/$compiler" "$@"
  fi
}

runs_by_itself() { [ "$machine $(uname -m)" = 'i386 x86_64' ]; }
