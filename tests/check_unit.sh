#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

# Whether an example of a systemd unit is one: understood by systemd, and hardened.
# Usage: check_unit.sh UNIT INSTALLED=PROGRAM...: programs that it names, and what stands for them here
set -euo pipefail
unit=$1
shift
exposure_max=20 # in tenths, of systemd's 100

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
name=$(basename "$unit")
substitutes=()
for program in "$@"; do
  substitutes+=(-e "s|${program%%=*}|${program#*=}|")
done
sed "${substitutes[@]}" "$unit" >"$scratch/$name"

understood=yes
said=$(systemd-analyze verify --man=no "$scratch/$name" 2>&1) || understood=no
[ "$understood" = yes ] && [ -z "$said" ] || { echo "$said"; exit 1; }
systemd-analyze security --offline=true --no-pager --threshold="$exposure_max" "$scratch/$name" | tail -n 1
