#!/usr/bin/env python3
"""Holds the rules of the house that no compiler checks. Exits with 1 and names each place that breaks one.

Layers: an include inside the library goes down to a lower floor, never up. The one exception is the list of object
identifiers, for the one file of the decoder that chooses by them and for the tables that name them.
The library reaches the world through its host alone: no libcrypto, no stdio, no allocation of its own.
"""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent

FLOORS = {
    "core": set(),
    "asn1": {"core"},
    "x509": {"core", "asn1"},
    "pki": {"core", "asn1", "x509"},
    "verify": {"core", "asn1", "x509", "pki"},
}
EXCEPTIONS = {
    "x509/oid.h": {f"sigkit/asn1/{name}.cpp" for name in ("decode_map", "templ_cert", "templ_crl", "templ_pkcs7")},
}
OUTSIDE = {"annexk.h", "sigkit/sigkit.h", "sigkit/sigkit_host.h"}
SYSTEM = {"stdarg.h", "stddef.h", "stdint.h", "iterator", "type_traits"}

INCLUDE = re.compile(r'^\s*#\s*include\s+(["<])([^">]+)[">]')
BANNED = {
    r"\b(malloc|calloc|realloc|free)\s*\(": "allocation is the host's",
    r"\b(mem(cpy|set|cmp|move)|str(len|cmp|ncmp|str|chr|cpy|cat)|s?n?printf|fopen|fread|fclose)\s*\(": "the C library is "
    "the host's",
    r"\bnew\s+[A-Za-z_]|\bdelete\b(?!;)": "no C++ allocation",
    r"\b(throw|try|catch|goto|(?<!enum )class|dynamic_cast|typeid)\b(?!\w)": "procedural code without exceptions",
    r"\b0x88[0-9A-Fa-f]{6}\b": "status codes have names",
}


def strip(text: str) -> str:
    """Blanks out comments and string literals, keeping the lines."""
    pattern = re.compile(r'//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"', re.S)
    return pattern.sub(lambda m: re.sub(r"[^\n]", " ", m.group()), text)


def check_include(path: str, floor: str, kind: str, name: str) -> str | None:
    if kind == "<":
        return None if name in SYSTEM else f"system header <{name}>"
    if name in OUTSIDE or path in EXCEPTIONS.get(name, ()):
        return None
    target = name.split("/")[0]
    if target == floor or target in FLOORS[floor]:
        return None
    return f"{floor} must not include {name}"


def check_file(path: str) -> list[str]:
    text = (ROOT / path).read_text()
    found = []
    floor = path.split("/")[1]
    for number, line in enumerate(text.splitlines(), 1):
        match = INCLUDE.match(line)
        if match:
            problem = check_include(path, floor, match[1], match[2])
            if problem:
                found.append(f"{path}:{number}: {problem}")
    for number, line in enumerate(strip(text).splitlines(), 1):
        if re.match(r"\s*#\s*include", line) or "= delete" in line:
            continue
        for pattern, reason in BANNED.items():
            if re.search(pattern, line):
                found.append(f"{path}:{number}: {reason}: {line.strip()}")
    return found


def main() -> int:
    sources = sorted(path.relative_to(ROOT).as_posix() for path in (ROOT / "sigkit").glob("*/*")
                     if path.suffix in (".cpp", ".h"))
    problems = [problem for path in sources for problem in check_file(path)]
    print("\n".join(problems), end="\n" if problems else "")
    if not sources:
        print("no source file was checked")
        return 1
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
