#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

# Measures what the verifier costs, and prints tables:
#   costs         beside peers in the same run: figure, peer, ratio, and the ratio to reach
#   growth        by CRLs, certificates and content
#   hostile       what files cost that are made to hold it up
#   serve         what a token of pkgsign serve costs beside its signature, and what clients that are slow, many or
#                 hostile cost it
#   instructions  of a small package: the rows of costs that a busy machine does not change. Exits with 1 when there are
#                 more than 1.10 times as many as there should be
# Run the first four on a machine that does nothing else.
#
# Usage: scripts/bench.sh [--write] [--rounds N] [table...]; without a table: costs growth hostile serve
#   --write     also put the tables into docs/performance.md and docs/security.md; growth draws its pictures in
#               docs/pictures
#   --rounds N  how often each figure is measured, by default 15
set -euo pipefail
cd "$(dirname "$0")/.."

write=false
rounds=15
tables=()
while [ $# -gt 0 ]; do
  case $1 in
    --write) write=true ;;
    --rounds) rounds=${2:?--rounds takes a number}; shift ;;
    costs | growth | hostile | serve | instructions) tables+=("$1") ;;
    *) echo "bench.sh: unknown argument '$1'" >&2; exit 2 ;;
  esac
  shift
done
[ ${#tables[@]} -gt 0 ] || tables=(costs growth hostile serve)

scripts/bootstrap.sh build bench

build=build/bench
cmake --log-level=WARNING -S . -B "$build" -DCMAKE_BUILD_TYPE=Release -DSIGKIT_BENCH=ON >/dev/null
cmake --build "$build" -j "$(nproc)" >/dev/null

# build_beside NAME TARGET OPTION...: another kind of build, under the same root.
build_beside() {
  local directory=$build/$1 target=$2
  shift 2
  cmake --log-level=WARNING -S . -B "$directory" -DCMAKE_BUILD_TYPE=Release -DSIGKIT_RELEASE_SIDE=OFF "$@" \
    -DSIGKIT_TRUST_ANCHOR="$PWD/$build/development-pki/certificates/root.der" >/dev/null
  cmake --build "$directory" -j "$(nproc)" --target "$target" >"$directory.log" 2>&1 ||
    { cat "$directory.log" >&2; return 1; }
}
if [[ " ${tables[*]} " == *" costs "* ]]; then
  build_beside shared sigkit -DBUILD_SHARED_LIBS=ON
fi
if [[ " ${tables[*]} " == *" costs "* || " ${tables[*]} " == *" instructions "* ]]; then
  build_beside static verify_tool -DSIGKIT_STATIC_TOOL=ON
fi

measure() {
  case $1 in
    costs | instructions) bench/measure.py "$build" "$1" --rounds "$rounds" ;;
    growth) bench/measure.py "$build" growth --rounds "$rounds" ${pictures:+--pictures "$pictures"} ;;
    serve) bench/serve.py "$build" --rounds "$rounds" ;;
    hostile) # its time is that of its log
      "$build/bench/hostile_cost" "$build/hostile.table" >"$build/hostile.log" 2>&1 ||
        { tail -n 5 "$build/hostile.log" >&2; return 1; }
      cat "$build/hostile.table"
      ;;
  esac
}

pictures=
if $write; then
  pictures=docs/pictures
fi
for table in "${tables[@]}"; do
  measure "$table" | tee "$build/$table.md"
  document=docs/performance.md
  [ "$table" != hostile ] || document=docs/security.md
  if [ "$table" = growth ]; then
    echo "Medians of $rounds rounds." >"$build/growth.md" # the pictures show the rest
  fi
  if $write && [ "$table" != instructions ]; then
    scripts/write_table.py "$document" "$table" <"$build/$table.md"
  fi
done
