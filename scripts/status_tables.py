#!/usr/bin/env python3
"""Writes the tables of status codes in docs/troubleshooting.md from sigkit/core/status_list.def.

Usage: status_tables.py [--write]. Without --write it exits with 1 when the document is not what the list gives.
"""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
LIST = ROOT / "sigkit/core/status_list.def"
DOCUMENT = ROOT / "docs/troubleshooting.md"

LITERALS = r'((?:\s*"(?:[^"\\]|\\.)*")+)'
ROW = re.compile(rf"^SIGKIT_STATUS\((\w+),\s*0x([0-9A-F]{{8}}),\s*(\w+),{LITERALS},{LITERALS}\)$", re.M)
MARKS = {"PACKAGE": "", "COMPARISON": "*Comparison.* ", "HOST": "*Host.* ", "LOG": "*Log only.* ", "GUARD": "*Guard.* "}
CLASSES = ("8820", "8810", "8800", "8830")  # what a package can be blamed for comes first
NOT_OF_A_CLASS = {"SIGKIT_OK", "SIGKIT_ERR_UNKNOWN"}  # 0 and 255, which mean more than a code


def text(literals: str) -> str:
    """The value of string literals one after the other."""
    return "".join(re.sub(r"\\(.)", r"\1", part) for part in re.findall(r'"((?:[^"\\]|\\.)*)"', literals))


def rows() -> list[tuple[str, str, str, str, str]]:
    source = LIST.read_text()
    found = [(name, code, met, text(meaning), text(remedy))
             for name, code, met, meaning, remedy in ROW.findall(source)]
    if len(found) < 50 or len(found) != len(re.findall(r"^SIGKIT_STATUS", source, re.M)):
        sys.exit(f"{LIST}: a row is not name, value, who meets it and two literals")
    return found


def sentence(meaning: str) -> str:
    return meaning[0].upper() + meaning[1:] + "."


def status_table() -> str:
    lines = ["| code | meaning | what to do |", "|---|---|---|"]
    lines += [f"| {code} `{name}` | {MARKS[met]}{sentence(meaning)} | {remedy} |"
              for name, code, met, meaning, remedy in rows()]
    return "\n".join(lines)


def exit_table() -> str:
    """The codes that verify_tool can end with, by their exit status."""
    by_status: dict[int, list[str]] = {}
    for name, code, met, _, _ in rows():
        if met == "PACKAGE" and name not in NOT_OF_A_CLASS:
            by_status.setdefault(int(code, 16) & 0xFF, []).append(code)
    lines = ["| exit | codes |", "|---|---|"]
    lines += [f"| {status} | {', '.join(sorted(codes, key=lambda code: CLASSES.index(code[:4])))} |"
              for status, codes in sorted(by_status.items())]
    return "\n".join(lines)


def written(document: str) -> str:
    for name, table in (("exit statuses", exit_table()), ("status codes", status_table())):
        begin, end = f"<!-- {name}: scripts/docs.sh writes this table -->\n\n", f"\n\n<!-- end of {name} -->"
        if document.count(begin) != 1 or document.count(end) != 1:
            sys.exit(f"{DOCUMENT}: no place for the table of {name}")
        head, rest = document.split(begin)
        document = head + begin + table + end + rest.split(end)[1]
    return document


def main() -> int:
    document = DOCUMENT.read_text()
    new = written(document)
    if new == document:
        return 0
    if sys.argv[1:] == ["--write"]:
        DOCUMENT.write_text(new)
        return 0
    print(f"{DOCUMENT.relative_to(ROOT)} is not what {LIST.relative_to(ROOT)} gives: run scripts/docs.sh")
    return 1


if __name__ == "__main__":
    sys.exit(main())
