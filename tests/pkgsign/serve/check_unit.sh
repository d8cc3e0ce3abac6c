#!/usr/bin/env bash
# Whether the example of a systemd unit is one: understood by systemd, hardened, and with options that there are.
# Usage: check_unit.sh UNIT PKGSIGN
set -euo pipefail
unit=$1
program=$2
exposure_max=20 # in tenths, of systemd's 100

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
name=$(basename "$unit")
sed "s|/usr/bin/pkgsign|$program|" "$unit" >"$scratch/$name"

understood=yes
said=$(systemd-analyze verify --man=no "$scratch/$name" 2>&1) || understood=no
[ "$understood" = yes ] && [ -z "$said" ] || { echo "$said"; exit 1; }
systemd-analyze security --offline=true --no-pager --threshold="$exposure_max" "$scratch/$name" | tail -n 1

options=$("$program" serve --help)
used=0
for option in $(grep -A2 '^ExecStart=' "$unit" | grep -o -- '--[a-z-]*'); do
  grep -q -- "$option " <<<"$options " || { echo "pkgsign serve has no $option"; exit 1; }
  used=$((used + 1))
done
[ "$used" -ge 5 ]
