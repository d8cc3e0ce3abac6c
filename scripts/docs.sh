#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

# Draws the pictures, writes the tables of status codes, holds the documents to the sources, and makes the reference of
# the public headers in build/docs/html. Prints nothing when all is well. A picture whose text has not changed is left
# alone.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/bootstrap.sh docs

# The version of the program that draws stands in a comment.
without_version() { grep -v '^<!-- Generated\|^ -->'; }

for text in docs/pictures/*.dot; do
  picture=${text%.dot}.svg
  drawn=$(dot -Tsvg "$text")
  if ! diff -q <(without_version <<<"$drawn") <(without_version <"$picture") >/dev/null 2>&1; then
    printf '%s\n' "$drawn" >"$picture"
  fi
done

scripts/status_tables.py --write
# By the program that was built last: an older one describes the options of its time.
newest=
for pkgsign in build/*/pkgsign/pkgsign; do
  if [ -x "$pkgsign" ] && { [ -z "$newest" ] || [ "$pkgsign" -nt "$newest" ]; }; then
    newest=$pkgsign
  fi
done
[ -z "$newest" ] || scripts/manual_options.py "$newest" --write
tests/check_docs.py
mkdir -p build/docs
doxygen docs/Doxyfile
