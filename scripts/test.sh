#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

# Builds everything optimised and runs its tests: all but those with the label slow. Among them are the inputs of the
# fuzz corpora, and that it installs and that others can build against it. scripts/check-all.sh does the rest.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/bootstrap.sh build test

cmake --preset release >/dev/null
cmake --build --preset release -j "$(nproc)" | scripts/progress.sh
ctest --preset release -LE slow -j $(($(nproc) + 1)) --progress --no-tests=error # some wait, and want no core
