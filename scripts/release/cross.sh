# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

# shellcheck shell=bash
# The step for one other machine; those that are named after machines source it.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
source scripts/release/machines.sh

# prepare_machine MACHINE: the cross compiler, qemu, and the machine's libcrypto and GoogleTest.
prepare_machine() {
  machine_names "$1"
  system=$out/$machine-system
  scripts/bootstrap.sh cross || could_not "the cross compiler or qemu cannot be installed"
  fetch_debian "$system" "$(debian_release)" "$architecture" libssl-dev libssl3 libgtest-dev libgmock-dev libcli11-dev \
    nlohmann-json3-dev libcurl4-openssl-dev libcurl4 libmicrohttpd-dev ||
    could_not "the packages of $machine cannot be fetched"
  # OpenSSL's headers that differ from machine to machine.
  cp "$system/usr/include/$triplet/openssl/"*.h "$system/usr/include/openssl/"
}

# check_machine ORDER: builds everything for the machine, whose numbers lie in this order ("little" or "big" endian),
# and runs tests and tools.
check_machine() {
  local order=$1 built=$out/$machine
  build_tree "$machine" "$root" -DCMAKE_TOOLCHAIN_FILE="$root/scripts/release/cross.cmake" \
    -DSIGKIT_CROSS_MACHINE="$machine" -DSIGKIT_CROSS_COMPILER="$compiler" -DSIGKIT_CROSS_TRIPLET="$triplet" \
    -DSIGKIT_CROSS_SYSTEM="$system"
  readelf -h "$built/src/verify_tool" | grep "Data:.*$order endian"
  check_packages "$built"
  check_late_time "$built"

  # With this machine's keys and PKI: whole packages aside, no test makes any.
  test_keys
  configure "$machine" "$root" -DBUILD_TESTING=ON -DSIGKIT_TEST_KEYS="$keys"
  tests=0
  local layer
  for layer in core asn1 x509 pki verify; do
    run_tests "$layer" "${layer}_test"
  done
  run_tests tool callbacks_test
  libcrypto=$(sed -n 's/^# define OPENSSL_VERSION_STR "\(.*\)"/\1/p' "$system/usr/include/openssl/opensslv.h")
}

# check_packages TREE: packages of this machine are judged there, and packages made there are judged here.
check_packages() {
  local built=$1
  static_tree
  sign_package "$out/static/pkgsign/pkgsign" "$out/package"
  sign_package "emulated_pkgsign" "$out/package-$machine"
  local package
  for package in package "package-$machine"; do
    try_tool "$out/$package" "$out/static/src/verify_tool"
    try_tool "$out/$package" emulate "$built/src/verify_tool"
  done
  expect 0 emulate "$built/crltool/crl_compare" --root "$pki/certificates/root.der" \
    "$out/package/crls.der" "$out/package/crls.der"
}

# check_late_time TREE: a time that 32 bits do not hold is written and read as it is.
check_late_time() {
  local built=$1 late=$out/package-$machine/late.der
  emulated_pkgsign crl --pki "$out/package-$machine/pki" --next-update 2050-01-02 --out "$late"
  emulate "$built/crltool/crl_compare" --root "$pki/certificates/root.der" "$late" "$late" | tee "$out/$machine.late"
  grep 2050-01-02 "$out/$machine.late" || fail "crl_compare does not say 2050-01-02"
}

emulated_pkgsign() { emulate "$out/$machine/pkgsign/pkgsign" "$@"; }

# run_tests DIRECTORY PROGRAM: builds and runs a program of tests and counts them, but for random stores by the
# thousands, which are the same on every machine and take long on an emulated one: a thousand are judged.
run_tests() {
  local directory=$1 program=$2 count
  cmake --build "$out/$machine" -j "$jobs" --target "$program"
  (cd "$out/$machine/tests/$directory" && emulate "./$program" --gtest_brief=1 --gtest_filter='-ManyRandomStores.*') |
    tee "$out/$machine.$program.tests"
  count=$(passed "$out/$machine.$program.tests")
  tests=$((tests + count))
}

# what_was_seen: the step's last line.
what_was_seen() {
  local by=qemu-$machine
  ! runs_by_itself || by=itself
  echo "$machine, run by $by, OpenSSL $libcrypto: $tests tests of library and callbacks pass, random stores by the" \
    "thousands left out; packages made here and there are judged alike in both places; a CRL until 2050 is made and" \
    "read there"
}
