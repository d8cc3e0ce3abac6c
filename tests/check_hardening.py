#!/usr/bin/env python3
"""Checks what is built into a shipped program. Usage: check_hardening.py PROGRAM ARCHIVE...

Reads the ELF file: position independence, protected relocations, stack and segments that are not executable or
writable together, stack protector, fortified functions, and that it needs no more than it should: no run-time library
of C++, no clock, no network. Control-flow protection is looked for in the objects of the archives that the program is
made of: the program itself only carries the mark when the C library's start-up objects do too.
"""
import re
import subprocess
import sys

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


def faults(program: str) -> list[str]:
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
    needed = {re.sub(r"\.so.*", "", name) for name in re.findall(r"\(NEEDED\).*\[(.*)\]", dynamic)}
    if needed != {"libcrypto", "libc"}:
        found.append(f"needs {sorted(needed)}")
    wanted = imports(program)
    if "__stack_chk_fail" not in wanted:
        found.append("no stack protector")
    if not any(name.endswith("_chk") for name in wanted):
        found.append("no fortified function")
    if wanted & FORBIDDEN_IMPORTS:
        found.append(f"imports {sorted(wanted & FORBIDDEN_IMPORTS)}")
    return found


def main() -> int:
    found = faults(sys.argv[1]) + [fault for archive in sys.argv[2:] for fault in unprotected(archive)]
    for fault in found:
        print(fault)
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
