#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

# Prints line and branch coverage of the library and the tool by the tests. Fails when they run fewer than 99.5 percent
# of the lines or 95 percent of the branches. Usage: scripts/coverage.sh [directory for an HTML report]
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/bootstrap.sh build test coverage

# From nothing: notes of sources that are gone would be counted.
build=build/coverage
rm -rf "$build"
cmake --preset coverage >/dev/null
cmake --build --preset coverage -j "$(nproc)" -- --no-print-directory >/dev/null
ctest --preset coverage -E '^Fuzz\.' -j "$(nproc)" --progress

report=(gcovr --root . --object-directory "$build" --filter 'sigkit/' --filter 'src/' --exclude-unreachable-branches
        --exclude-throw-branches --exclude-directories '.*CompilerId.*')
if [ $# -ge 1 ]; then
  mkdir -p "$1"
  "${report[@]}" --html-details "$1/index.html"
fi
"${report[@]}" --fail-under-line 99.5 # names the lines that are not run
"${report[@]}" --branches --fail-under-branch 95 | tail -n 4
