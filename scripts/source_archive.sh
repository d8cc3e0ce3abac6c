#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

# Packs the source tree, as it is but for what builds leave in it, into DIRECTORY/sigkit-VERSION.tar.gz: the same octets
# whoever packs it, wherever. Usage: scripts/source_archive.sh VERSION DIRECTORY
set -euo pipefail
version=$1 out=$(cd "$2" && pwd)
cd "$(dirname "$0")/.."
unset GZIP TAR_OPTIONS # would be taken for options

date=$(sed -n "s/^## $version, //p" CHANGELOG.md)
[ -n "$date" ] || { echo "source_archive.sh: CHANGELOG.md has no heading '## $version, DATE'" >&2; exit 1; }
scripts/files.sh | tar -c --no-recursion --verbatim-files-from -T - --format=ustar --mtime="$date UTC" \
  --owner=0 --group=0 --numeric-owner --mode='u=rwX,go=rX' --transform="s,^,sigkit-$version/,S" |
  gzip -9n >"$out/sigkit-$version.tar.gz"
echo "$out/sigkit-$version.tar.gz"
