#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

"""Drops the result of every operation of sigkit.h. Usage: check_must_use.py C_COMPILER CXX_COMPILER

In C11 and in C++ the compiler warns for each that returns a status, but for those that free, and for no other.
"""
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
DECLARATION = re.compile(r"^(?:SIGKIT_MUST_USE )?(uint32_t|const char \*) ?(Sigkit\w+)\(([^;]*)\);", re.M)
FREES = {"SigkitVrfCtxFree", "SigkitCrlFree"}


def dropped() -> tuple[dict[int, str], set[str], str]:
    """A program that calls each operation on a line of its own: the names by line, those to warn of, its text."""
    operations = DECLARATION.findall((ROOT / "sigkit/sigkit.h").read_text())
    calls, statuses = [], set()
    for result, name, parameters in operations:
        count = 0 if parameters == "void" else parameters.count(",") + 1
        calls.append(f"    {name}({', '.join(['0'] * count)});")
        if result == "uint32_t" and name not in FREES:
            statuses.add(name)
    lines = ['#include "sigkit/sigkit.h"', "void Drop(void);", "void Drop(void)", "{", *calls, "}", ""]
    first = lines.index("{") + 2
    return {first + i: operation[1] for i, operation in enumerate(operations)}, statuses, "\n".join(lines)


def main() -> int:
    names, statuses, program = dropped()
    found = [] if len(statuses) > 10 else ["too few operations were found"]
    for language, compiler, standard in (("c", sys.argv[1], "c11"), ("c++", sys.argv[2], "c++14"),
                                         ("c++", sys.argv[2], "c++20")):
        command = [compiler, f"-std={standard}", "-pedantic-errors", "-Wall", f"-I{ROOT}", "-S", "-o", "/dev/null",
                   "-x", language, "-"]
        run = subprocess.run(command, input=program, capture_output=True, text=True)
        warned = {names[int(line)] for line in re.findall(r"^<stdin>:(\d+):\d+: warning: ", run.stderr, re.M)}
        if run.returncode != 0 or warned != statuses:
            found.append(f"{standard}: other operations are warned of: {sorted(warned ^ statuses)}\n{run.stderr}")
    print("\n".join(found), end="\n" if found else "")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
