# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

# shellcheck shell=bash
# What the steps of release-check.sh share; they source it. A step prints what it runs and, as its last line, what it
# saw.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."
root=$PWD
out=${out:-$root/build/release-check}
jobs=$(nproc)
multiarch=$(c++ -print-multiarch)
version=$(sed -n 's/^project(sigkit VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
unset LD_LIBRARY_PATH PKG_CONFIG_PATH
export CMAKE_EXPORT_COMPILE_COMMANDS=ON # for tests/check_hardening.py --fortified
mkdir -p "$out"

fail() {
  echo "$*" >&2
  exit 1
}

as_root() {
  if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi
}

# confined [OPTION...] COMMAND...: runs a command as root, with mounts and processes of its own, which are gone as soon
# as it has ended or this script was killed. The options are unshare's.
confined() { as_root setpriv --pdeathsig KILL unshare --mount --pid --fork --kill-child "$@"; }

# debian_mirror: where this machine gets Debian from.
debian_mirror() {
  apt-get indextargets --format '$(REPO_URI)' 'Origin: Debian' 'Created-By: Packages' "Codename: $(debian_release)" |
    sed -n 1p
}

debian_release() { (. /etc/os-release && echo "$VERSION_CODENAME"); }

# make_system DIRECTORY [OPTION...]: the smallest Debian of this machine's release, by debootstrap with these options.
# False when packages are out of reach.
make_system() {
  local directory=$1
  shift
  as_root rm -rf --one-file-system "$directory"
  confined debootstrap --variant=minbase "$@" "$(debian_release)" "$directory" "$(debian_mirror)"
}

# inside DIRECTORY COMMAND...: runs a command on the system there, as root and without this machine's environment. It
# has terminals, as every machine has.
inside() {
  local directory=$1
  shift
  confined --root="$directory" --mount-proc env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root \
    sh -c 'mount -t devpts -o newinstance,ptmxmode=0666 devpts /dev/pts; exec "$@"' sh "$@"
}

# other_archive DIRECTORY KIND RELEASE [OPTION...]: lets `apt` ask for packages (deb) or sources (deb-src) of a release,
# beside the system's own state of packages, in an empty DIRECTORY. False when the archive is out of reach.
other_archive() {
  local directory=$1 kind=$2 release=$3
  shift 3
  rm -rf "$directory"
  mkdir -p "$directory"/{state/lists,cache/archives}/partial
  : >"$directory/status"
  echo "$kind [signed-by=/usr/share/keyrings/debian-archive-keyring.gpg] $(debian_mirror) $release main" \
    >"$directory/sources"
  apt=(apt-get -q "$@" -o Dir::Etc::sourcelist="$directory/sources" -o Dir::Etc::sourceparts=/dev/null
    -o Dir::State="$directory/state" -o Dir::State::status="$directory/status" -o Dir::Cache="$directory/cache"
    -o APT::Sandbox::User= -o APT::Update::Error-Mode=any)
  "${apt[@]}" update
}

# fetch_debian DIRECTORY RELEASE ARCHITECTURE PACKAGE...: unpacks packages of another release or machine into DIRECTORY.
# False when they are out of reach.
fetch_debian() {
  local directory=$1 release=$2 architecture=$3 apt
  shift 3
  rm -rf "$directory"
  other_archive "$directory/apt" deb "$release" -o APT::Architecture="$architecture" \
    -o APT::Architectures="$architecture" || return 1
  (cd "$directory/apt" && "${apt[@]}" download "$@") || return 1
  local package
  for package in "$directory/apt"/*.deb; do
    dpkg-deb -x "$package" "$directory" || return 1
  done
}

# fetch_debian_source DIRECTORY RELEASE PACKAGE: unpacks the sources of a package of a release, with Debian's patches,
# into DIRECTORY. False when they are out of reach.
fetch_debian_source() {
  local directory=$1 release=$2 package=$3 apt
  rm -rf "$directory"
  other_archive "$directory.apt" deb-src "$release" || return 1
  (cd "$directory.apt" && "${apt[@]}" source --download-only "$package") || return 1
  dpkg-source -x "$directory.apt"/*.dsc "$directory"
}

# build_openssl SOURCE COMMAND...: configures OpenSSL's sources with the command, builds the libraries, and installs
# them with their headers where the command says.
build_openssl() {
  local source_tree=$1
  shift
  (cd "$source_tree" && "$@" && make -j "$jobs" build_libs && make install_dev) >"$source_tree.log" 2>&1 ||
    fail "OpenSSL does not build: $(tail -n 5 "$source_tree.log")"
}

# Ends the step: packages that it needs cannot be had.
could_not() {
  echo "$*"
  exit 77
}

# configure NAME SOURCE [OPTION...]: configures $out/NAME for a release with the root of release_pki.
configure() {
  local name=$1 source=$2
  shift 2
  cmake -S "$source" -B "$out/$name" -DCMAKE_BUILD_TYPE=Release -DCMAKE_COMPILE_WARNING_AS_ERROR=ON \
    -DCMAKE_INSTALL_PREFIX=/usr -DBUILD_TESTING=OFF -DSIGKIT_TRUST_ANCHOR="$pki/certificates/root.der" "$@"
}

# release_pki: makes, once, the PKI under which all steps sign, and whose root their tools trust.
release_pki() {
  pki=$out/pki
  [ ! -e "$pki/certificates/root.der" ] || return 0
  configure static "$root" -DSIGKIT_TRUST_ANCHOR= # there is none yet
  cmake --build "$out/static" -j "$jobs" --target pkgsign
  rm -rf "$pki"
  "$out/static/pkgsign/pkgsign" init "$pki" --no-encryption
}

# test_keys: makes, once, the RSA keys of the tests, for machines that take long for them.
test_keys() {
  keys=$out/keys
  [ ! -e "$keys/complete" ] || return 0
  release_pki
  configure static "$root" -DBUILD_TESTING=ON
  cmake --build "$out/static" -j "$jobs" --target rsa_keys
  rm -rf "$keys"
  cp -r "$out/static/tests/support/keys" "$keys"
}

# build_tree NAME SOURCE [OPTION...]: configures and builds everything into $out/NAME. No program of any such tree may
# look for libraries where others can put one.
build_tree() {
  release_pki
  configure "$@"
  cmake --build "$out/$1" -j "$jobs"
  tests/check_hardening.py --search-paths "$out/$1"
}

# configure_tests NAME: adds the tests to a tree that was built. They want a development root, not that of release_pki.
configure_tests() { configure "$1" "$root" -DBUILD_TESTING=ON -DSIGKIT_TRUST_ANCHOR=; }

# install_tree NAME: installs the tree NAME into an empty $out/NAME-root. Below /usr the system finds the libraries.
install_tree() {
  rm -rf "$out/$1-root"
  DESTDIR=$out/$1-root cmake --install "$out/$1"
  tests/check_hardening.py --no-search-paths "$out/$1-root"
}

# Lines of their own, not joined by &&: a command before && may fail without ending the script.
static_tree() {
  build_tree static "$root" -DBUILD_SHARED_LIBS=OFF
  install_tree static
}

shared_tree() {
  build_tree shared "$root" -DBUILD_SHARED_LIBS=ON -DBUILD_TESTING=ON
  install_tree shared
}

# sign_package PKGSIGN DIRECTORY: a signed package in DIRECTORY, and what must be refused: a tampered checksum file and
# CRLs that revoke the signer.
sign_package() {
  local pkgsign=$1 directory=$2
  release_pki
  rm -rf "$directory"
  mkdir -p "$directory"
  printf 'firmware image\n' >"$directory/firmware.bin"
  (cd "$directory" && sha256sum firmware.bin >checksums)
  sed 's/^./z/' "$directory/checksums" >"$directory/tampered"
  cp "$pki/certificates/root.der" "$directory/root.der"
  cp -rL "$pki" "$directory/pki" # revocations are for good
  "$pkgsign" sign "$directory/checksums" --pki "$directory/pki" --out "$directory/checksums.cms"
  "$pkgsign" crl --pki "$directory/pki" --out "$directory/crls.der"
  "$pkgsign" revoke signer --pki "$directory/pki" --reason keyCompromise
  "$pkgsign" crl --pki "$directory/pki" --out "$directory/revoked.der"
}

# expect STATUS COMMAND...: runs a command that must end with this exit status.
expect() {
  local expected=$1 status=0
  shift
  echo "+ $* (expecting $expected)"
  "$@" || status=$?
  [ "$status" -eq "$expected" ] || fail "exit status $status instead of $expected: $*"
}

# try_tool DIRECTORY TOOL...: the tool (a command of one or more words) accepts the package and refuses the two others.
try_tool() {
  local directory=$1
  shift
  expect 0 "$@" -f CHECK_PKG_INTEGRITY -e "$directory/checksums" -h "$directory/checksums.cms" -c "$directory/crls.der"
  expect 255 "$@" -f CHECK_PKG_INTEGRITY -e "$directory/tampered" -h "$directory/checksums.cms" -c "$directory/crls.der"
  expect 2 "$@" -f CHECK_PKG_INTEGRITY -e "$directory/checksums" -h "$directory/checksums.cms" \
    -c "$directory/revoked.der"
}

# passed LOG: how many tests passed in GoogleTest's brief log of a program; fails when there were none.
passed() {
  local count
  count=$(sed -n 's/^\[  PASSED  \] \([0-9]*\) tests\?\..*/\1/p' "$1")
  [ "${count:-0}" -gt 0 ] || fail "no test was run: $1"
  echo "$count"
}

# try_consumer DIRECTORY CONSUMER...: the same with a program over the library.
try_consumer() {
  local directory=$1
  shift
  expect 0 "$@" "$directory/root.der" "$directory/crls.der" "$directory/checksums.cms" "$directory/checksums"
  expect 1 "$@" "$directory/root.der" "$directory/crls.der" "$directory/checksums.cms" "$directory/tampered"
  expect 1 "$@" "$directory/root.der" "$directory/revoked.der" "$directory/checksums.cms" "$directory/checksums"
}

# check_links DIRECTORY DOCUMENT: every link leads to an installed file. Counts in `links`.
links=0
check_links() {
  local directory=$1 document=$2 link
  while read -r link; do
    [ -e "$directory/$(dirname "$document")/$link" ] || fail "$document: $link is not installed"
    links=$((links + 1))
  done < <(grep -o '](\([^)#:]\+\)[)#]' "$directory/$document" | sed 's/^](//; s/[)#]$//')
}

# with_library TREE COMMAND...: runs a program with the shared library of a tree, if it has one.
with_library() {
  local tree=$1
  shift
  env LD_LIBRARY_PATH="$tree/usr/lib/$multiarch" "$@"
}

# by_pkg_config KIND, by_cmake KIND: build the examples that are installed in $out/KIND-root over the library beside
# them and let one judge the package. by_pkg_config also builds the update step, which is over no library of ours,
# by_cmake tests/consumer, which is C++.
installed_examples() { find "$1" -path '*/docs/examples/Makefile' -printf '%h\n'; }

by_pkg_config() {
  local tree=$out/$1-root build=$out/consumer-$1-c
  rm -rf "$build"
  mkdir -p "$build"
  PKG_CONFIG_PATH=$(dirname "$(find "$tree" -name sigkit.pc)") \
    make -C "$(installed_examples "$tree")" BUILD="$build" CPPFLAGS=-Werror
  cp -r "$(installed_examples "$tree")/update" "$build"
  make -C "$build/update" CPPFLAGS=-Werror
  try_consumer "$out/package" with_library "$tree" "$build/verify_memory"
}

by_cmake() {
  local tree=$out/$1-root
  local examples=$out/consumer-$1-cmake consumer=$out/consumer-$1-cxx
  cmake -S "$(installed_examples "$tree")" -B "$examples" -DCMAKE_PREFIX_PATH="$tree/usr"
  cmake --build "$examples"
  try_consumer "$out/package" with_library "$tree" "$examples/verify_memory"
  cmake -S tests/consumer -B "$consumer" -DCMAKE_PREFIX_PATH="$tree/usr"
  cmake --build "$consumer"
  try_consumer "$out/package" with_library "$tree" "$consumer/consumer"
}
