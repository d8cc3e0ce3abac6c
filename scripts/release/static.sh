#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

# verify_tool and crl_compare as files that need nothing: with Debian's libcrypto, and with one that is built as
# docs/install.md says, without sockets and loadable modules. They work where there is no other file.
source "$(dirname "$0")/common.sh"

scripts/bootstrap.sh release || could_not "dpkg-dev cannot be installed"
size_max=5000000 # octets of a program, stripped

# linker_warnings NAME: what the linker said of the tree's programs that were linked statically.
linker_warnings() { grep -c 'warning: Using .* in statically linked applications' "$out/$1.linked" || true; }

# static_tool NAME [OPTION...]: builds both programs, and looks at them. The size of the larger one is in `size`.
static_tool() {
  local name=$1 program
  shift
  rm -rf "${out:?}/$name"
  configure "$name" "$root" -DSIGKIT_RELEASE_SIDE=OFF -DSIGKIT_STATIC_TOOL=ON "$@"
  cmake --build "$out/$name" -j "$jobs" --target verify_tool crl_compare 2>&1 | tee "$out/$name.linked"
  rm -rf "$out/$name-cell"
  mkdir -p "$out/$name-cell"
  size=0
  for program in src/verify_tool crltool/crl_compare; do
    tests/check_hardening.py --static "$out/$name/$program"
    strip -o "$out/$name-cell/${program#*/}" "$out/$name/$program"
    octets=$(stat -c %s "$out/$name-cell/${program#*/}")
    [ "$octets" -le "$size_max" ] || fail "$program has $octets octets"
    [ "$octets" -le "$size" ] || size=$octets
  done
}

# try_in_cell NAME: the programs judge the package with themselves and the package alone on the file system.
try_in_cell() {
  local cell=$out/$1-cell
  cp -r "$out/package" "$cell/package"
  rm -rf "$cell/package/pki"
  try_tool /package as_root chroot "$cell" /verify_tool
  expect 1 as_root chroot "$cell" /crl_compare --root /package/root.der /package/crls.der /package/revoked.der
  expect 0 as_root chroot "$cell" /crl_compare --root /package/root.der /package/revoked.der /package/crls.der
}

static_tree
sign_package "$out/static/pkgsign/pkgsign" "$out/package"

static_tool static-tool
try_in_cell static-tool
with_debian=$size
warnings=$(linker_warnings static-tool)
[ "$warnings" -gt 0 ] || fail "the linker's warnings are not found, so none below would be missed"

# Its own libcrypto, by the line of the document.
source_tree=$out/openssl
fetch_debian_source "$source_tree" "$(debian_release)" openssl || could_not "the sources of OpenSSL cannot be fetched"
prefix=$out/openssl-root
read -ra configure_line < <(sed -n "s:/opt/libcrypto:$prefix:;/^\.\/Configure /p" docs/install.md)
build_openssl "$source_tree" "${configure_line[@]}"
static_tool small-tool -DOPENSSL_ROOT_DIR="$prefix"
grep -q "^OPENSSL_CRYPTO_LIBRARY:.*=$prefix/" "$out/small-tool/CMakeCache.txt" || fail "another libcrypto was taken"
[ "$(linker_warnings small-tool)" -eq 0 ] || fail "the linker warns of name resolution or dlopen"
[ "$size" -lt "$with_debian" ] || fail "it is not smaller: $size octets, $with_debian with Debian's libcrypto"
try_in_cell small-tool

echo "static programs work in an empty chroot: $with_debian octets with Debian's libcrypto and" \
  "$warnings warnings of the linker; $size without sockets and modules, and none"
