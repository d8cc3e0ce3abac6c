#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

# Prints the files of the source tree but for what builds leave in it, whether or not git is there.
# Usage: scripts/files.sh [pattern...]; with patterns: the files whose path one of them matches. * is any text, also /.
set -euo pipefail
cd "$(dirname "$0")/.."

wanted=()
for pattern in "${@:-*}"; do
  wanted+=(-o -path "./$pattern")
done
find . \( -path ./.git -o -type d \( -path './build*' -o -name __pycache__ \) \) -prune -o \
  \( -type f -o -type l \) \( "${wanted[@]:1}" \) -printf '%P\n' | LC_ALL=C sort
