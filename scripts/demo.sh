#!/usr/bin/env bash
# Builds the tool with a development root, makes a signed package, verifies it, and shows four packages that are
# refused. All of them are left in build/demo/package.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/bootstrap.sh build

build=build/demo
cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Release -DBUILD_TESTING=OFF >/dev/null
cmake --build "$build" -j "$(nproc)" | scripts/progress.sh

pki=$build/development-pki
tool=$build/src/verify_tool
pkgsign=$build/pkgsign/pkgsign
package=$build/package
rm -rf "$package"
mkdir "$package"

# verify TITLE EXPECTED-STATUS CHECKSUMS SIGNATURE CRLS: runs the tool, with the platform log on standard error.
verify() {
  local title=$1 expected=$2 status=0
  printf '\n== %s\n' "$title"
  QZLOG=stderr "$tool" -f CHECK_PKG_INTEGRITY -e "$3" -h "$4" -c "$5" || status=$?
  printf 'exit status %d\n' "$status"
  if [ "$status" -ne "$expected" ]; then
    echo "demo.sh: expected exit status $expected" >&2
    exit 1
  fi
}

printf 'firmware image, version 1\n' >"$package/firmware.bin"
(cd "$package" && sha256sum firmware.bin >checksums)
yesterday=$(date -u -d yesterday +%Y-%m-%dT%H:%M:%SZ)

# The PKI of the build stays as it is: revocations are for good.
cp -r "$pki" "$package/pki"
export PKGSIGN_PKI=$package/pki
"$pkgsign" crl --out "$package/crls.der" >/dev/null
"$pkgsign" sign "$package/checksums" --out "$package/checksums.cms"

sed 's/^./z/' "$package/checksums" >"$package/tampered"
"$pkgsign" sign "$package/checksums" --out "$package/untimed.cms" --no-timestamp
"$pkgsign" revoke signer --reason keyCompromise --date "$yesterday"
"$pkgsign" crl --out "$package/revoked.der" >/dev/null
export PKGSIGN_PKI=$package/other-pki
"$pkgsign" init "$PKGSIGN_PKI" --root-name 'Other Root CA' --no-encryption
"$pkgsign" crl --out "$package/other.der" >/dev/null
"$pkgsign" sign "$package/checksums" --out "$package/other.cms"

verify 'the package' 0 "$package/checksums" "$package/checksums.cms" "$package/crls.der"
verify 'tampered checksum file' 255 "$package/tampered" "$package/checksums.cms" "$package/crls.der"
verify 'revoked signer' 2 "$package/checksums" "$package/checksums.cms" "$package/revoked.der"
verify 'no timestamp' 1 "$package/checksums" "$package/untimed.cms" "$package/crls.der"
verify 'signed under another root' 4 "$package/checksums" "$package/other.cms" "$package/other.der"

cat <<END

The package is in $PWD/$package: firmware.bin, checksums, checksums.cms, crls.der.
Beside it is what was refused. In $PWD this verifies it again:
  $tool -f CHECK_PKG_INTEGRITY -e $package/checksums -h $package/checksums.cms -c $package/crls.der
END
