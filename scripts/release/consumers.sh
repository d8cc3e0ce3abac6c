#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

# The installed examples build against the installed library by pkg-config and by CMake, and a program outside this tree
# in C++20, over the archive and over the shared library; each verifies a package over a host of its own.
source "$(dirname "$0")/common.sh"

# uses_shared PROGRAM: returns whether a program is linked with libsigkit.so.2.
uses_shared() { readelf -d "$1" | grep 'NEEDED.*\[libsigkit.so.2\]' >/dev/null; }

static_tree
shared_tree
sign_package "$out/static-root/usr/bin/pkgsign" "$out/package"
for kind in static shared; do
  by_pkg_config "$kind"
  by_cmake "$kind"
done
for program in c/verify_memory cmake/verify_memory cxx/consumer; do
  uses_shared "$out/consumer-shared-$program" || fail "$program: the shared library was not linked"
  ! uses_shared "$out/consumer-static-$program" || fail "$program: the archive was not linked"
done
try_consumer "$out/package" "$out/consumer-shared-cxx/consumer_static"

# A version that is not there is refused, so that a project learns of it when it is configured.
mkdir -p "$out/next-version"
printf 'cmake_minimum_required(VERSION 3.16)\nproject(next NONE)\nfind_package(Sigkit 3.0 REQUIRED)\n' \
  >"$out/next-version/CMakeLists.txt"
expect 1 cmake -S "$out/next-version" -B "$out/next-version/build" -DCMAKE_PREFIX_PATH="$out/static-root/usr"
PKG_CONFIG_PATH=$out/static-root/usr/lib/$multiarch/pkgconfig expect 1 pkg-config --exists 'sigkit >= 3'

echo "installed examples by pkg-config and by CMake, C++20 by CMake, archive and shared library: authentic; tampered" \
  "and revoked refused"
