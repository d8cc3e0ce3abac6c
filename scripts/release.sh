#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

# Makes a release of the commit that is checked out, in build/release-VERSION: the source archive, SHA256SUMS, and
# SHA256SUMS.cms, its detached signature; then the annotated tag vVERSION. Nothing is published.
# Usage: scripts/release.sh [--checked] VERSION [option of `pkgsign sign`...]
#   --checked  leave out scripts/test.sh and scripts/check-all.sh, which have passed on this commit
# The options name the key, such as --key 'pkcs11:token=release;object=signer' --certificate signer.pem, or a PKI
# folder, and what it takes for the timestamp.
set -euo pipefail
cd "$(dirname "$0")/.."

fail() {
  echo "release.sh: $*" >&2
  exit 1
}

checked=no
[ "${1-}" != --checked ] || { checked=yes && shift; }
[ $# -ge 2 ] || { sed -n '/^# Usage/,/^set/s/^# \{0,1\}//p' "$0" >&2 && exit 2; }
version=$1
shift

[ -z "$(git status --porcelain)" ] || fail "the tree has changes: commit them, or take them away"
grep -q "^project(sigkit VERSION $version " CMakeLists.txt || fail "CMakeLists.txt has another version than $version"
grep -q "^## $version, [0-9]\{4\}-[0-9][0-9]-[0-9][0-9]$" CHANGELOG.md ||
  fail "CHANGELOG.md has no heading '## $version, YYYY-MM-DD'"
[ "$(sed -n '1s/.*(\(.*\)).*/\1/p' debian/changelog)" = "$version" ] || fail "debian/changelog has another version"
! git rev-parse -q --verify "refs/tags/v$version" >/dev/null || fail "there is a tag v$version already"

if [ "$checked" = no ]; then
  scripts/test.sh
  scripts/check-all.sh || fail "the check did not pass whole"
fi

out=build/release-$version
rm -rf "$out"
mkdir -p "$out/again"
archive=sigkit-$version.tar.gz
scripts/source_archive.sh "$version" "$out" >/dev/null
# Whoever unpacks it can pack the same octets.
tar -C "$out/again" -xf "$out/$archive"
"$out/again/sigkit-$version/scripts/source_archive.sh" "$version" "$out/again" >/dev/null
cmp "$out/$archive" "$out/again/$archive" || fail "packed again, the source archive has other octets"
rm -rf "$out/again"
(cd "$out" && sha256sum "$archive" >SHA256SUMS)

scripts/bootstrap.sh build
cmake --preset release >/dev/null
cmake --build --preset release -j "$(nproc)" --target pkgsign >/dev/null
build/release/pkgsign/pkgsign sign "$out/SHA256SUMS" --out "$out/SHA256SUMS.cms" "$@"
git tag -a "v$version" -m "Sigkit $version"
echo "$out:"
(cd "$out" && sha256sum -- *)
echo "The tag v$version names $(git rev-parse --short HEAD)."
