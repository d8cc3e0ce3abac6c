#!/usr/bin/env bash
# Builds and tests everything: optimised, then under AddressSanitizer and UndefinedBehaviorSanitizer, then the fuzz
# targets: every input of their corpora, and ten seconds of new ones; then a dozen mutants of path validation, to see that
# the tests notice; then what a release promises beyond, as far as it takes no network: that it installs, and that others
# can build against it.
# Usage: scripts/test.sh [preset...]; without an argument: release sanitize fuzz, the mutants and the release's promises.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/bootstrap.sh build test fuzz

jobs=$(nproc)
presets=("$@")
[ $# -gt 0 ] || presets=(release sanitize fuzz)
export ASAN_OPTIONS=detect_leaks=1:strict_string_checks=1 UBSAN_OPTIONS=print_stacktrace=1
for name in "${presets[@]}"; do
  echo "== $name"
  cmake --preset "$name" >/dev/null
  cmake --build --preset "$name" -j "$jobs" -- --no-print-directory >/dev/null
  ctest --preset "$name" -j "$jobs" --progress
done
if [ $# -eq 0 ]; then
  echo "== mutants"
  scripts/mutate.py --own --only '^sigkit/pki/' --sample 12 --least 90
  echo "== release-check"
  scripts/release-check.sh install consumers shared device trust-anchor
fi
