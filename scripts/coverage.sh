#!/usr/bin/env bash
# Prints line and branch coverage of the library and the tool by the tests, and each line that no test runs.
# Usage: scripts/coverage.sh [directory for an HTML report]
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/bootstrap.sh build test coverage

build=build/coverage
cmake --preset coverage >/dev/null
cmake --build --preset coverage -j "$(nproc)" -- --no-print-directory >/dev/null
find "$build" -name '*.gcda' -delete
ctest --preset coverage -j "$(nproc)" --progress

report=(gcovr --root . --object-directory "$build" --filter 'sigkit/' --filter 'src/' --exclude-unreachable-branches
        --exclude-throw-branches --exclude-directories '.*CompilerId.*')
"${report[@]}"
"${report[@]}" --branches | tail -n 4
if [ $# -ge 1 ]; then
  mkdir -p "$1"
  "${report[@]}" --html-details "$1/index.html"
fi
