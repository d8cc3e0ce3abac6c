#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

# Shows how far a build is that prints to it: on a terminal in one line that changes, elsewhere in a line for each
# tenth. What goes wrong comes on standard error, past it. Usage: cmake --build DIRECTORY | scripts/progress.sh
set -euo pipefail

shown=-10
while IFS= read -r line; do
  [[ $line =~ ^\[\ *([0-9]+)%\]\ (.*)$ ]] || continue
  percent=${BASH_REMATCH[1]}
  if [ -t 1 ]; then
    printf '\r%3d %% %.70s\033[K' "$percent" "${BASH_REMATCH[2]}"
  elif [ "$percent" -ge $((shown + 10)) ]; then
    shown=$((percent / 10 * 10))
    printf 'built: %3d %%\n' "$percent"
  fi
done
[ ! -t 1 ] || printf '\r\033[K'
