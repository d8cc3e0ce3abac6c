#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

# Fuzzes the entry points that take octets from outside: builds the preset fuzz and runs the targets, two at a time,
# each on a copy of its seeds. Prints a line for each; exits with 1 when anything was found. Findings and logs stay in
# build/fuzz/findings.
#
# Usage: scripts/fuzz.sh [--merge] [--write] [seconds per target, default 10] [target...]
#   --merge  keep inputs that reach something new: those of a few kilobytes are added to fuzz/corpus; none is taken out
#   --write  put the table of the run into docs/security.md, when nothing was found
set -euo pipefail
cd "$(dirname "$0")/.."

merge=false
write=false
while [[ ${1:-} == --* ]]; do
  case $1 in
    --merge) merge=true ;;
    --write) write=true ;;
    *) echo "fuzz.sh: unknown option '$1'" >&2; exit 2 ;;
  esac
  shift
done
seconds=${1:-10}
[[ $seconds =~ ^[0-9]+$ ]] || { echo "fuzz.sh: '$seconds' is no number of seconds" >&2; exit 2; }
[ $# -eq 0 ] || shift

scripts/bootstrap.sh build fuzz

build=build/fuzz
cmake --preset fuzz >/dev/null
findings=$PWD/$build/findings
listing=$build/fuzz/targets.txt
targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
  mapfile -t targets < <(cut -d' ' -f1 "$listing")
fi
for target in "${targets[@]}"; do
  grep -q "^$target " "$listing" || { echo "fuzz.sh: no target '$target'" >&2; exit 2; }
done
cmake --build "$build" -j "$(nproc)" --target "${targets[@]/#/fuzz_}" -- --no-print-directory >/dev/null

mkdir -p "$findings"
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

# A finding ends the run. Leaks, and memory that the library still holds, are findings too.
# Few frames of each allocation and a small quarantine: half of the time would go into them.
export ASAN_OPTIONS=detect_leaks=1:strict_string_checks=1:malloc_context_size=8:quarantine_size_mb=32 TMPDIR=$scratch
export UBSAN_OPTIONS=print_stacktrace=1

run() {
  local target=$1
  local length log=$findings/$target.log corpus=$scratch/$target
  length=$(awk -v target="$target" '$1 == target { print $2 }' "$listing")
  cp -r "fuzz/corpus/$target" "$corpus"
  rm -f "$findings/$target"-*
  local status=0
  "$build/fuzz/fuzz_$target" -max_total_time="$seconds" -max_len="$length" -dict=fuzz/asn1.dict -timeout=10 \
    -report_slow_units=5 -rss_limit_mb=2048 -close_fd_mask=1 -print_final_stats=1 -verbosity=1 \
    -artifact_prefix="$findings/$target-" "$corpus" >"$log" 2>&1 || status=$?
  echo "$status" >"$scratch/$target.status"
}

report() {
  local target=$1 log=$findings/$1.log
  local executions edges inputs took found verdict=none
  executions=$(awk '/^stat::number_of_executed_units/ { print $2 }' "$log")
  edges=$(grep -o 'cov: [0-9]*' "$log" | tail -n 1 | cut -d' ' -f2 || true)
  inputs=$(find "$scratch/$target" -type f | wc -l)
  took=$(sed -n 's/^Done [0-9]* runs in \([0-9]*\) second.*/\1/p' "$log")
  found=$(find "$findings" -name "$target-*" | wc -l)
  if [ "$(cat "$scratch/$target.status")" -ne 0 ] || [ "$found" -ne 0 ]; then
    verdict="$found, see $log"
    [ "$found" -ne 0 ] || verdict="the run failed, see $log"
    failed=1
  fi
  printf '%-14s %12s %8s %8s  %s\n' "$target" "${executions:-?}" "${edges:-?}" "$inputs" "$verdict"
  echo "| $target | ${took:-?} | ${executions:-?} | ${edges:-?} |" >>"$scratch/table.md"
}

failed=0
printf '| target | seconds | executions | edges |\n|---|---:|---:|---:|\n' >"$scratch/table.md"
printf '%-14s %12s %8s %8s  %s\n' target executions edges inputs findings
for ((i = 0; i < ${#targets[@]}; i += 2)); do
  pair=("${targets[@]:i:2}")
  pids=()
  for target in "${pair[@]}"; do
    run "$target" &
    pids+=($!)
  done
  wait "${pids[@]}"
  for target in "${pair[@]}"; do
    report "$target"
  done
done

if $write && [ "$failed" -eq 0 ]; then
  printf '\nNo finding.\n' >>"$scratch/table.md"
  scripts/write_table.py docs/security.md fuzzing <"$scratch/table.md"
fi

if $merge && [ "$failed" -eq 0 ]; then
  for target in "${targets[@]}"; do
    mkdir "$scratch/merged"
    "$build/fuzz/fuzz_$target" -merge=1 -close_fd_mask=1 "$scratch/merged" "fuzz/corpus/$target" "$scratch/$target" \
      >/dev/null 2>&1
    # The seeds keep their names; of what is new only inputs of a few kilobytes are kept.
    find "$scratch/merged" -type f -size -8k -exec sh -c '
      for input; do
        for seed in "$0"/*; do
          cmp -s "$input" "$seed" && continue 2
        done
        cp "$input" "$0/"
      done' "fuzz/corpus/$target" {} +
    rm -r "$scratch/merged"
  done
fi
exit "$failed"
