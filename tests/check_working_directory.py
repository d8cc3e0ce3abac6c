#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

"""Checks that programs load no library from the working directory. Usage: check_working_directory.py PROGRAM...

Each program is started, without arguments, in a directory that holds hostile libraries under the names of those that it
needs. They define all that it asks for, so that the dynamic linker would take them, and leave a mark when they are
loaded. To see that they do, the program is started once more with that directory in LD_LIBRARY_PATH.
"""
import os
import pathlib
import re
import subprocess
import sys
import tempfile

sys.dont_write_bytecode = True
from check_hardening import readelf

MODULE = pathlib.Path(__file__).resolve().parent / "support" / "hostile_module.c"
# Of the C library, the compiler and its sanitizers: a program does not get far enough without the true ones.
OWN_LIBRARIES = re.compile(r"(libc|libm|libgcc_s|libstdc\+\+|libasan|libubsan|ld-linux[^.]*)\.")
OWN_VERSIONS = re.compile(r"@(GLIBC|GLIBCXX|CXXABI|GCC)_")
NOT_STARTED = 127  # exit status of the dynamic linker


def needed(program: str) -> list[str]:
    names = re.findall(r"\(NEEDED\).*\[(.*)\]", readelf(program, "-d"))
    return [name for name in names if not OWN_LIBRARIES.match(name)]


def wanted(program: str) -> list[str]:
    """The symbols that the program cannot be without and that are not the C library's."""
    rows = [row.split() for row in readelf(program, "--dyn-syms").splitlines()]
    names = [row[7] for row in rows if len(row) > 7 and row[4] == "GLOBAL" and row[6] == "UND"]
    return [name.split("@")[0] for name in names if not OWN_VERSIONS.search(name)]


def make_hostile(program: str, names: list[str], directory: str) -> None:
    source = pathlib.Path(directory) / "definitions.c"
    source.write_text("".join(f"void {name}(void);\nvoid {name}(void) {{}}\n" for name in wanted(program)))
    for name in names:
        subprocess.run(["cc", "-w", "-shared", "-fPIC", "-fno-builtin", f"-Wl,-soname,{name}", "-o", name, str(source),
                        str(MODULE)], cwd=directory, check=True)


def start(program: str, directory: str, search: str) -> tuple[bool, int]:
    """Whether a hostile library was loaded, and the exit status."""
    mark = pathlib.Path(directory) / "mark"
    mark.unlink(missing_ok=True)
    environment = os.environ | {"HOSTILE_MARK": str(mark), "QZLOG": "/dev/null", "LD_LIBRARY_PATH": search}
    ended = subprocess.run([program], cwd=directory, env=environment, stdin=subprocess.DEVNULL, capture_output=True)
    return mark.exists(), ended.returncode


def faults(program: str) -> list[str]:
    names = needed(program)
    if not names:
        return []
    own = os.environ.get("LD_LIBRARY_PATH", "")
    with tempfile.TemporaryDirectory() as directory:
        make_hostile(program, names, directory)
        loaded, status = start(program, directory, own)
        could_be, _ = start(program, directory, f"{directory}:{own}")
    if loaded:
        return [f"{program} loads a library of the working directory"]
    if status == NOT_STARTED:
        return [f"{program} did not start"]
    return [] if could_be else [f"{program} would not have loaded the hostile {names}"]


def main() -> int:
    programs = [str(pathlib.Path(program).resolve()) for program in sys.argv[1:]]
    found = [fault for program in programs for fault in faults(program)]
    if not any(needed(program) for program in programs):
        found.append("no program needs a library")
    for fault in found:
        print(fault)
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
