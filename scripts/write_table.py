#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

"""Puts what was measured into a document: the standard input, under the date, the commit and the machine, takes the
place of what stands between "<!-- NAME: ... -->" and "<!-- end of NAME -->".

Usage: write_table.py DOCUMENT NAME
"""
import datetime
import os
import pathlib
import platform
import re
import subprocess
import sys
import textwrap

ROOT = pathlib.Path(__file__).resolve().parent.parent


def output_of(*command: str) -> str:
    try:
        return subprocess.run(command, cwd=ROOT, check=True, capture_output=True, text=True).stdout.strip()
    except (OSError, subprocess.CalledProcessError):
        return ""


def commit() -> str:
    """The commit that was measured; documents may differ from it."""
    name = output_of("git", "rev-parse", "--short", "HEAD")
    if not name:
        return "an unknown commit"
    changed = output_of("git", "status", "--porcelain", "--", ".", ":!*.md", ":!docs/pictures")
    return f"commit {name}" + (" with changes" if changed else "")


def machine() -> str:
    processor = pathlib.Path("/proc/cpuinfo").read_text()
    model = re.search(r"^model name\s*: (.*)$", processor, re.M)
    virtual = "virtual, " if re.search(r"^flags\s.*\bhypervisor\b", processor, re.M) else ""
    system = platform.freedesktop_os_release()["PRETTY_NAME"]
    libcrypto = " ".join(output_of("openssl", "version").split()[:2])
    return f"{model[1] if model else platform.machine()}, {virtual}{os.cpu_count()} cores, {system}, {libcrypto}"


def main() -> int:
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    document, name, table = ROOT / sys.argv[1], sys.argv[2], sys.stdin.read().strip()
    table = re.sub(r"(?<=\| )\d{4,}(?= \|)", lambda number: f"{int(number[0]):,}", table)
    if not table:
        sys.exit(f"write_table.py: nothing to write for {name}")
    block = re.compile(rf"(<!-- {re.escape(name)}: [^\n]*-->\n).*?(<!-- end of {re.escape(name)} -->)", re.S)
    measured = textwrap.fill(f"{datetime.date.today()}, {commit()}; {machine()}.", 120)
    text, count = block.subn(lambda match: f"{match[1]}\n{measured}\n\n{table}\n\n{match[2]}", document.read_text())
    if count != 1:
        sys.exit(f"write_table.py: {sys.argv[1]} has {count} places for {name}")
    document.write_text(text)
    return 0


if __name__ == "__main__":
    sys.exit(main())
