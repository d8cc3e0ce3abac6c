#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

"""Writes the tables of status codes in docs/troubleshooting.md and those of the manual page sigkit_status(7) from
sigkit/core/status_list.def and pkgsign/explain/cause_list.def.

Usage: status_tables.py [--write]. Without --write it exits with 1 when one of them is not what the list gives.
"""
import pathlib
import re
import sys
import textwrap

ROOT = pathlib.Path(__file__).resolve().parent.parent
LIST = ROOT / "sigkit/core/status_list.def"
CAUSES = ROOT / "pkgsign/explain/cause_list.def"
DOCUMENT = ROOT / "docs/troubleshooting.md"
PAGE = ROOT / "docs/man/sigkit_status.7"

LITERALS = r'((?:\s*"(?:[^"\\]|\\.)*")+)'
ROW = re.compile(rf"^SIGKIT_STATUS\((\w+),\s*0x([0-9A-F]{{8}}),\s*(\w+),{LITERALS},{LITERALS}\)$", re.M)
CAUSE = re.compile(rf"^PKGSIGN_CAUSE\((\w+),\s*(\w+),{LITERALS},{LITERALS},{LITERALS},{LITERALS}\)$", re.M)
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


def causes() -> dict[str, list[tuple[str, str, str]]]:
    """The clue, the cause and the remedy of each row, by the status."""
    source = CAUSES.read_text()
    found = CAUSE.findall(source)
    if len(found) < 50 or len(found) != len(re.findall(r"^PKGSIGN_CAUSE", source, re.M)):
        sys.exit(f"{CAUSES}: a row is not name, where and four literals")
    by_status: dict[str, list[tuple[str, str, str]]] = {}
    for name, where, *literals in found:
        function, line, cause, remedy = map(text, literals)
        clue = " ".join(f"`{part}`" for part in (function, line) if part)
        cause = cause.replace("{whose}", "the")
        row = (f"{clue}{' first' if where == 'FIRST' else ''}: " if clue else "", cause[0].upper() + cause[1:], remedy)
        by_status.setdefault(name, []).append(row)
    return by_status


def advice(remedy: str, rows_of_code: list[tuple[str, str, str]]) -> str:
    """What is behind a code and what to do, a line each."""
    lines = [f"{clue}{cause} {own or remedy}" for clue, cause, own in rows_of_code]
    return "<br>".join(lines if any(not own for _, _, own in rows_of_code) else [remedy, *lines])


def sentence(meaning: str) -> str:
    return meaning[0].upper() + meaning[1:] + "."


def status_table() -> str:
    by_status = causes()
    lines = ["| code | meaning | what is behind it, and what to do |", "|---|---|---|"]
    lines += [f"| {code} `{name}` | {MARKS[met]}{sentence(meaning)} | {advice(remedy, by_status.get(name, []))} |"
              for name, code, met, meaning, remedy in rows()]
    return "\n".join(lines)


def by_exit_status() -> dict[int, list[str]]:
    """The codes that verify_tool can end with."""
    codes: dict[int, list[str]] = {}
    for name, code, met, _, _ in rows():
        if met == "PACKAGE" and name not in NOT_OF_A_CLASS:
            codes.setdefault(int(code, 16) & 0xFF, []).append(code)
    return {status: sorted(codes[status], key=lambda code: CLASSES.index(code[:4])) for status in sorted(codes)}


def exit_table() -> str:
    lines = ["| exit | codes |", "|---|---|"]
    return "\n".join(lines + [f"| {status} | {', '.join(codes)} |" for status, codes in by_exit_status().items()])


def manual_text(markdown: str) -> str:
    """A paragraph of mdoc, each sentence on lines of its own: what stands between backticks is bold."""
    pieces = markdown.replace("\\", "\\e").split("`")
    for i in range(1, len(pieces), 2):
        pieces[i] = "\\fB" + pieces[i].replace("-", "\\-") + "\\fR"
    lines = [line for sentence in re.split(r"(?<=[.?]) ", "".join(pieces))
             for line in textwrap.wrap(sentence, 79, break_long_words=False, break_on_hyphens=False)]
    return "\n".join("\\&" + line if line[0] in ".'" else line for line in lines)


def manual_exit_table() -> str:
    return ".Bl -tag -width 999\n" + "".join(
        f".It {status}\n{manual_text(', '.join(codes))}\n" for status, codes in by_exit_status().items()) + ".El"


def manual_status_table() -> str:
    by_status = causes()
    items = []
    for name, code, met, meaning, remedy in rows():
        paragraphs = advice(remedy, by_status.get(name, [])).split("<br>")
        paragraphs.insert(0, MARKS[met].replace("*", "") + sentence(meaning))
        items.append(f".It {code} Dv {name}\n" + "\n.Pp\n".join(map(manual_text, paragraphs)) + "\n")
    return ".Bl -tag -width Ds\n" + "".join(items) + ".El"


def replaced(path: pathlib.Path, marks: tuple[str, str], tables: dict[str, str]) -> str:
    """The document with the tables between their marks."""
    document = path.read_text()
    for name, table in tables.items():
        begin, end = (mark.format(name) for mark in marks)
        if document.count(begin) != 1 or document.count(end) != 1:
            sys.exit(f"{path}: no place for the table of {name}")
        head, rest = document.split(begin)
        document = head + begin + table + end + rest.split(end)[1]
    return document


def written() -> dict[pathlib.Path, str]:
    return {
        DOCUMENT: replaced(DOCUMENT, ("<!-- {}: scripts/docs.sh writes this table -->\n\n", "\n\n<!-- end of {} -->"),
                           {"exit statuses": exit_table(), "status codes": status_table()}),
        PAGE: replaced(PAGE, ('.\\" {}: scripts/docs.sh writes this table\n', '\n.\\" end of {}'),
                       {"exit statuses": manual_exit_table(), "status codes": manual_status_table()}),
    }


def main() -> int:
    old = [path for path, text in written().items() if path.read_text() != text]
    if sys.argv[1:] == ["--write"]:
        for path, text in written().items():
            path.write_text(text)
        return 0
    for path in old:
        names = [name.relative_to(ROOT) for name in (path, LIST, CAUSES)]
        print("{} is not what {} and {} give: run scripts/docs.sh".format(*names))
    return 1 if old else 0


if __name__ == "__main__":
    sys.exit(main())
