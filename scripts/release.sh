#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

# Makes a release of the commit that is checked out, in build/release-VERSION: the source archive, its SBOM (SPDX),
# SHA256SUMS of both, and SHA256SUMS.cms, its detached signature; then the annotated tag vVERSION. Nothing is published.
# Usage: scripts/release.sh [--checked] VERSION --crl FILE [option of `pkgsign sign`...]
#   --checked  leave out scripts/test.sh and scripts/check-all.sh, which have passed on this commit
# The options name the key, such as --key 'pkcs11:token=release;object=signer' --certificate signer.pem --root root.pem,
# or a PKI folder, and what it takes for the timestamp. The signature must be one that `pkgsign check` takes with that
# root and the CRL file.
#
# What ends it before the tag is there leaves no build/release-VERSION; a SIGKILL may leave one that is whole.
set -euo pipefail
cd "$(dirname "$0")/.."

fail() {
  echo "release.sh: $*" >&2
  exit 1
}

checked=no
[ "${1-}" != --checked ] || { checked=yes && shift; }
[ $# -ge 2 ] || { sed -n '/^# Usage/,/^#$/s/^# \{0,1\}//p' "$0" >&2 && exit 2; }
version=$1
shift
[[ $version =~ ^[0-9]+\.[0-9]+\.[0-9]+$ ]] || fail "'$version' is no version: three numbers with dots between them"

# What `pkgsign check` is given of the options.
judged_by=()
for ((i = 1; i <= $#; i++)); do
  next=$((i + 1))
  case ${!i} in
    --root | --pki | --crl) judged_by+=("${!i}=${!next-}") ;;
    --root=* | --pki=* | --crl=*) judged_by+=("${!i}") ;;
  esac
done
[[ " ${judged_by[*]-}" = *' --crl='* ]] || fail "--crl FILE is missing: the signature is checked with it"

# expect_clean: the tree holds the files of the commit and no others, neither changed nor hidden from git.
expect_clean() {
  [ -z "$(git status --porcelain)" ] || fail "the tree has changes: commit them, or take them away"
  # Of files that are assumed to be unchanged, or are none of the tree's, git does not look for changes.
  [ -z "$(git ls-files -v | sed '/^H /d')" ] || fail "there are files that git does not look at: git ls-files -v"
  diff <(git -c core.quotePath=off ls-files | LC_ALL=C sort) <(scripts/files.sh) >&2 ||
    fail "the tree holds other files than the commit"
}

expect_clean
commit=$(git rev-parse HEAD)
grep -qF "project(sigkit VERSION $version " CMakeLists.txt || fail "CMakeLists.txt has another version than $version"
grep -qx "## ${version//./\\.}, [0-9]\{4\}-[0-9][0-9]-[0-9][0-9]" CHANGELOG.md ||
  fail "CHANGELOG.md has no heading '## $version, YYYY-MM-DD'"
[ "$(sed -n '1s/.*(\(.*\)).*/\1/p' debian/changelog)" = "$version" ] || fail "debian/changelog has another version"
! git rev-parse -q --verify "refs/tags/v$version" >/dev/null || fail "there is a tag v$version already"
git var GIT_COMMITTER_IDENT >/dev/null || fail "git does not know who makes the tag"

if [ "$checked" = no ]; then
  scripts/test.sh
  scripts/check-all.sh || fail "the check did not pass whole"
  expect_clean
  [ "$(git rev-parse HEAD)" = "$commit" ] || fail "another commit was checked out during the check"
fi

out=build/release-$version
part=$out.part # until it is whole
clean_up() {
  rm -rf "$part"
  git rev-parse -q --verify "refs/tags/v$version" >/dev/null || rm -rf "$out"
}
trap clean_up EXIT
rm -rf "$out" "$part"
mkdir -p "$part/again"
archive=sigkit-$version.tar.gz
scripts/bootstrap.sh build release
scripts/source_archive.sh "$version" "$part" >/dev/null
# Whoever unpacks it can pack the same octets.
tar -C "$part/again" -xf "$part/$archive"
"$part/again/sigkit-$version/scripts/source_archive.sh" "$version" "$part/again" >/dev/null
cmp "$part/$archive" "$part/again/$archive" || fail "packed again, the source archive has other octets"
rm -rf "$part/again"
scripts/source_sbom.sh "$version" "$part" >/dev/null
(cd "$part" && sha256sum "sigkit-$version".* >SHA256SUMS)

cmake --preset release >/dev/null
cmake --build --preset release -j "$(nproc)" --target pkgsign >/dev/null
pkgsign=build/release/pkgsign/pkgsign
"$pkgsign" sign "$part/SHA256SUMS" --out "$part/SHA256SUMS.cms" "$@" || fail "there is no signature"
answer=$("$pkgsign" check "$part/SHA256SUMS" --signature "$part/SHA256SUMS.cms" "${judged_by[@]}") ||
  fail "the signature is none that a device would take${answer:+: $answer}"

mv "$part" "$out"
git tag -a "v$version" -m "Sigkit $version" "$commit" || fail "git has made no tag"
echo "$out:"
(cd "$out" && sha256sum -- *)
echo "The tag v$version names $(git rev-parse --short "$commit")."
