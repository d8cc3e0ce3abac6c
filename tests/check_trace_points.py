#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

"""Shows that trace points are nothing on a device: every source of the library gives the same object code with its
trace points, switched off, as without them.

Usage: check_trace_points.py COMPILE_COMMANDS, where COMPILE_COMMANDS is the build's compile_commands.json. Each source
that has trace points is compiled as the build compiles it, once as it is and once with the points blanked out, line by
line, because the log has line numbers. The sections that a device loads must agree. It tries itself, too: a header
whose macro evaluates an argument must be found out. Exits with 1 and names what differs.
"""
import concurrent.futures
import json
import os
import pathlib
import re
import shlex
import subprocess
import sys
import tempfile

LIBRARY = pathlib.Path(__file__).resolve().parent.parent / "sigkit"
POINT = re.compile(r"^[ \t]*SIGKIT_TRACE\((?:[^;])*\);[ \t]*$", re.M)
INCLUDE = re.compile(r'^#include "core/trace\.h"$', re.M)
LOADED = re.compile(r"^\.(text|rodata|data|bss|init_array|tdata|tbss)")

# A macro that is not nothing: what it does stands in the object code.
EVALUATING = """
extern "C" void Evaluated(const void *);
#define SIGKIT_TRACE(point, subject, object, value) Evaluated(subject)
"""


def blank(pattern: re.Pattern, text: str) -> tuple[str, int]:
    """Keeps the lines."""
    return pattern.subn(lambda match: "\n" * match[0].count("\n"), text)


def compile_to(command: dict, source: pathlib.Path, out: pathlib.Path) -> None:
    arguments = shlex.split(command["command"])
    while "ccache" in pathlib.Path(arguments[0]).name:
        arguments.pop(0)
    arguments[arguments.index("-o") + 1] = str(out)
    arguments[arguments.index("-c") + 1] = str(source)
    done = subprocess.run(arguments, cwd=command["directory"], capture_output=True, text=True, check=False)
    if done.returncode != 0:
        sys.exit(f"{source}: {done.stderr}")


def sections(path: pathlib.Path) -> dict[str, str]:
    """What is loaded of an object, by section: its octets, and where it refers to what."""
    listing = subprocess.run(["objdump", "-h", "-w", path], check=True, capture_output=True, text=True).stdout
    names = [line.split()[1] for line in listing.splitlines() if re.match(r"\s+\d+ ", line)]
    found = {name: [] for name in names if LOADED.match(name)}
    for option in ("-s", "-r"):
        dump = subprocess.run(["objdump", option, path], check=True, capture_output=True, text=True).stdout
        for part in re.split(r"^(?:Contents of section |RELOCATION RECORDS FOR \[)", dump, flags=re.M)[1:]:
            name = re.split(r"[\]:]", part, maxsplit=1)[0]
            if name in found:
                found[name].append(part)
    return {name: "".join(parts) for name, parts in found.items()}


def differing(command: dict, text: str, directory: pathlib.Path) -> list[str]:
    """The sections that a source does not have alike with its points and without."""
    directory.mkdir(parents=True, exist_ok=True)
    source = directory / pathlib.Path(command["file"]).name  # one path for both: some builds keep it in the object
    out = directory / "object.o"
    sides = []
    for side in (text, blank(POINT, blank(INCLUDE, text)[0])[0]):
        source.write_text(side)
        compile_to(command, source, out)
        sides.append(sections(out))
    return sorted(name for name in sides[0].keys() | sides[1].keys() if sides[0].get(name) != sides[1].get(name))


def check(command: dict, directory: pathlib.Path) -> tuple[int, list[str]]:
    """How many points the source has, and what is wrong."""
    path = pathlib.Path(command["file"])
    text = path.read_text()
    points = blank(POINT, text)[1]
    if points != text.count("SIGKIT_TRACE("):
        return points, [f"{path}: a trace point is no statement of its own"]
    if points == 0:
        return 0, []
    problems = [f"{path}: {section} differs" for section in differing(command, text, directory / path.name)]
    spoilt = INCLUDE.sub(f'#include "{directory}/evaluating.h"', text)
    if not differing(command, spoilt, directory / ("spoilt_" + path.name)):
        problems.append(f"{path}: a trace point that evaluates its arguments is not noticed")
    return points, problems


def main() -> int:
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    commands = [command for command in json.loads(pathlib.Path(sys.argv[1]).read_text())
                if pathlib.Path(command["file"]).is_relative_to(LIBRARY)]
    if any("SIGKIT_TRACED" in command["command"] for command in commands):
        sys.exit("the device's library is compiled with its trace points on")
    with tempfile.TemporaryDirectory() as name:
        (pathlib.Path(name) / "evaluating.h").write_text(EVALUATING)
        with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
            results = list(pool.map(lambda command: check(command, pathlib.Path(name)), commands))
    points = sum(count for count, _ in results)
    problems = [problem for _, found in results for problem in found]
    print("\n".join(problems + [f"{points} trace points in {len(results)} sources"]))
    return 1 if problems or points < 30 else 0


if __name__ == "__main__":
    sys.exit(main())
