#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

"""Checks that the library needs nothing but its host. Usage: check_symbols.py LIBRARY.a

Every symbol that no object of the library defines must be a host callback, a bounds-checked function, or one of the
functions that compilers call on their own.
"""
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
COMPILER_SUPPORT = {"memcpy", "memset", "memmove", "memcmp", "__stack_chk_fail", "_GLOBAL_OFFSET_TABLE_"}


def declared(header: str) -> set[str]:
    text = re.sub(r"//[^\n]*|^#[^\n]*|__attribute__\(\(\w+\([^)]*\)\)\)", "", (ROOT / header).read_text(), flags=re.M)
    return set(re.findall(r"\b(\w+)\s*\([^;{}]*\)\s*;", text))


def main() -> int:
    listing = subprocess.run(["nm", "--format=posix", sys.argv[1]], check=True, capture_output=True, text=True).stdout
    defined, undefined = set(), set()
    for line in listing.splitlines():
        fields = line.split()
        if len(fields) < 2:
            continue
        (undefined if fields[1] in "Uvw" else defined).add(fields[0])
    host = declared("sigkit/sigkit_host.h")
    needed = undefined - defined
    foreign = needed - host - declared("platform/annexk.h") - COMPILER_SUPPORT
    if foreign:
        print("the library needs more than its host:", ", ".join(sorted(foreign)))
        return 1
    if len(needed & host) < 15:
        print("the check has not seen the library's own callbacks:", ", ".join(sorted(needed)))
        return 1
    public = declared("sigkit/sigkit.h")
    if public - defined:
        print("declared and not defined:", ", ".join(sorted(public - defined)))
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
