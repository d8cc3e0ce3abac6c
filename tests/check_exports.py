#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

"""Checks what the shared library shows and needs. Usage: check_exports.py LIBRARY.so ARCHIVE PROGRAM

The library shows the operations that sigkit.h declares, but for those that the archive beside it defines, under one
version, and nothing else. What it does not define are host callbacks, bounds-checked functions and the compiler's own
support, and the program that is linked with it supplies every callback that the library asks for.
"""
import re
import subprocess
import sys

sys.dont_write_bytecode = True
from check_symbols import COMPILER_SUPPORT, declared

VERSION = "SIGKIT_2"
SONAME = "libsigkit.so.2"
NEEDED = {"libc.so.6"}
STATUS_TEXTS = {"SigkitStatusName", "SigkitStatusText"}
# What start-up objects ask for weakly, and what the C library's fortified and plain functions are called.
START_UP = {"__cxa_finalize", "__gmon_start__", "_ITM_deregisterTMCloneTable", "_ITM_registerTMCloneTable"}
FORTIFIED = {"__memcpy_chk", "__memset_chk", "__memmove_chk"}


def readelf(path: str, *options: str) -> str:
    return subprocess.run(["readelf", "-W", *options, path], check=True, capture_output=True, text=True).stdout


def symbols(path: str) -> tuple[set[str], set[str]]:
    """The dynamic symbols of a file: those that it defines, with their versions, and the names that it needs."""
    shown, needed = set(), set()
    for row in readelf(path, "--dyn-syms").splitlines():
        fields = row.split()
        if len(fields) < 8 or not fields[0].rstrip(":").isdigit():
            continue
        if fields[6] == "UND":
            needed.add(fields[7].split("@")[0])
        else:
            shown.add(fields[7])
    return shown, needed


def archived(path: str) -> set[str]:
    """The functions that an archive defines."""
    listing = subprocess.run(["nm", "--defined-only", path], check=True, capture_output=True, text=True).stdout
    return set(re.findall(r" T (\w+)$", listing, re.M))


def faults(library: str, archive: str, program: str) -> list[str]:
    found = []
    shown, needed = symbols(library)
    beside = archived(archive)
    if beside != STATUS_TEXTS:
        found.append(f"has an archive beside it that defines {sorted(beside)}")
    public = {f"{name}@@{VERSION}" for name in declared("sigkit/sigkit.h") - beside}
    for name in sorted(public - shown):
        found.append(f"does not show {name}")
    for name in sorted(shown - public - {VERSION, f"{VERSION}@@{VERSION}"}):
        found.append(f"shows {name}")
    host = declared("sigkit/sigkit_host.h") | declared("platform/annexk.h")
    for name in sorted(needed - host - COMPILER_SUPPORT - START_UP - FORTIFIED):
        found.append(f"needs {name}")
    if len(needed & host) < 20:
        found.append(f"leaves too few callbacks to its host: {sorted(needed & host)}")
    supplied = {name.split("@")[0] for name in symbols(program)[0]}
    for name in sorted((needed & host) - supplied):
        found.append(f"{program} does not supply {name}")
    dynamic = readelf(library, "-d")
    if re.findall(r"\(SONAME\).*\[(.*)\]", dynamic) != [SONAME]:
        found.append(f"is not named {SONAME}")
    wants = set(re.findall(r"\(NEEDED\).*\[(.*)\]", dynamic))
    if not wants <= NEEDED:
        found.append(f"needs the libraries {sorted(wants - NEEDED)}")
    if re.search(r"RPATH|RUNPATH|TEXTREL", dynamic):
        found.append("has a library search path or relocations in its text")
    return found


def main() -> int:
    found = faults(*sys.argv[1:])
    for fault in found:
        print(fault)
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
