#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

# Writes DIRECTORY/sigkit-VERSION.spdx, what `reuse spdx` says of the files in DIRECTORY/sigkit-VERSION.tar.gz: licence,
# copyright and SHA-1 of each, as SPDX 2.1. The same octets for the same archive and the same reuse, whoever writes it:
# what reuse takes from a clock and by lot comes from the changelog's date and the archive's digest.
# Usage: scripts/source_sbom.sh VERSION DIRECTORY
set -euo pipefail
version=$1 out=$(cd "$2" && pwd)
archive=$out/sigkit-$version.tar.gz
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

tar -C "$scratch" -xf "$archive"
cd "$scratch/sigkit-$version"
date=$(sed -n "s/^## $version, //p" CHANGELOG.md)
digest=$(sha256sum <"$archive" | cut -d ' ' -f 1)
# No repository around the scratch directory may say which of the files count.
export GIT_CEILING_DIRECTORIES=$scratch
reuse --root . spdx --output "$scratch/sbom.spdx"
sed -e "s,^DocumentNamespace: .*,DocumentNamespace: http://spdx.org/spdxdocs/sigkit-$version-$digest," \
  -e "s,^Created: .*,Created: ${date}T00:00:00Z," \
  -e '/^Creator: Person: /d' -e 's,^Creator: Organization: .*,Creator: Organization: The Sigkit authors (),' \
  "$scratch/sbom.spdx" >"$out/sigkit-$version.spdx"
echo "$out/sigkit-$version.spdx"
