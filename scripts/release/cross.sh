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

  # Packages of this machine are judged there, and packages made there are judged here.
  static_tree
  sign_package "$out/static/pkgsign/pkgsign" "$out/package"
  sign_package "emulated_pkgsign" "$out/package-$machine"
  try_tool "$out/package" emulate "$built/src/verify_tool"
  try_tool "$out/package-$machine" "$out/static/src/verify_tool"
  try_tool "$out/package-$machine" emulate "$built/src/verify_tool"
  expect 0 emulate "$built/crltool/crl_compare" --root "$pki/certificates/root.der" \
    "$out/package/crls.der" "$out/package/crls.der"

  configure_tests "$machine"
  tests=0
  local layer
  for layer in asn1 x509; do
    run_tests "$layer"
  done
}

emulated_pkgsign() { emulate "$out/$machine/pkgsign/pkgsign" "$@"; }

# run_tests LAYER: builds and runs the tests of one layer of the library, and counts them.
run_tests() {
  local layer=$1 log=$out/$machine.$1.tests passed
  cmake --build "$out/$machine" -j "$jobs" --target "$1_test"
  (cd "$out/$machine/tests/$layer" && emulate "./${layer}_test" --gtest_brief=1) | tee "$log"
  passed=$(sed -n 's/^\[  PASSED  \] \([0-9]*\) tests.*/\1/p' "$log")
  [ "${passed:-0}" -gt 0 ] || fail "no test of $layer was run"
  tests=$((tests + passed))
}
