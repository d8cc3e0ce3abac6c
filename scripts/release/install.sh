#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

# `cmake --install` puts everything where it belongs, the release-side helpers of the build nowhere, and no file names
# the folders of this build.
source "$(dirname "$0")/common.sh"

# What lies in an installed tree apart from manual pages and documents, in byte order.
expected() {
  local library=usr/lib/$multiarch
  printf '%s\n' usr/bin/crl_compare usr/bin/pkgsign usr/bin/verify_tool usr/include/sigkit/sigkit.h \
    usr/include/sigkit/sigkit_host.h "$library"/cmake/Sigkit/SigkitConfig{,Version}.cmake \
    "$library"/cmake/Sigkit/SigkitTargets{-release,}.cmake "$library"/libsigkit.a "$library"/pkgconfig/sigkit.pc \
    usr/share/bash-completion/completions/pkgsign "$@" |
    LC_ALL=C sort
}

# check_tree NAME [LIBRARY...]: the tree holds the expected files and those libraries.
check_tree() {
  local name=$1 tree=$out/$1-root
  shift
  (cd "$tree" && find . ! -type d ! -path './usr/share/man/*' ! -path './usr/share/doc/*' -printf '%P\n' |
    LC_ALL=C sort) >"$out/$name.files"
  diff <(expected "$@") "$out/$name.files" || fail "the $name tree holds other files (<: expected)"
  if grep -rlF "$root" "$tree"; then
    fail "files of the $name tree name the folder they were built in"
  fi
}

static_tree
check_tree static
tests/check_hardening.py --fortified "$out/static/compile_commands.json"
shared_tree
check_tree shared "usr/lib/$multiarch"/{libsigkit.so{,.2,".$version"},libsigkit_status.a}

tree=$out/static-root/usr
documents=$tree/share/doc/sigkit
{
  printf '%s\n' {README,CHANGELOG,SECURITY}.md docs/pictures/growth-*.svg \
    docs/{host-guide,install,operations,performance,release,security,troubleshooting}.md docs/pkgsign-*.json
  scripts/files.sh 'docs/examples/*'
} | LC_ALL=C sort >"$out/documents.expected"
(cd "$documents" && find . -type f -printf '%P\n' | LC_ALL=C sort) >"$out/documents.installed"
diff "$out/documents.expected" "$out/documents.installed" || fail "other documents are installed (<: expected)"
while read -r document; do
  if [ "$document" = README.md ]; then # but for the row about the code
    [ "$(diff "$document" "$documents/$document" | grep -c '^[<>]')" -eq 1 ] || fail "the README is another"
  else
    cmp "$document" "$documents/$document"
  fi
  [[ $document != *.md ]] || check_links "$documents" "$document"
done <"$out/documents.installed"
[ "$links" -gt 0 ] || fail "no link was checked"
pages=0
for page in docs/man/*.[1-9]; do
  cmp "$page" "$tree/share/man/man${page##*.}/${page##*/}"
  pages=$((pages + 1))
done

# What a device gets.
rm -rf "$out/tool-root"
DESTDIR=$out/tool-root cmake --install "$out/static" --component tool
(cd "$out/tool-root/usr" && find . -type f -printf '%P\n' | LC_ALL=C sort) >"$out/tool.files"
printf '%s\n' bin/verify_tool share/doc/sigkit/docs/troubleshooting.md share/man/man1/verify_tool.1 \
  share/man/man5/sigkit-package.5 share/man/man7/sigkit_status.7 | diff - "$out/tool.files" ||
  fail "the component tool holds other files (<: expected)"
check_links "$out/tool-root/usr/share/doc/sigkit" docs/troubleshooting.md

sign_package "$tree/bin/pkgsign" "$out/package"
try_tool "$out/package" "$tree/bin/verify_tool"
expect 0 env LD_LIBRARY_PATH="$out/shared-root/usr/lib/$multiarch" "$out/shared-root/usr/bin/crl_compare" \
  --root "$out/package/root.der" "$out/package/crls.der" "$out/package/crls.der"
DESTDIR=$out/shared-root cmake --build "$out/shared" --target uninstall
[ -z "$(find "$out/shared-root" ! -type d)" ] || fail "uninstalling leaves something behind"
install_tree shared

echo "$(wc -l <"$out/static.files") files installed, $(wc -l <"$out/shared.files") with the shared library, $pages" \
  "manual pages, $(wc -l <"$out/documents.installed") documents and examples, whose $links links lead to installed" \
  "files; no build folder in them; the tools run; all is uninstalled"
