#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

# Installs the Debian packages that are missing and says which. Usage: scripts/bootstrap.sh [SET]...
# Sets: build test fuzz coverage lint docs bench release cross replay
set -euo pipefail

packages_for() {
  case $1 in
    build) echo g++ cmake make pkg-config libcli11-dev libcurl4-openssl-dev libmicrohttpd-dev libssl-dev \
                nlohmann-json3-dev openssl ;;
    test) echo libgtest-dev libgmock-dev ca-certificates binutils doxygen faketime file libengine-pkcs11-openssl \
               mandoc opensc python3 softhsm2 systemd ;;
    fuzz) echo clang libclang-rt-dev llvm python3 ;;
    coverage) echo gcovr ;;
    lint) echo clang-format clang-tidy reuse shellcheck ;;
    docs) echo doxygen graphviz mandoc python3 ;;
    bench) echo libbenchmark-dev hyperfine valgrind gnuplot-nox time python3 wrk ;;
    release) echo debhelper debootstrap dpkg-dev lintian reuse ;;
    cross) echo g++-i686-linux-gnu g++-arm-linux-gnueabihf g++-aarch64-linux-gnu g++-riscv64-linux-gnu \
                g++-s390x-linux-gnu qemu-user ;;
    replay) echo clang-14 clang-16 g++-11 g++-12 lld-14 lld-16 musl-tools ;;
    *) echo "bootstrap.sh: unknown set '$1'" >&2; exit 2 ;;
  esac
}

missing=()
for set in "${@:-build}"; do
  for package in $(packages_for "$set"); do
    if [ "$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null)" != installed ]; then
      missing+=("$package")
    fi
  done
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "Installing Debian packages: ${missing[*]}"
as_root=()
[ "$(id -u)" -eq 0 ] || as_root=(sudo)
export DEBIAN_FRONTEND=noninteractive
"${as_root[@]}" apt-get update -qq
"${as_root[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
