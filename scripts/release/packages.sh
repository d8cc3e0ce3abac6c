#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

# dpkg-buildpackage makes Debian packages from the source archive, without errors and warnings of lintian, and none
# without a root certificate; on a system with nothing else they install, work, and go without a trace; the examples of
# sigkit-doc build against what libsigkit-dev holds, and its documents have no dead links.
source "$(dirname "$0")/common.sh"

scripts/bootstrap.sh release || could_not "the tools that make and check packages cannot be installed"
debs=$out/debs
clean=$out/clean-system

make_packages() {
  local source=$debs/sigkit-$version
  rm -rf "$debs" && mkdir -p "$debs"
  scripts/source_archive.sh "$version" "$debs"
  tar -C "$debs" -xf "$debs/sigkit-$version.tar.gz"
  (cd "$source" && expect 2 env SIGKIT_TRUST_ANCHOR= dpkg-buildpackage --build=full --no-sign) 2>&1 | tee "$out/no-root"
  grep -F 'SIGKIT_TRUST_ANCHOR must name' "$out/no-root"
  (cd "$source" && env SIGKIT_TRUST_ANCHOR="$pki/certificates/root.der" DEB_BUILD_OPTIONS=parallel="$jobs" \
    dpkg-buildpackage --build=full --no-sign)
  "$source/tests/check_hardening.py" --fortified "$source/obj-$multiarch/compile_commands.json"
  (cd "$debs" && printf '%s\n' *.deb | grep -v -- -dbgsym_ | sed 's/_.*//' | tr '\n' ' ') >"$out/debs.names"
  [ "$(cat "$out/debs.names")" = "crl-compare libsigkit-dev libsigkit2 pkgsign sigkit-doc verify-tool " ] ||
    fail "other packages"
}

# What the packages for developers hold, as one tree: examples build by it, and no link leads nowhere.
try_development_packages() {
  local tree=$out/debs-root package document
  rm -rf "$tree" && mkdir -p "$tree"
  for package in libsigkit2 libsigkit-dev sigkit-doc; do
    dpkg-deb -x "$debs/${package}"_*.deb "$tree"
  done
  by_pkg_config debs
  while read -r document; do
    check_links "$tree/usr/share/doc/sigkit" "$document"
  done < <(cd "$tree/usr/share/doc/sigkit" && find . -name '*.md' -printf '%P\n')
  [ "$links" -gt 0 ] || fail "no link was checked"
}

try_clean_system() {
  local before after
  before=$(in_clean find /usr /etc/ld.so.conf.d | sort)
  as_root mkdir "$clean/packages"
  as_root cp "$debs"/*.deb "$clean/packages"
  as_root cp -r "$out/package" "$clean/package"
  # One after the other, so that a dependency that is not declared is seen.
  expect 1 in_clean sh -c 'dpkg -i /packages/verify-tool_*.deb'
  in_clean sh -c 'dpkg -i /packages/libsigkit2_*.deb && dpkg --configure -a'
  in_clean sh -c 'dpkg -i /packages/crl-compare_*.deb /packages/pkgsign_*.deb /packages/libsigkit-dev_*.deb \
    /packages/sigkit-doc_*.deb'
  try_tool /package in_clean verify_tool
  expect 0 in_clean crl_compare --root /package/root.der /package/crls.der /package/crls.der
  expect 0 in_clean pkgsign --help
  in_clean dpkg --purge sigkit-doc libsigkit-dev verify-tool crl-compare pkgsign libsigkit2
  after=$(in_clean find /usr /etc/ld.so.conf.d | sort)
  diff <(echo "$before") <(echo "$after") || fail "removed packages leave something behind"
}

in_clean() { inside "$clean" "$@"; }

release_pki
make_packages
lintian --allow-root --fail-on error,warning,override --display-info --show-overrides "$debs"/*.changes |
  tee "$out/lintian.txt"
dpkg-deb -x "$debs"/pkgsign_*.deb "$out/debs-pkgsign"
sign_package "$out/debs-pkgsign/usr/bin/pkgsign" "$out/package"
try_development_packages
made="$(wc -w <"$out/debs.names") packages and their source, lintian: no errors, warnings or overrides; examples build"
made+=" against libsigkit-dev, and the $links links of sigkit-doc lead to files in it"
# With the one library that the tools need besides.
make_system "$clean" --include=libssl3 ||
  could_not "$made; but no clean system could be made, so nobody has seen them installed"
try_clean_system
as_root rm -rf --one-file-system "$clean"
echo "$made; installed, used and purged on a clean system"
