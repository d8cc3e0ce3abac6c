#!/bin/sh
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

# The same for a package in a directory of one's own, where nobody else can write: it is used where it lies.
#
#   update.sh STATE ROOT PACKAGE CRLS COMMAND [ARGUMENT...]
#
# STATE, CRLS and PACKAGE belong to this user; STATE holds crls.der and version. Paths are absolute. COMMAND runs in
# PACKAGE. The caller sees to it that one run ends before the next begins.
set -eu
umask 077
export LC_ALL=C

fail() {
  echo "update.sh: $*" >&2
  exit 1
}

[ $# -ge 5 ] || fail "wants STATE ROOT PACKAGE CRLS COMMAND [ARGUMENT...]"
state=$1 root=$2 package=$3 crls=$4
shift 4
for path in "$state" "$root" "$package" "$crls" "$1"; do
  case $path in /*) ;; *) fail "'$path' is not absolute" ;; esac
done

# Nobody else may write, through another name of a file either.
others='( ! -type d ! -type f ) -o ! -user '$(id -u)' -o -perm -020 -o -perm -002 -o ( -type f -links +1 )'
# shellcheck disable=SC2086 # words of find
found=$(find "$state" "$package" "$crls" $others)
[ -z "$found" ] || fail "there are links, devices or files of others"

work=$state/incoming
rm -rf "$work"
mkdir "$work"
cp "$package/checksums" "$package/checksums.cms" "$work"
cp "$crls" "$work/crls.der"
cd "$work"

# publish FILE: on the disk before it gets its name, and the name before anything is done.
publish() {
  sync
  mv "$1" "$state/$1"
  sync
}

status=0
env -i PATH="$PATH" crl_compare --root "$root" ../crls.der crls.der >&2 || status=$?
case $status in
  1) publish crls.der ;;
  0 | 2) ;;
  *) fail "the CRL files cannot be read" ;;
esac

# A message without a signer is authentic over nothing.
[ -s checksums ] || fail "the checksum file is empty"
env -i PATH="$PATH" verify_tool -f CHECK_PKG_INTEGRITY -h checksums.cms -e checksums -c ../crls.der >&2 ||
  fail "the package is not authentic"

# Lines that can be read in one way only: whole, of one form, in order.
part='[A-Za-z0-9_+][A-Za-z0-9._+-]*'
sed 1d checksums >lines
cut -c 67- lines >names
if [ -n "$(tail -c 1 checksums)" ] || [ ! -s lines ] ||
  grep -Eqv "^[0-9a-f]{64}  $part(/$part)*\$" lines || ! sort -cu names; then
  fail "the checksum file has another form"
fi

number() { head -n 1 "$1" | grep -Ex 'version (0|[1-9][0-9]{0,17})' | cut -c 9-; }
new=$(number checksums)
installed=$(number ../version)
if [ -z "$new" ] || [ -z "$installed" ] || [ "$new" -lt "$installed" ]; then
  fail "version '$new' is older than '$installed'"
fi

# What is there is what is listed. A name of two lines makes a line too many, or one of a file that is missing.
cd "$package"
find . -type f ! -path ./checksums ! -path ./checksums.cms | cut -c 3- | sort | cmp -s - "$work/names" ||
  fail "files are missing, or not listed"

# Never sha256sum -c, which takes a list of decoys for good.
xargs sha256sum <"$work/names" | cmp -s - "$work/lines" || fail "a file is not as it was signed"

# Before anything can be installed: no older package is taken any more.
cd "$work"
echo "version $new" >version
publish version
cd "$package"
rm -rf "$work"
exec "$@"
