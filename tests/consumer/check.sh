#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

# Installs a build, and builds the installed examples and tests/consumer over it, by pkg-config and by CMake. The tool
# stays where it is, as it trusts a development root; scripts/release-check.sh installs one with another root.
# Usage: tests/consumer/check.sh BUILD
set -euo pipefail
build=$(cd "$1" && pwd)
out=$build/tests/consumer
source "$(dirname "$0")/../../scripts/release/common.sh"

rm -rf "$out"
mkdir -p "$out"
ln -s "$build/development-pki" "$out/pki"
tree=$out/static-root/usr
for component in development pkgsign crl_compare; do
  cmake --install "$build" --prefix "$tree" --component "$component"
done
expect 1 cmake --install "$build" --prefix "$tree" --component tool
[ -z "$(find "$tree" -name verify_tool)" ] || fail "a tool with a development root was installed"

sign_package "$tree/bin/pkgsign" "$out/package"
try_tool "$out/package" "$build/src/verify_tool"
expect 0 "$tree/bin/crl_compare" --root "$out/package/root.der" "$out/package/crls.der" "$out/package/crls.der"
by_pkg_config static
by_cmake static
