#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

# As a part of another project Sigkit leaves its parent's settings, its packages and its build directory alone.
# Usage: check.sh DIRECTORY: where the parent is built.
set -euo pipefail
project=$(cd "$(dirname "$0")/../.." && pwd)
build=$1
rm -rf "$build"
cmake -S "$project/tests/subproject" -B "$build" -DSIGKIT_SOURCE="$project"
cmake --build "$build" -j 2 --target parent
status=0
"$build/parent" >"$build/parent.said" 2>&1 || status=$?
[ "$status" -eq 2 ] || { echo "given nothing the parent's program ends with $status instead of 2" && exit 1; }

# All of it lies in the directory that the parent gave.
found=$(cd "$build" && find . -mindepth 1 -maxdepth 1 ! -name 'CMake*' ! -name Makefile ! -name cmake_install.cmake \
  ! -name 'build.ninja' ! -name '.ninja*' ! -name 'parent*' ! -name sigkit -printf '%P\n')
[ -z "$found" ] || { printf 'in the build directory of the parent: %s\n' "$found" && exit 1; }
