#!/usr/bin/env bash
# A program outside this tree builds against the installed library, in C11 by pkg-config and in C++20 by CMake, over the
# archive and over the shared library, and verifies a package over a host of its own.
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
for language in c cxx; do
  uses_shared "$out/consumer-shared-$language/consumer" || fail "$language: the shared library was not linked"
  ! uses_shared "$out/consumer-static-$language/consumer" || fail "$language: the archive was not linked"
done
try_consumer "$out/package" "$out/consumer-shared-cxx/consumer_static"

# A version that is not there is refused, so that a project learns of it when it is configured.
mkdir -p "$out/next-version"
printf 'cmake_minimum_required(VERSION 3.16)\nproject(next NONE)\nfind_package(Sigkit 3.0 REQUIRED)\n' \
  >"$out/next-version/CMakeLists.txt"
expect 1 cmake -S "$out/next-version" -B "$out/next-version/build" -DCMAKE_PREFIX_PATH="$out/static-root/usr"
PKG_CONFIG_PATH=$out/static-root/usr/lib/$multiarch/pkgconfig expect 1 pkg-config --exists 'sigkit >= 3'

echo "C11 by pkg-config and C++20 by CMake, archive and shared library: authentic; tampered and revoked refused"
