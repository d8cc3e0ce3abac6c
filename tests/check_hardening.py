#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

"""Checks what is built into programs. Usage:
    check_hardening.py PROGRAM ARCHIVE...
    check_hardening.py --needed PROGRAM...
    check_hardening.py --static PROGRAM...
    check_hardening.py --fortified COMPILE_COMMANDS...
    check_hardening.py --search-paths DIRECTORY...
    check_hardening.py --no-search-paths DIRECTORY...

The first form is for a shipped program. It reads the ELF file: position independence, protected relocations, stack and
segments that are not executable or writable together, stack protector, fortified functions, and that it needs no more
than it should: no run-time library of C++, no clock, no network. Control-flow protection is looked for in the objects
of the archives that the program is made of: the program itself only carries the mark when the C library's start-up
objects do too. With --needed each program is only looked at for the libraries that it needs, with --static for what it
has instead of them: no dynamic linker and no libraries, and a layout as hard as that of the others. With --fortified
the compiler's command for every shipped source is looked at in a build's compile_commands.json: the last that it says
of optimisation is some, and of _FORTIFY_SOURCE 3.

The other forms read every program and shared library below a directory, which is a build tree or an installed one. With
--search-paths each may look for libraries in its own tree and where nobody but its owner can put one: no entry of its
search path is empty or relative, which would be the working directory, and none can be made or written by others, be it
all or a group. With --no-search-paths it has none at all.
"""
import json
import os
import pathlib
import re
import stat
import subprocess
import sys

SHIPPED = ("sigkit", "src", "platform", "crltool", "pkgsign")  # directories of the source tree

FORBIDDEN_IMPORTS = {
    "time", "gettimeofday", "clock_gettime", "clock", "ftime", "localtime", "localtime_r", "gmtime", "gmtime_r",
    "socket", "connect", "bind", "listen", "accept", "send", "sendto", "sendmsg", "recv", "recvfrom", "recvmsg",
    "getaddrinfo", "gethostbyname", "system", "popen", "execve", "execv", "execvp", "fork", "dlopen",
}


def readelf(program: str, *options: str) -> str:
    return subprocess.run(["readelf", "-W", *options, program], check=True, capture_output=True, text=True).stdout


def imports(program: str) -> set[str]:
    rows = readelf(program, "--dyn-syms").splitlines()
    return {re.split(r"@", row.split()[7])[0] for row in rows if " UND " in row and len(row.split()) > 7}


def unprotected(archive: str) -> list[str]:
    objects = re.split(r"^File: ", readelf(archive, "-h", "-n"), flags=re.M)[1:]
    marks = {"X86-64": ("IBT", "SHSTK"), "AArch64": ("BTI", "PAC")}
    found = [] if objects else [f"{archive} holds nothing"]
    for text in objects:
        wanted = next((mark for machine, mark in marks.items() if machine in text), ())
        if not all(mark in text for mark in wanted):
            found.append(f"no control-flow protection in {text.split()[0]}")
    return found


def needed_faults(dynamic: str) -> list[str]:
    needed = {re.sub(r"\.so.*", "", name) for name in re.findall(r"\(NEEDED\).*\[(.*)\]", dynamic)}
    return [] if needed == {"libcrypto", "libc"} else [f"needs {sorted(needed)}"]


def layout_faults(program: str) -> list[str]:
    found = []
    header, segments, dynamic = (readelf(program, option) for option in ("-h", "-l", "-d"))
    if not re.search(r"Type:\s+DYN", header) or not re.search(r"FLAGS_1.*\bPIE\b", dynamic):
        found.append("not position independent")
    if "GNU_RELRO" not in segments or not re.search(r"BIND_NOW|FLAGS_1.*\bNOW\b", dynamic):
        found.append("relocations stay writable")
    for name, flags in re.findall(r"^\s+(\w+)\s+(?:0x\w+\s+){5}([RWE ]{3})", segments, re.M):
        if "W" in flags and "E" in flags:
            found.append(f"segment {name} is writable and executable")
        if name == "GNU_STACK" and "E" in flags:
            found.append("executable stack")
    if "GNU_STACK" not in segments:
        found.append("no word about the stack")
    if re.search(r"RPATH|RUNPATH", dynamic):
        found.append("a library search path of its own")
    return found


def static_faults(program: str) -> list[str]:
    found = layout_faults(program)
    if re.search(r"^\s+INTERP\b", readelf(program, "-l"), re.M):
        found.append("needs a dynamic linker")
    if "(NEEDED)" in readelf(program, "-d"):
        found.append("needs libraries")
    return found


def faults(program: str) -> list[str]:
    found = layout_faults(program) + needed_faults(readelf(program, "-d"))
    wanted = imports(program)
    if "__stack_chk_fail" not in wanted:
        found.append("no stack protector")
    if not any(name.endswith("_chk") for name in wanted):
        found.append("no fortified function")
    if wanted & FORBIDDEN_IMPORTS:
        found.append(f"imports {sorted(wanted & FORBIDDEN_IMPORTS)}")
    return found


def fortify_fault(command: str) -> str | None:
    """What is wrong with a compiler's command, if anything. Of each option the last counts."""
    if ("0", *re.findall(r" -O(\S*)", command))[-1] == "0":
        return "is not optimised, so nothing is fortified"
    levels = re.findall(r" -[UD]_FORTIFY_SOURCE(?:=(\d))?(?= )", command)
    level = ("0", *levels)[-1] or "0"
    return None if level == "3" else f"is fortified at level {level} instead of 3"


def fortify_faults(commands: str) -> list[str]:
    tree = pathlib.Path(__file__).resolve().parent.parent
    found, count = [], 0
    for entry in json.loads(pathlib.Path(commands).read_text()):
        source = pathlib.Path(entry["file"]).resolve()
        if not source.is_relative_to(tree) or source.relative_to(tree).parts[0] not in SHIPPED:
            continue
        count += 1
        fault = fortify_fault(entry["command"])
        found += [f"{source} {fault}"] if fault else []
    print(f"{commands}: {count} commands for shipped sources")
    return found if count else [f"{commands} has no command for a shipped source"]


def is_linked(path: pathlib.Path) -> bool:
    """Returns whether a file is an ELF program or shared library."""
    if path.is_symlink() or not path.is_file():
        return False
    with path.open("rb") as file:
        head = file.read(18)
    order = "big" if head[5:6] == b"\x02" else "little"
    return head[:4] == b"\x7fELF" and int.from_bytes(head[16:18], order) in (2, 3)  # ET_EXEC, ET_DYN


def linked_files(directory: pathlib.Path) -> list[pathlib.Path]:
    """The programs and shared libraries below a directory, but for build trees of their own inside it."""
    found = []
    for place, directories, names in os.walk(directory):
        directories[:] = [name for name in directories if not (pathlib.Path(place) / name / "CMakeCache.txt").exists()]
        found += [path for path in (pathlib.Path(place) / name for name in names) if is_linked(path)]
    return sorted(found)


def open_to_others(directory: pathlib.Path) -> bool:
    """Returns whether somebody else can make, fill or replace a directory: it, or one above it, is not there or can be
    written by a group or by all. The sticky bit does not help: what is below such a directory may be gone tomorrow."""
    return any(not place.exists() or place.stat().st_mode & (stat.S_IWGRP | stat.S_IWOTH)
               for place in (directory, *directory.parents))


def entry_fault(entry: str, file: pathlib.Path, tree: pathlib.Path) -> str | None:
    """What is wrong with an entry of a search path, if anything. What lies in the tree is as safe as the program."""
    if entry == "":
        return "an empty entry, which is the working directory"
    origin = re.match(r"\$(ORIGIN|\{ORIGIN\})(?=/|$)", entry)
    if origin:
        target = pathlib.Path(os.path.normpath(f"{file.parent}{entry[origin.end():]}"))
        return None if target.is_relative_to(tree) else f"'{entry}', which leads out of {tree}"
    if not entry.startswith("/"):
        return f"'{entry}', which is relative to the working directory"
    target = pathlib.Path(os.path.normpath(entry))
    return f"'{entry}', which others can write" if not target.is_relative_to(tree) and open_to_others(target) else None


def search_faults(file: pathlib.Path, tree: pathlib.Path, allowed: bool) -> list[str]:
    dynamic = readelf(str(file), "-d")
    found = [f"needs '{name}', a path relative to the working directory"
             for name in re.findall(r"\(NEEDED\).*\[(.*)\]", dynamic) if "/" in name and not name.startswith("/")]
    for path in re.findall(r"\((?:RPATH|RUNPATH)\).*\[(.*)\]", dynamic):
        entries = dict.fromkeys(path.split(":"))
        problems = (entry_fault(entry, file, tree) for entry in entries) if allowed else [f"'{path}'"]
        found += [f"looks for libraries in {problem}" for problem in problems if problem]
    return [f"{file}: {problem}" for problem in found]


def tree_faults(directory: str, allowed: bool) -> list[str]:
    tree = pathlib.Path(directory).resolve()
    files = linked_files(tree)
    print(f"{tree}: {len(files)} programs and shared libraries")
    found = [] if files else [f"nothing in {tree}"]
    return found + [fault for file in files for fault in search_faults(file, tree, allowed)]


def main() -> int:
    first, *others = sys.argv[1:]
    if first == "--needed":
        found = [f"{program} {fault}" for program in others for fault in needed_faults(readelf(program, "-d"))]
    elif first == "--static":
        found = [f"{program}: {fault}" for program in others for fault in static_faults(program)]
    elif first == "--fortified":
        found = [fault for commands in others for fault in fortify_faults(commands)]
    elif first in ("--search-paths", "--no-search-paths"):
        found = [fault for tree in others for fault in tree_faults(tree, first == "--search-paths")]
    else:
        found = faults(first) + [fault for archive in others for fault in unprotected(archive)]
    for fault in found:
        print(fault)
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
