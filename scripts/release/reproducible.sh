#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

# Two builds of one tree in two folders, with one trust anchor, give the same octets.
source "$(dirname "$0")/common.sh"

# A copy elsewhere: under a longer name, with other times, in another order of its files on the disk.
copy_tree() {
  copy=$(mktemp -d)/another-folder-with-a-longer-name
  trap 'rm -rf "$(dirname "$copy")"' EXIT
  mkdir "$copy"
  scripts/files.sh | sort -r | xargs -d '\n' cp --parents -t "$copy"
}

# build_copy NAME SHARED: what static_tree and shared_tree build, outside $out and one after the other in one folder. In
# another language and time zone, and for no other user's eyes. A cache of the compiler would give the first build's
# objects again.
build_copy() {
  local -x CCACHE_DISABLE=1
  cmake -S "$copy" -B "$copy/build" -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX=/usr -DBUILD_SHARED_LIBS="$2" \
    -DSIGKIT_TRUST_ANCHOR="$copy/root.der"
  (umask 077 && LC_ALL=C.UTF-8 TZ=Pacific/Kiritimati cmake --build "$copy/build" -j "$jobs")
  DESTDIR=$copy/$1-root cmake --install "$copy/build"
}

release_pki
static_tree
shared_tree
copy_tree
cp "$pki/certificates/root.der" "$copy/root.der"
build_copy static OFF
build_copy shared ON

compared=0
for name in static shared; do
  (cd "$out/$name-root" && find . -type f | LC_ALL=C sort) >"$out/$name.first"
  (cd "$copy/$name-root" && find . -type f | LC_ALL=C sort) | diff "$out/$name.first" - || fail "other files"
  while read -r file; do
    cmp "$out/$name-root/$file" "$copy/$name-root/$file"
    compared=$((compared + 1))
  done <"$out/$name.first"
done
for program in verify_tool crl_compare pkgsign; do
  grep -qx "./usr/bin/$program" "$out/static.first" || fail "$program was not compared"
done
for library in a "so.$version"; do
  grep -qx "./usr/lib/$multiarch/libsigkit.$library" "$out/shared.first" || fail "libsigkit.$library was not compared"
done
echo "$compared installed files of two builds in two folders are the same, octet for octet; libsigkit.a $(
  sha256sum <"$out/static-root/usr/lib/$multiarch/libsigkit.a" | cut -c 1-16)..., verify_tool $(
  sha256sum <"$out/static-root/usr/bin/verify_tool" | cut -c 1-16)..."
