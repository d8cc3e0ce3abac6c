#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

# Library and tools build for a device's platform, over stand-ins for its shared libraries; they work, and look for
# these and other libraries only where the system does.
source "$(dirname "$0")/common.sh"

static_tree
sign_package "$out/static/pkgsign/pkgsign" "$out/package"
cmake --build "$out/static" -j "$jobs" --target qzlog qzosax annexk
stand_in=$out/static/platform/stand-in
built=$out/device

for shared in OFF ON; do
  build_tree device "$root" -DSIGKIT_PLATFORM=device -DSIGKIT_PLATFORM_LIBRARY_DIR="$stand_in" \
    -DBUILD_SHARED_LIBS=$shared
  install_tree device
  for program in "$built/src/verify_tool" "$built/crltool/crl_compare"; do
    for library in qzlog qzosax annexk; do
      readelf -d "$program" | grep "NEEDED.*\[lib$library.so\]" || fail "$program does not use the device's lib$library"
    done
  done
  expect 127 "$built/src/verify_tool" # the build does not write into a program where the device's libraries are
  LD_LIBRARY_PATH=$stand_in tests/check_working_directory.py "$built/src/verify_tool" "$built/crltool/crl_compare" \
    "$built/pkgsign/pkgsign" "$built/tools/trust_anchor_embed"
  try_tool "$out/package" env LD_LIBRARY_PATH="$stand_in:$out/device-root/usr/lib/$multiarch" \
    "$out/device-root/usr/bin/verify_tool"
done
echo "over a device's shared libraries verify_tool judges as it should, and no program loads a library of the working" \
  "directory; with libsigkit.a and with libsigkit.so.2"
