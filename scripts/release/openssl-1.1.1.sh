#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

# Everything builds against OpenSSL 1.1.1 and works with it: built from the sources of the Debian release that has it.
source "$(dirname "$0")/common.sh"

scripts/bootstrap.sh release || could_not "dpkg-dev cannot be installed"
source_tree=$out/openssl-1.1.1-source old=$out/openssl-1.1.1-root
fetch_debian_source "$source_tree" bullseye openssl || could_not "the sources of OpenSSL 1.1.1 cannot be fetched"
rm -rf "$old"
build_openssl "$source_tree" ./config no-tests --prefix="$old"
version=$(sed -n 's/^# define OPENSSL_VERSION_TEXT *"OpenSSL \([^ ]*\).*/\1/p' "$old/include/openssl/opensslv.h")
case $version in 1.1.1*) ;; *) fail "this is OpenSSL '$version'" ;; esac

build_tree openssl-1.1.1 "$root" -DOPENSSL_ROOT_DIR="$old"
built=$out/openssl-1.1.1
for program in src/verify_tool crltool/crl_compare pkgsign/pkgsign; do
  readelf -d "$built/$program" | grep 'NEEDED.*\[libcrypto.so.1.1\]' || fail "$program does not use OpenSSL 1.1.1"
done

# A package of one version is judged alike by the other.
static_tree
sign_package "$built/pkgsign/pkgsign" "$out/package-1.1.1"
sign_package "$out/static/pkgsign/pkgsign" "$out/package"
for package in package package-1.1.1; do
  try_tool "$out/$package" "$out/static/src/verify_tool"
  try_tool "$out/$package" "$built/src/verify_tool"
done
expect 0 "$built/crltool/crl_compare" --root "$pki/certificates/root.der" \
  "$out/package/crls.der" "$out/package-1.1.1/crls.der"

# Its calls with unusual arguments, each of them failing while packages are verified, and what its decoder reads:
# another version may behave in other ways there.
configure_tests openssl-1.1.1
cmake --build "$built" -j "$jobs" --target libcrypto_faults_test callbacks_test differential_test
readelf -d "$built/tests/faults/libcrypto_faults_test" | grep 'NEEDED.*\[libcrypto.so.1.1\]'
log=$out/openssl-1.1.1.tests
for program in tool/callbacks_test differential/differential_test faults/libcrypto_faults_test; do
  "$built/tests/$program" --gtest_brief=1 | tee "$log.${program#*/}"
done
callbacks=$(passed "$log.callbacks_test")
decoders=$(passed "$log.differential_test")
passed "$log.libcrypto_faults_test"
faults=$(sed -n 's/^\([0-9]*\) faults$/\1/p' "$log.libcrypto_faults_test")
[ "${faults:-0}" -gt 0 ] || fail "no fault was made"
other=$(openssl version | cut -d ' ' -f 2)
echo "OpenSSL $version: everything builds; packages made with it and with $other are judged alike by both; $callbacks" \
  "tests of callbacks and $decoders of decoders beside its own pass; $faults failures of its calls end as they may"
