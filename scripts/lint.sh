#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

# Formatting, clang-tidy and the project's own rules. Prints nothing when all is well.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/bootstrap.sh build test lint

scripts/files.sh '*.cpp' '*.h' '*.c' '*.def' | xargs clang-format --dry-run --Werror
tests/check_rules.py
reuse lint --quiet
scripts/files.sh 'docs/examples/*.sh' | xargs shellcheck

cmake --preset release >/dev/null
# It counts what it does not show; all else that it says stays to be seen.
scripts/files.sh 'sigkit/*.cpp' 'src/*.cpp' 'platform/*.cpp' 'crltool/*.cpp' 'pkgsign/*.cpp' 'tools/*.cpp' |
  xargs -P "$(nproc)" -n 4 clang-tidy --quiet -p build/release 2>&1 |
  { grep -v '^[0-9]* warnings\? generated\.$' || true; }
