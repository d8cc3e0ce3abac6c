#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

# Runs a fuzz target on a copy of its corpus, so that the tree stays as it is. Usage: smoke.sh PROGRAM CORPUS
# [OPTION]...
set -euo pipefail
program=$1
corpus=$2
shift 2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
export TMPDIR=$scratch # a target that crashes leaves its own files there
mkdir "$scratch/corpus"
cp -r "$corpus/." "$scratch/corpus/"
cd "$scratch"
if ! "$program" -artifact_prefix="$scratch/" "$@" "$scratch/corpus"; then
  for found in "$scratch"/crash-* "$scratch"/leak-* "$scratch"/timeout-* "$scratch"/oom-* "$scratch"/slow-unit-*; do
    [ -f "$found" ] && echo "$(basename "$found"), as Base64:" && base64 "$found"
  done
  exit 1
fi
