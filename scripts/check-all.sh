#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

# What scripts/test.sh leaves out. Usage: scripts/check-all.sh [step...]; without an argument all steps:
#   sanitize  the tests under AddressSanitizer and UndefinedBehaviorSanitizer, but those with the label slow
#   slow      the optimised build's tests that have the label slow
#   sanitize-slow  the same tests under the sanitizers
#   fuzz      the fuzz targets over libFuzzer: every input of their corpora, and ten seconds of new ones
#   mutants   a dozen places of path validation are broken, to see that the tests notice
#   release   scripts/release-check.sh; both commands of the README on a fresh machine are among it
# Exit status: 0 when all is well, and what release-check.sh says when it could not do everything.
set -euo pipefail
cd "$(dirname "$0")/.."

all=(sanitize slow sanitize-slow fuzz mutants release)
export ASAN_OPTIONS=detect_leaks=1:strict_string_checks=1 UBSAN_OPTIONS=print_stacktrace=1

# test_preset PRESET [OPTION...]: builds a preset and runs its tests with these options of ctest.
test_preset() {
  local preset=$1
  shift
  scripts/bootstrap.sh build test
  cmake --preset "$preset" >/dev/null
  cmake --build --preset "$preset" -j "$(nproc)" | scripts/progress.sh
  ctest --preset "$preset" -j "$(nproc)" --progress --no-tests=error "$@"
}

[ $# -gt 0 ] || set -- "${all[@]}"
for step in "$@"; do
  echo "== $step"
  case $step in
    sanitize) test_preset sanitize -LE slow ;;
    sanitize-slow) test_preset sanitize -L slow ;;
    slow) test_preset release -L slow ;;
    fuzz)
      scripts/bootstrap.sh fuzz
      test_preset fuzz
      ;;
    mutants)
      scripts/bootstrap.sh build test
      scripts/mutate.py --own --only '^sigkit/pki/' --sample 12 --least 90
      ;;
    release) scripts/release-check.sh ;;
    *)
      echo "check-all.sh: no step '$step'; there are: ${all[*]}" >&2
      exit 2
      ;;
  esac
done
