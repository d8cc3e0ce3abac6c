#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

# scripts/release.sh makes a release that can be checked with openssl alone, of a clean tree and once only.
source "$(dirname "$0")/common.sh"

[ -d .git ] || could_not "a release is made in a clone, and this is none"
release_pki
version=$(sed -n 's/^project(sigkit VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
clone=$out/release-clone
made=$clone/build/release-$version
make_release() { "$clone/scripts/release.sh" --checked "$version" --pki "$pki"; }

rm -rf "$clone"
git clone -q . "$clone"
git -C "$clone" config user.name "Release check"
git -C "$clone" config user.email release-check@sigkit.invalid
echo >>"$clone/README.md"
expect 1 make_release
git -C "$clone" checkout -q README.md
make_release
expect 1 make_release # the tag is there
[ "$(git -C "$clone" cat-file -t "v$version")" = tag ] || fail "the tag is not annotated"
(cd "$made" && sha256sum --check --strict SHA256SUMS)
openssl cms -verify -binary -inform DER -in "$made/SHA256SUMS.cms" -content "$made/SHA256SUMS" -purpose any \
  -CAfile "$pki/certificates/root.pem" -out "$out/release.verified"
cmp "$made/SHA256SUMS" "$out/release.verified"

echo "release $version: source archive the same when it is packed again, signed and tagged"
