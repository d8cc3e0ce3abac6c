#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

# Checks what a release promises beyond its tests: that it installs, that others can build against it, that its packages
# work on a clean system, that its systemd units do, that its builds can be repeated, that other versions of OpenSSL and
# other machines do, and that the README's commands pass on a fresh machine.
# Usage: scripts/release-check.sh [--write] [step...]; without a step all steps, from an empty build/release-check. With
# --write the steps that passed and what they saw also become the table in docs/install.md; those that passed so before,
# with the same sources, stay in it.
#
# Each step prints one line with what was seen; what it ran is in build/release-check/<step>.log.
# Exit status: 0 every step passed, 1 a step failed and the rest was not run, 3 no step failed but some could not be
# done because packages were out of reach.
set -euo pipefail
cd "$(dirname "$0")/.."

all=(install consumers shared static device trust-anchor packages units reproducible release openssl-1.1.1 i386 armhf
  aarch64 s390x replay fresh-machine)
out=build/release-check
COULD_NOT=77 # exit status of a step that lacked something from the network

write=false
if [ "${1:-}" = --write ]; then
  write=true
  shift
fi
if [ $# -eq 0 ]; then
  rm -rf "$out"
  set -- "${all[@]}"
fi
mkdir -p "$out"
scripts/bootstrap.sh build test

rows=
if $write; then
  rows=$out/rows-$({ git rev-parse HEAD && git diff HEAD -- . ':!*.md'; } | sha256sum | cut -c 1-16)
  mkdir -p "$rows"
fi
left_out=()
for step in "$@"; do
  program=scripts/release/$step.sh
  case $step in fresh-machine | replay) program=scripts/$step.sh ;; esac
  if [ ! -x "$program" ]; then
    echo "release-check.sh: no step '$step'; there are: ${all[*]}" >&2
    exit 2
  fi
  log=$out/$step.log began=$SECONDS status=0
  rm -f "${rows:-$out}/$step.row"
  "$program" >"$log" 2>&1 || status=$?
  report=$(tail -n 1 "$log")
  case $status in
    0)
      word=ok
      [ -z "$rows" ] || echo "| $step | $report |" >"$rows/$step.row"
      ;;
    "$COULD_NOT") word='NOT CHECKED' left_out+=("$step") ;;
    *) word=FAILED report="see $log" ;;
  esac
  printf '%-11s  %-13s %3d s  %s\n' "$word" "$step" $((SECONDS - began)) "$report"
  if [ "$word" = FAILED ]; then
    tail -n 30 "$log" >&2
    exit 1
  fi
done
if $write && [ -n "$(ls "$rows")" ]; then
  { printf '%s\n' '| step | what was seen |' '|---|---|' && cat "$rows"/*.row; } |
    scripts/write_table.py docs/install.md steps
fi
if [ ${#left_out[@]} -gt 0 ]; then
  echo "No step failed, but these were not checked: ${left_out[*]}"
  exit 3
fi
echo "All steps passed."
