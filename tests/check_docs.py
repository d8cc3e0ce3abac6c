#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

"""Holds the documents, all Markdown files of the tree, to the sources. Exits with 1 and names each disagreement.

Status codes: no document names a code that does not exist.
Links: every relative link of a document leads to a file and, where it names one, to a heading.
Tests: every test that a document names is there.
Examples: a block that says where its text comes from is that text, and so is the one at the top of the public header.
Pages: every man page is one that mandoc finds nothing to say about.
Pictures: what a .dot says stands in the .svg that was drawn from it.
"""
import html
import pathlib
import re
import shutil
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
HEADER = "sigkit/sigkit.h"

DEFINITION = re.compile(r"#define (SIGKIT_(?:OK|ERR_\w+)) UINT32_C\((0|0x[0-9A-F]{8})\)")
CODE = re.compile(r"(?<![0-9A-Za-z])(88[0-9A-Fa-f]{6})(?![0-9A-Za-z])")
NAME = re.compile(r"\bSIGKIT_ERR_\w+")
LINK = re.compile(r"(?<!!)\[[^\]\n]*\]\(([^)\s]+)\)|!\[[^\]\n]*\]\(([^)\s]+)\)")
QUOTED = re.compile(r"<!-- from (\S+) -->\n```\w*\n(.*?)```", re.S)
QUOTED_IN_HEADER = re.compile(r"^/// .*\bfrom (\S+):\n/// @code\n(.*?)^/// @endcode$", re.S | re.M)


def files(pattern: str) -> list[str]:
    return subprocess.run([ROOT / "scripts" / "files.sh", pattern],
                          check=True, capture_output=True, text=True).stdout.split()


def read(path: str) -> str:
    return (ROOT / path).read_text()


def without_code(text: str) -> str:
    """Blanks out fenced blocks, which hold no links and no headings."""
    return re.sub(r"^```.*?^```", "", text, flags=re.S | re.M)


def check_mentions(path: str, defined: dict[str, int]) -> list[str]:
    text = read(path)
    known = set(defined.values())
    problems = [f"{path}: no status code {code}" for code in CODE.findall(text) if int(code, 16) not in known]
    return problems + [f"{path}: no status code {name}" for name in NAME.findall(text) if name not in defined]


def anchors(path: str) -> set[str]:
    headings = re.findall(r"^#+ (.*)$", without_code(read(path)), re.M)
    return {re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-") for heading in headings}


def check_links(path: str) -> list[str]:
    problems = []
    for link in (first or second for first, second in LINK.findall(without_code(read(path)))):
        if re.match(r"[a-z]+:", link):
            continue
        name, _, anchor = link.partition("#")
        target = (ROOT / path).parent / name if name else ROOT / path
        if not target.exists():
            problems.append(f"{path}: no file {link}")
        elif anchor and anchor not in anchors(str(target.resolve().relative_to(ROOT))):
            problems.append(f"{path}: no heading {link}")
    return problems


def check_quotes(path: str) -> list[str]:
    return [f"{path}: not the text of {source}" for source, text in QUOTED.findall(read(path))
            if not (ROOT / source).is_file() or text not in read(source)]


def check_header_quotes() -> list[str]:
    text = read(HEADER)
    quotes = [(source, re.sub(r"^/// ?", "", code, flags=re.M)) for source, code in QUOTED_IN_HEADER.findall(text)]
    if not quotes or len(quotes) != text.count("@code"):
        return [f"{HEADER}: an example says where its text comes from, and there is at least one"]
    return [f"{HEADER}: not the text of {source}" for source, code in quotes
            if not (ROOT / source).is_file() or code not in read(source)]


def check_tests(path: str) -> list[str]:
    """A test that a document names by its suite and name, or by its suite alone, is there."""
    sources = "".join(read(source) for source in files("tests/*.cpp"))
    tests = re.findall(r"^TEST(?:_F|_P)?\((\w+),\s*(\w+)\)", sources, re.M)
    named = re.findall(r"`([A-Z]\w+)\.([A-Z]\w+|\*)`", read(path))
    return [f"{path}: no test {suite}.{name}" for suite, name in named
            if not any(suite == known and name in ("*", test) for known, test in tests)]


def check_page(path: str) -> list[str]:
    if not shutil.which("mandoc"):
        return [f"{path}: not checked, mandoc is not there"]
    lint = subprocess.run(["mandoc", "-Tlint", "-Wwarning", str(ROOT / path)], capture_output=True, text=True)
    return lint.stdout.splitlines() if lint.returncode != 0 or lint.stdout else []


def check_picture(path: str) -> list[str]:
    """Compares the lines of text, in whatever order they were drawn."""
    picture = pathlib.Path(path).with_suffix(".svg")
    if not (ROOT / picture).is_file():
        return [f"{path}: no {picture}"]
    labels = re.findall(r'label="([^"]*)"', read(path))
    said = sorted(line for label in labels for line in label.split("\\n"))
    texts = re.findall(r"<text[^>]*>([^<]*)</text>", read(str(picture)))
    drawn = sorted(html.unescape(text).replace("\u00a0", " ") for text in texts)
    return [] if said == drawn else [f"{path}: {picture} was drawn from another text"]


def main() -> int:
    defined = {name: int(value, 16) for name, value in DEFINITION.findall(read(HEADER))}
    documents = files("*.md")
    pages = files("docs/man/*")
    if len(defined) < 50 or not pages or "README.md" not in documents:
        print("too little was found to check")
        return 1
    problems = check_header_quotes()
    for path in documents:
        problems += check_mentions(path, defined) + check_links(path) + check_quotes(path) + check_tests(path)
    for path in files("docs/*.dot"):
        problems += check_picture(path)
    problems += [problem for page in pages for problem in check_page(page)]
    print("\n".join(problems), end="\n" if problems else "")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
