#!/usr/bin/env python3
"""Holds the lines that no test runs to tests/lines_not_run.txt, which says of each why none can.

Usage: check_lines_run.py REPORT, where REPORT is gcovr's as JSON. Prints each line that is not run and not listed, and
each that is listed and run, or is not there any more; exits with 1 when there is one.
"""
import json
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
LIST = ROOT / "tests" / "lines_not_run.txt"


def listed() -> set[tuple[str, str]]:
    """What the list names: a file, then its lines behind "- "."""
    found, path = set(), ""
    for line in LIST.read_text().splitlines():
        if line.startswith("- "):
            found.add((path, line[2:]))
        elif re.fullmatch(r"(sigkit|src)/\S+\.(cpp|h)", line):
            path = line
    return found


def not_run(report: str) -> dict[tuple[str, str], int]:
    lines = {}
    for file in json.loads(pathlib.Path(report).read_text())["files"]:
        source = (ROOT / file["file"]).read_text().splitlines()
        runs: dict[int, int] = {}
        for line in file["lines"]:  # a template's line comes once for each of its instances
            if line["gcovr/noncode"]:
                continue
            runs[line["line_number"]] = runs.get(line["line_number"], 0) + line["count"]
        for number, count in runs.items():
            if count == 0:
                lines[(file["file"], source[number - 1].strip())] = number
    return lines


def main() -> int:
    known, found = listed(), not_run(sys.argv[1])
    for (path, text), number in sorted(found.items()):
        if (path, text) not in known:
            print(f"{path}:{number}: no test runs this, and {LIST.name} does not say why: {text}")
    for path, text in sorted(known - found.keys()):
        print(f"{LIST.name}: {path} has no such line that is not run: {text}")
    return 0 if known == found.keys() else 1


if __name__ == "__main__":
    sys.exit(main())
