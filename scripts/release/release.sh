#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

# scripts/release.sh makes a release, signed by a key in a token, that openssl, verify_tool and pkgsign can check; of a
# clean tree, once, with the version that the tree has, and whole or not at all. Its archive and SBOM are the same
# octets when they are made in another place, at another time and by another user.
source "$(dirname "$0")/common.sh"

[ -e .git ] || could_not "a release is made in a clone, and this is none"
scripts/bootstrap.sh release || could_not "the tools that make a release cannot be installed"
clone=$out/release-clone
made=$clone/build/release-$version
refused=0

# What signs: a key in a token, whose certificate is of a copy of the PKI.
make_signer() {
  local module=/usr/lib/softhsm/libsofthsm2.so
  release_pki
  rm -rf "$out/release-pki" "$out/token" "$out/release-crls.der"
  cp -rL "$pki" "$out/release-pki"
  mkdir -p "$out/token/store"
  echo "directories.tokendir = $out/token/store" >"$out/token/conf"
  (umask 077 && echo 1234 >"$out/token/pin")
  export SOFTHSM2_CONF=$out/token/conf PKCS11_MODULE_PATH=$module
  softhsm2-util --init-token --free --label release --so-pin 0000 --pin 1234
  PIN=1234 pkcs11-tool --module "$module" --token-label release --login --pin env:PIN --label signer \
    --keypairgen --key-type rsa:3072 --id 01
  key="pkcs11:token=release;object=signer?pin-source=$out/token/pin"
  pkgsign issue --as signer --name token --key "$key" --pki "$out/release-pki"
  pkgsign crl --pki "$out/release-pki" --out "$out/release-crls.der"
  judged_by=(--pki "$out/release-pki" --root "$pki/certificates/root.pem" --crl "$out/release-crls.der")
  certificate=$out/release-pki/certificates/token.pem
}

pkgsign() { "$out/static-root/usr/bin/pkgsign" "$@"; }

make_clone() {
  rm -rf "$clone"
  git clone -q --no-tags . "$clone" # the release may have been made here already
  git -C "$clone" config user.name "Release check"
  git -C "$clone" config user.email release-check@sigkit.invalid
}

make_release() { "$clone/scripts/release.sh" --checked "$@"; }

# What a refusal must leave as it was: branches, tags, the tree, and the releases that are there.
state() { (cd "$clone" && git for-each-ref && git status --porcelain && find build -path 'build/release-*'); }

# refuse TEXT ARGUMENT...: a release with these arguments must be refused with this text, and leave nothing behind.
refuse() {
  local text=$1 before
  shift
  mkdir -p "$clone/build"
  before=$(state)
  expect 1 make_release "$@" 2>&1 | tee "$out/refusal"
  grep -qF -- "$text" "$out/refusal" || fail "another refusal than '$text'"
  diff <(echo "$before") <(state) || fail "the refusal left something behind"
  refused=$((refused + 1))
}

refuse_trees_and_versions() {
  local options=("${judged_by[@]}" "${signed[@]}") next=9.9.9
  echo >>"$clone/README.md"
  refuse 'the tree has changes' "$version" "${options[@]}"
  git -C "$clone" update-index --assume-unchanged README.md
  refuse 'files that git does not look at' "$version" "${options[@]}"
  git -C "$clone" update-index --no-assume-unchanged README.md
  git -C "$clone" checkout -q README.md
  echo hidden >>"$clone/.git/info/exclude"
  touch "$clone/hidden"
  refuse 'other files than the commit' "$version" "${options[@]}"
  rm "$clone/hidden"
  refuse 'is no version' 2.1 "${options[@]}"
  refuse '--crl FILE is missing' "$version" --pki "$out/release-pki" "${signed[@]}"
  refuse 'CMakeLists.txt has another version' "$next" "${options[@]}"
  sed -i "s/^project(sigkit VERSION $version /project(sigkit VERSION $next /" "$clone/CMakeLists.txt"
  git -C "$clone" commit -qam "version of CMake"
  refuse 'CHANGELOG.md has no heading' "$next" "${options[@]}"
  sed -i "0,/^## /s/^## .*/## $next, 2031-01-01/" "$clone/CHANGELOG.md"
  git -C "$clone" commit -qam "version of the changelog"
  refuse 'debian/changelog has another version' "$next" "${options[@]}"
  git -C "$clone" reset -q --hard HEAD~2
}

refuse_signatures() {
  refuse 'there is no signature' "$version" "${judged_by[@]}" "${stamped[@]}" --certificate "$certificate" \
    --key "$out/no.key"
  refuse 'none that a device would take' "$version" "${judged_by[@]}" "${signed[@]}" --no-timestamp
  refuse 'none that a device would take' "$version" "${judged_by[@]}" "${signed[@]}" "${stamped[@]}" --dry-run
  touch "$clone/.git/refs/tags/v$version.lock" # git cannot make the tag
  refuse "v$version.lock" "$version" "${judged_by[@]}" "${signed[@]}" "${stamped[@]}"
  rm "$clone/.git/refs/tags/v$version.lock"
}

# interrupt SIGNAL: ends all that a release runs, while the key signs. There is no tag, and nothing that looks whole.
interrupt() {
  local signal=$1 before process
  before=$(state)
  touch "$out/waiting"
  printf '#!/bin/sh\ntouch "%s"\nwhile [ -e "%s" ]; do sleep 0.2; done\n' "$out/signing" "$out/waiting" >"$out/slow-key"
  chmod +x "$out/slow-key"
  rm -f "$out/signing"
  setsid "$clone/scripts/release.sh" --checked "$version" "${judged_by[@]}" "${stamped[@]}" \
    --certificate "$certificate" --sign-command "$out/slow-key" &
  process=$!
  until [ -e "$out/signing" ]; do
    kill -0 "$process"
    sleep 0.2
  done
  kill -s "$signal" -- "-$process"
  expect $((128 + $(kill -l "$signal"))) wait "$process"
  rm "$out/waiting"
  # What KILL leaves is in nobody's way.
  [ "$signal" = KILL ] || [ ! -e "$made.part" ] || fail "SIG$signal left a part of a release"
  diff <(echo "$before") <(state | grep -v "^build/release-$version\.part") || fail "SIG$signal left something behind"
}

# Another clone, elsewhere, two years on, in another time zone, for no other user's eyes.
make_again() (
  elsewhere=$(mktemp -d)
  trap 'rm -rf "$elsewhere"' EXIT
  umask 077
  export TZ=Pacific/Kiritimati
  cd "$elsewhere"
  git clone -q "$clone" a-clone-with-another-name
  for maker in archive sbom; do
    faketime '+2 years' "a-clone-with-another-name/scripts/source_$maker.sh" "$version" .
  done
  cmp "$made/sigkit-$version.tar.gz" "sigkit-$version.tar.gz"
  cmp "$made/sigkit-$version.spdx" "sigkit-$version.spdx"
)

# The archive is the commit, and the SBOM has the SHA-1 of every file that is not empty, but for the licence itself.
check_archive() {
  local unpacked=$out/release-unpacked
  rm -rf "$unpacked" && mkdir "$unpacked"
  tar -C "$unpacked" -xf "$made/sigkit-$version.tar.gz"
  diff -r --no-dereference -x .git -x build "$clone" "$unpacked/sigkit-$version" || fail "the archive is not the commit"
  sed -n 's/^FileName: //p' "$made/sigkit-$version.spdx" | LC_ALL=C sort >"$out/sbom.named"
  (cd "$unpacked/sigkit-$version" &&
    find . -type f -size +0 ! -path ./LICENSE ! -path './LICENSES/*' ! -path ./.reuse/dep5) | LC_ALL=C sort |
    diff - "$out/sbom.named" || fail "the SBOM names other files (<: expected)"
  sed -n 's/^FileName: //p; s/^FileChecksum: SHA1: //p' "$made/sigkit-$version.spdx" | paste -d ' ' - - |
    sed 's/\(.*\) \([0-9a-f]*\)$/\2  \1/' >"$out/sbom.sha1"
  (cd "$unpacked/sigkit-$version" && sha1sum --check --strict --quiet "$out/sbom.sha1")
}

check_release() {
  local tag=refs/tags/v$version
  [ "$(git -C "$clone" cat-file -t "$tag")" = tag ] || fail "the tag is not annotated"
  git -C "$clone" cat-file tag "$tag" | grep -x "tag v$version"
  [ "$(git -C "$clone" rev-parse "$tag^{commit}")" = "$(git -C "$clone" rev-parse HEAD)" ] || fail "another commit"
  diff <(cd "$made" && printf '%s\n' *) \
    <(printf '%s\n' SHA256SUMS SHA256SUMS.cms "sigkit-$version".{spdx,tar.gz}) || fail "other files are released"
  diff <(sed 's/.* //' "$made/SHA256SUMS") <(printf '%s\n' "sigkit-$version".{spdx,tar.gz}) || fail "other digests"
  (cd "$made" && sha256sum --check --strict SHA256SUMS)
  openssl cms -verify -binary -inform DER -in "$made/SHA256SUMS.cms" -content "$made/SHA256SUMS" -purpose any \
    -CAfile "$pki/certificates/root.pem" -out "$out/release.verified"
  local tool=("$out/static-root/usr/bin/verify_tool" -f CHECK_PKG_INTEGRITY -h "$made/SHA256SUMS.cms"
    -c "$out/release-crls.der")
  expect 0 "${tool[@]}" -e "$made/SHA256SUMS"
  sed 's/^./z/' "$made/SHA256SUMS" >"$out/tampered-sums"
  expect 255 "${tool[@]}" -e "$out/tampered-sums"
  pkgsign check "$made/SHA256SUMS" --signature "$made/SHA256SUMS.cms" --crl "$out/release-crls.der" \
    --root "$pki/certificates/root.pem"
}

static_tree
make_signer
signed=(--certificate "$certificate" --key "$key")
stamped=(--timestamp timestamp)
make_clone
refuse_trees_and_versions
refuse_signatures
interrupt TERM
interrupt KILL
make_release "$version" "${judged_by[@]}" "${signed[@]}" "${stamped[@]}"
check_release
check_archive
make_again
refuse 'there is a tag' "$version" "${judged_by[@]}" "${signed[@]}" "${stamped[@]}"

echo "release $version, signed by a key in a token: openssl, verify_tool and pkgsign check take the signature of" \
  "SHA256SUMS; archive and SBOM of $(wc -l <"$out/sbom.named") files are the same elsewhere, later and under another" \
  "umask; refused $refused times without a trace; SIGTERM and SIGKILL leave no tag and no release"
