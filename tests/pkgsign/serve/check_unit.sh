#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

# Whether the example of the timestamp server's unit is a good one, with options that there are.
# Usage: check_unit.sh UNIT PKGSIGN
set -euo pipefail
unit=$1
program=$2

"$(dirname "$0")/../../check_unit.sh" "$unit" "/usr/bin/pkgsign=$program"

options=$("$program" serve --help)
used=0
for option in $(grep -A2 '^ExecStart=' "$unit" | grep -o -- '--[a-z-]*'); do
  grep -q -- "$option " <<<"$options " || { echo "pkgsign serve has no $option"; exit 1; }
  used=$((used + 1))
done
[ "$used" -ge 5 ]
