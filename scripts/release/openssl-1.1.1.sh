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
sign_package "$built/pkgsign/pkgsign" "$out/package-1.1.1"
try_tool "$out/package-1.1.1" "$built/src/verify_tool"

# A package of one version is judged alike by the other.
static_tree
try_tool "$out/package-1.1.1" "$out/static/src/verify_tool"
sign_package "$out/static/pkgsign/pkgsign" "$out/package"
try_tool "$out/package" "$built/src/verify_tool"
expect 0 "$built/crltool/crl_compare" --root "$pki/certificates/root.der" \
  "$out/package/crls.der" "$out/package-1.1.1/crls.der"

# Its calls with unusual arguments, each of them failing while packages are verified, and what its decoder reads:
# another version may behave in other ways there.
configure_tests openssl-1.1.1
cmake --build "$built" -j "$jobs" --target libcrypto_faults_test callbacks_test differential_test
"$built/tests/tool/callbacks_test" --gtest_brief=1
"$built/tests/differential/differential_test" --gtest_brief=1
readelf -d "$built/tests/faults/libcrypto_faults_test" | grep 'NEEDED.*\[libcrypto.so.1.1\]'
"$built/tests/faults/libcrypto_faults_test" --gtest_brief=1 | tee "$out/openssl-1.1.1.tests"
faults=$(sed -n 's/^\([0-9]*\) faults$/\1/p' "$out/openssl-1.1.1.tests")
grep -x '\[  PASSED  \] [1-9][0-9]* tests\?\.' "$out/openssl-1.1.1.tests" || fail "the test was not run"
[ "${faults:-0}" -gt 0 ] || fail "no fault was made"
echo "OpenSSL $version: everything builds; packages are judged alike by it and $(openssl version | cut -d ' ' -f 2), \
and $faults failures of its calls end as they do there"
