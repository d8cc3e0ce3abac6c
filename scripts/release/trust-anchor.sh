#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

# The root that is built in is the file that SIGKIT_TRUST_ANCHOR names, as it is at the build and at the installation;
# and no tool with a development root is installed unless the configuration allows it.
source "$(dirname "$0")/common.sh"

anchor=$out/anchor.der
other=$out/other-pki
tool=$out/static/src/verify_tool
refused=0

# refuse TEXT COMMAND...: runs a command that must fail and say why.
refuse() {
  local text=$1
  shift
  echo "+ $* (expecting '$text')"
  if "$@" >"$out/refusal" 2>&1; then fail "this is not refused: $*"; fi
  # CMake breaks its messages into lines.
  tr -s ' \n' ' ' <"$out/refusal" | grep -F -- "$text" || fail "another refusal: $(cat "$out/refusal")"
  refused=$((refused + 1))
}

install_static() { DESTDIR=$out/anchor-root cmake --install "$out/static" "$@"; }

# expect_nothing_installed: a refused installation has left nothing behind.
expect_nothing_installed() { [ -z "$(find "$out/anchor-root" ! -type d 2>&1)" ] || fail "something was installed"; }

static_tree
sign_package "$out/static/pkgsign/pkgsign" "$out/package"
rm -rf "$other" "$out/anchor-root"
mkdir "$out/anchor-root"
"$out/static/pkgsign/pkgsign" init "$other" --no-encryption
"$out/static/pkgsign/pkgsign" crl --pki "$other" --out "$out/other-crls.der"
"$out/static/pkgsign/pkgsign" sign "$out/package/checksums" --pki "$other" --out "$out/other.cms"
other_package=(-f CHECK_PKG_INTEGRITY -e "$out/package/checksums" -h "$out/other.cms" -c "$out/other-crls.der")

# Another root with an older date is built in, and until then nothing is installed.
cp "$pki/certificates/root.der" "$anchor"
build_tree static "$root" -DSIGKIT_TRUST_ANCHOR="$anchor"
expect 4 "$tool" "${other_package[@]}"
cp "$other/certificates/root.der" "$anchor"
touch -d 2001-01-01 "$anchor"
refuse 'built with another root' install_static
expect_nothing_installed
cmake --build "$out/static" -j "$jobs"
expect 0 "$tool" "${other_package[@]}"
install_static >/dev/null
rm -rf "$out/anchor-root"
mkdir "$out/anchor-root"

# Whatever is not empty names a file, and the file must be readable.
for value in OFF 0 N NO FALSE IGNORE anchor-NOTFOUND ' ' "$out/missing.der" "$out" "$anchor;$anchor"; do
  refuse 'there is no readable file' configure static "$root" -DSIGKIT_TRUST_ANCHOR="$value"
done
(umask 777 && cp "$anchor" "$out/unreadable.der")
without_privilege=()
privileges=-dac_override,-dac_read_search
[ "$(id -u)" -ne 0 ] || without_privilege=(setpriv --bounding-set="$privileges" --inh-caps=-all)
refuse unreadable.der "${without_privilege[@]}" cmake -S . -B "$out/static" -DSIGKIT_TRUST_ANCHOR="$out/unreadable.der"
rm -f "$out/unreadable.der"

# Without a root, or with the option's name misspelt, there is a development root; its tool stays in the build tree.
for option in -DSIGKIT_TRUST_ANCHOR= -DSIGKIT_TRUST_ANCOR="$anchor"; do
  cmake -S . -B "$out/static" -USIGKIT_TRUST_ANCHOR "$option" 2>&1 | tee "$out/notice"
  grep -F 'Never put that tool on a device' "$out/notice"
  cmake --build "$out/static" -j "$jobs"
  refuse 'trusts a development root' install_static
  refuse 'trusts a development root' install_static --component tool
  expect_nothing_installed
done
install_static --component development >/dev/null # holds no root

# The root of another configuration does not get out with the tool that was built before.
configure static "$root" -DSIGKIT_TRUST_ANCHOR="$anchor"
refuse 'built with another root' install_static
cmake -S . -B "$out/static" -DSIGKIT_TRUST_ANCHOR= -DSIGKIT_ALLOW_DEVELOPMENT_ROOT=ON
cmake --build "$out/static" -j "$jobs"
install_static >/dev/null
expect 255 "$out/anchor-root/usr/bin/verify_tool"

configure static "$root" -USIGKIT_ALLOW_DEVELOPMENT_ROOT
echo "an older file is built in; $refused times a root that cannot be read, is not the one built in, or is a" \
  "development root was refused"
