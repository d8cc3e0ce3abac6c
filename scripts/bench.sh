#!/usr/bin/env bash
# Measures what the verifier costs, beside peers in the same run, and prints one table: figure, peer, ratio, and the ratio
# to reach. Run it on a machine that does nothing else; it takes about five minutes.
#
# Usage: scripts/bench.sh [--plots]
#   --plots  also draw docs/pictures/growth-*.svg: how the cost grows
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/bootstrap.sh build bench

build=build/bench
cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Release -DSIGKIT_BENCH=ON >/dev/null 2>&1
cmake --build "$build" -j "$(nproc)" >/dev/null
cmake -S . -B "$build/shared" -DCMAKE_BUILD_TYPE=Release -DBUILD_SHARED_LIBS=ON \
  -DSIGKIT_TRUST_ANCHOR="$PWD/$build/development-pki/root.der" >/dev/null 2>&1
cmake --build "$build/shared" -j "$(nproc)" --target sigkit >/dev/null
exec bench/measure.py "$build" "$@"
