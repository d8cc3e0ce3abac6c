#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

"""Holds the rules that no compiler checks. Exits with 1 and names each place that breaks one.

Layers: an include of the library or of pkgsign goes down to a lower layer, never up, a program of the device includes
what its row has, and no files include each other in a circle. The one exception of direction is the list of object
identifiers, for the one file of the decoder that chooses by them and for the tables that name them.
The library reaches the world through its host alone: no libcrypto, no stdio, no allocation of its own.
No line of a source is longer than 120 columns.
"""
import pathlib
import re
import subprocess
import sys

PROJECT = pathlib.Path(__file__).resolve().parent.parent
LIBRARY = PROJECT / "sigkit"
COLUMNS = 120

LAYERS = {  # a directory and those that it may include from
    "core": set(),
    "asn1": {"core"},
    "x509": {"core", "asn1"},
    "pki": {"core", "asn1", "x509"},
    "verify/load": {"core", "asn1", "x509"},
    "verify": {"core", "asn1", "x509", "pki", "verify/load"},
}
PKGSIGN_LAYERS = {
    "files": {"crypto"},
    "crypto": {"files"},
    "timestamp": {"files", "crypto", "authority"},
    "authority": {"files", "crypto", "timestamp"},
    "explain": {"files", "crypto", "authority", "timestamp"},
    "commands": {"files", "crypto", "authority", "timestamp", "explain"},
}
PROGRAMS = {  # a directory and those that it may include from, besides the public headers and the platform's
    "platform": set(),
    "src": {"src"},
    "crltool": {"crltool", "src", "core", "asn1", "x509", "pki"},
    "tools": {"src", "core", "x509", "pki"},
}
EXCEPTIONS = {
    "x509/oid.h": {f"sigkit/asn1/{name}.cpp" for name in ("decode_map", "templ_cert", "templ_crl", "templ_pkcs7")},
}
OUTSIDE = {"annexk.h", "sigkit/sigkit.h", "sigkit/sigkit_host.h"}
PLATFORM = {"annexk.h", "qzlog.h", "qzosax.h"}
SYSTEM = {"stdarg.h", "stddef.h", "stdint.h", "type_traits"}

INCLUDE = re.compile(r'^\s*#\s*include\s+(["<])([^">]+)[">]')
BANNED = {
    r"\b(malloc|calloc|realloc|free)\s*\(": "allocation is the host's",
    r"\b(mem(cpy|set|cmp|move)|str(len|cmp|ncmp|str|chr|cpy|cat)|s?n?printf|fopen|fread|fclose)\s*\(":
        "the C library is the host's",
    r"\bnew\s+[A-Za-z_]|\bdelete\b(?!;)": "no C++ allocation",
    r"\b(throw|try|catch|goto|(?<!enum )class|dynamic_cast|typeid)\b(?!\w)": "procedural code without exceptions",
    r"\b0x88[0-9A-Fa-f]{6}\b": "status codes have names",
}


def strip(text: str) -> str:
    """Blanks out comments and string literals, keeping the lines."""
    pattern = re.compile(r'//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"', re.S)
    return pattern.sub(lambda m: re.sub(r"[^\n]", " ", m.group()), text)


def layer_of(path: str) -> str:
    return path.rpartition("/")[0]


def check_include(path: str, kind: str, name: str) -> str | None:
    if kind == "<":
        return None if name in SYSTEM else f"system header <{name}>"
    if name in OUTSIDE or f"sigkit/{path}" in EXCEPTIONS.get(name, ()):
        return None
    layer, target = layer_of(path), layer_of(name)
    if target == layer or target in LAYERS[layer]:
        return None
    return f"{layer} must not include {name}"


def includes(path: pathlib.Path) -> list[tuple[int, str, str]]:
    lines = path.read_text().splitlines()
    return [(number, match[1], match[2]) for number, line in enumerate(lines, 1) if (match := INCLUDE.match(line))]


def circles(top: pathlib.Path, sources: list[str]) -> list[str]:
    """A file and its header count as one; a circle is named by the files in it. `top` is what includes begin at."""
    knows = {}
    for path in sources:
        stems = {name.rpartition(".")[0] for _, kind, name in includes(top / path) if kind == '"'}
        knows.setdefault(path.rpartition(".")[0], set()).update(stems)
    found, done = set(), set()

    def follow(stem: str, trail: list[str]) -> None:
        if stem in trail:
            found.add(" -> ".join(trail[trail.index(stem):] + [stem]))
        elif stem not in done:
            for known in sorted(knows.get(stem, set()) - {stem}):
                follow(known, trail + [stem])
            done.add(stem)

    for stem in sorted(knows):
        follow(stem, [])
    return [f"files that include each other: {circle}" for circle in sorted(found)]


def check_pkgsign(path: str) -> list[str]:
    """path: from the top of the project. The files at the top of pkgsign are for all of its layers."""
    layer = path.split("/")[1]
    found = []
    for number, kind, name in includes(PROJECT / path):
        target = name.split("/")[1] if kind == '"' and name.startswith("pkgsign/") and name.count("/") > 1 else layer
        if target != layer and target not in PKGSIGN_LAYERS[layer]:
            found.append(f"{path}:{number}: {layer} must not include {name}")
    return found


def check_program(path: str) -> list[str]:
    """path: from the top of the project."""
    program = path.split("/")[0]
    return [f"{path}:{number}: {program} must not include {name}" for number, kind, name in includes(PROJECT / path)
            if kind == '"' and name not in OUTSIDE | PLATFORM and name.split("/")[0] not in PROGRAMS[program]]


def long_lines() -> list[str]:
    kinds = ("*.cpp", "*.h", "*.c", "*.def", "*.in", "*.py", "*.sh", "*.cmake", "*CMakeLists.txt", ".ci/*")
    listed = subprocess.run([PROJECT / "scripts" / "files.sh", *kinds], stdout=subprocess.PIPE, text=True, check=True)
    return [f"{path}:{number}: longer than {COLUMNS} columns"
            for path in listed.stdout.splitlines()
            for number, line in enumerate((PROJECT / path).read_text().splitlines(), 1) if len(line) > COLUMNS]


def sources_in(top: pathlib.Path, pattern: str) -> list[str]:
    return sorted(path.relative_to(top).as_posix() for path in top.glob(pattern) if path.suffix in (".cpp", ".h"))


def check_file(path: str) -> list[str]:
    text = (LIBRARY / path).read_text()
    found = []
    for number, kind, name in includes(LIBRARY / path):
        problem = check_include(path, kind, name)
        if problem:
            found.append(f"sigkit/{path}:{number}: {problem}")
    for number, line in enumerate(strip(text).splitlines(), 1):
        if re.match(r"\s*#\s*include", line) or "= delete" in line:
            continue
        for pattern, reason in BANNED.items():
            if re.search(pattern, line):
                found.append(f"sigkit/{path}:{number}: {reason}: {line.strip()}")
    return found


def main() -> int:
    library = sources_in(LIBRARY, "*/**/*")
    pkgsign = sources_in(PROJECT, "pkgsign/*/*")
    problems = [problem for path in library for problem in check_file(path)] + circles(LIBRARY, library)
    problems += [problem for path in pkgsign for problem in check_pkgsign(path)] + circles(PROJECT, pkgsign)
    programs = [path for program in PROGRAMS for path in sources_in(PROJECT, f"{program}/**/*")]
    problems += [problem for path in programs for problem in check_program(path)] + circles(PROJECT, programs)
    problems += long_lines()
    print("\n".join(problems), end="\n" if problems else "")
    if not library or not pkgsign or not programs:
        print("no source file was checked")
        return 1
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
