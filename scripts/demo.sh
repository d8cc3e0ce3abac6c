#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

# Builds the tools with a development root, makes a signed package, verifies it, and shows four that are refused. The
# commands are shown as they run, in build/demo; what they make stays there.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/bootstrap.sh build

build=$PWD/build/demo
cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Release -DBUILD_TESTING=OFF >/dev/null
cmake --build "$build" -j "$(nproc)" --target pkgsign verify_tool | scripts/progress.sh

cd "$build"
PATH=$build/src:$build/pkgsign:$PATH
rm -rf package pki other-pki refused crls.der
mkdir package refused

title() { printf '\n== %s\n' "$*"; }

run() {
  local shown
  printf -v shown ' %q' "$@"
  echo "\$$shown" >&2
  "$@"
}

# verify EXPECTED-STATUS CHECKSUMS SIGNATURE CRLS: runs the tool, with the platform log on standard error.
verify() {
  local expected=$1 status=0
  QZLOG=stderr run verify_tool -f CHECK_PKG_INTEGRITY -e "$2" -h "$3" -c "$4" || status=$?
  printf 'exit status %d\n' "$status"
  if [ "$status" -ne "$expected" ]; then
    echo "demo.sh: expected exit status $expected" >&2
    exit 1
  fi
}

title 'a package'
printf 'firmware image, version 1\n' >package/firmware.bin
# The PKI of the build, whose root is in the tool, stays as it is: revocations are for good.
run cp -r development-pki pki
run pkgsign crl --out crls.der >/dev/null
run pkgsign checksums package --package-version 1 --out package/checksums
run pkgsign sign package/checksums --crl crls.der --out package/checksums.cms
verify 0 package/checksums package/checksums.cms crls.der
run pkgsign checksums package --check package/checksums

title 'tampered checksum file'
sed 's/firmware/software/' package/checksums >refused/checksums
verify 255 refused/checksums package/checksums.cms crls.der

title 'no timestamp'
run pkgsign sign package/checksums --crl crls.der --no-timestamp --out refused/untimed.cms
verify 1 package/checksums refused/untimed.cms crls.der

title 'revoked signer'
run pkgsign revoke signer --reason keyCompromise
run pkgsign crl --out refused/revoked.der >/dev/null
verify 2 package/checksums package/checksums.cms refused/revoked.der

title 'signed under another root'
run pkgsign init other-pki --root-name 'Other Root CA' --no-encryption
run pkgsign crl --pki other-pki --out refused/other.der >/dev/null
run pkgsign sign package/checksums --pki other-pki --crl refused/other.der --out refused/other.cms
verify 4 package/checksums refused/other.cms refused/other.der

cat <<END

The package is in $build/package, its CRL file is $build/crls.der;
in refused beside them is what was refused. This verifies the package again:
  cd $build
  src/verify_tool -f CHECK_PKG_INTEGRITY -e package/checksums -h package/checksums.cms -c crls.der
END
