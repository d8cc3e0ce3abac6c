#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

"""Writes the synopsis and the lists of commands and options in docs/man/pkgsign.1 as the program itself describes them.

Usage: manual_options.py PKGSIGN [--write]. Without --write it exits with 1 when the page is not what the program gives.
"""
import pathlib
import re
import subprocess
import sys

PAGE = pathlib.Path(__file__).resolve().parent.parent / "docs/man/pkgsign.1"


def described(program: str) -> dict[str, str]:
    """What stands between the marks of each name."""
    text = subprocess.run([program, "completion", "man"], check=True, capture_output=True, text=True).stdout
    lists = re.findall(r"^\.Bl .*?^\.El\n", text.partition(".Pp\n")[2].partition("Ds\n")[2], re.S | re.M)
    commands = re.findall(r"^\.It Cm (\S+)$", text, re.M)
    marks = {"synopsis": "".join(f".Nm\n.Cm {name}\n.Op Ar options\n.Ar ...\n" for name in commands)}
    marks["options of all"] = text[text.index(".Bl"):text.index(".Pp\n")]
    marks |= {f"options of {name}": options for name, options in zip(commands, lists, strict=True)}
    return marks


def main() -> int:
    before = page = PAGE.read_text()
    for name, text in described(sys.argv[1]).items():
        last = name.split()[-1]
        marks = re.compile(rf'(^\.\\" {name}, by scripts/manual_options\.py\n).*?(^\.\\" end of {last}$)', re.S | re.M)
        page, count = marks.subn(lambda match, text=text: match[1] + text + match[2], page)
        if count != 1:
            sys.exit(f"{PAGE}: no marks of {name}")
    if "--write" in sys.argv[2:]:
        PAGE.write_text(page)
    elif page != before:
        print(f"{PAGE}: not what {sys.argv[1]} describes; run scripts/manual_options.py {sys.argv[1]} --write")
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
