#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

# The shared library shows its public operations and leaves the callbacks to the program, and the tools work over it
# without looking for it where others could put another one.
source "$(dirname "$0")/common.sh"

shared_tree
library=$out/shared-root/usr/lib/$multiarch
tests/check_exports.py "$library/libsigkit.so.2" "$library/libsigkit_status.a" \
  "$out/shared-root/usr/bin/verify_tool"
ctest --test-dir "$out/shared" --output-on-failure --no-tests=error
sign_package "$out/shared-root/usr/bin/pkgsign" "$out/package"
try_tool "$out/package" env LD_LIBRARY_PATH="$library" "$out/shared-root/usr/bin/verify_tool"

# In a tree outside the system's folders the programs find the library by themselves, wherever the tree is moved to.
cmake -S . -B "$out/shared" -DCMAKE_INSTALL_PREFIX=/opt/sigkit
cmake --build "$out/shared" -j "$jobs"
ctest --test-dir "$out/shared" --output-on-failure --no-tests=error
rm -rf "$out/moved"
cmake --install "$out/shared" --prefix "$out/moved/first"
mv "$out/moved/first" "$out/moved/second"
try_tool "$out/package" "$out/moved/second/bin/verify_tool"
tests/check_hardening.py --search-paths "$out/moved/second"
tests/check_working_directory.py "$out/moved/second/bin/"*

shown=$(nm -D --defined-only "$library/libsigkit.so.2" | grep -c ' T ')
left=$(nm -D --undefined-only "$library/libsigkit.so.2" | grep -c ' U Sigkit')
echo "libsigkit.so.2 shows $shown operations and leaves $left callbacks to its host; verify_tool works over it, in a" \
  "moved tree too; no program loads a library of the working directory"
