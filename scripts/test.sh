#!/usr/bin/env bash
# Builds and tests everything: optimised, then under AddressSanitizer and UndefinedBehaviorSanitizer, then the fuzz
# targets: every input of their corpora, and ten seconds of new ones.
# Usage: scripts/test.sh [preset...]; without an argument: release sanitize fuzz.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/bootstrap.sh build test fuzz

jobs=$(nproc)
export ASAN_OPTIONS=detect_leaks=1:strict_string_checks=1 UBSAN_OPTIONS=print_stacktrace=1
for preset in "${@:-release sanitize fuzz}"; do
  for name in $preset; do
    echo "== $name"
    cmake --preset "$name" >"/dev/null"
    cmake --build --preset "$name" -j "$jobs" -- --no-print-directory >/dev/null
    ctest --preset "$name" -j "$jobs" --progress
  done
done
