#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

"""Holds what `pkgsign explain` knows of the log to the sources that log. Exits with 1 and names each disagreement.

Steps: every function of the library and of the tool that logs has a row in log_step_list.def, and no other has one.
Clues: every function that cause_list.def names logs the text beside it. Texts of the tool that the log's reader knows
are the tool's.
"""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
EXPLAIN = ROOT / "pkgsign/explain"

FUNCTION = re.compile(r"^(?!constexpr|static_assert|namespace)[\w:\[(].*?(?<!\[)\b(\w+)\(")
LOGGING = re.compile(r"\b(?:SIGKIT_(?:FAIL|ERROR|WARN|TRAIL)|LOG_EVENT|SigkitLogCallback)\(")
LITERAL = re.compile(r'"((?:[^"\\]|\\.)*)"')
HELPERS = {"InternalLogTrail", "InternalLogEvent", "SigkitLogPrint"}  # lines that pass through them bear other names
BY_NAME = {"SigkitLogCallback"}  # named in the text of a call, not by the function around it
SILENT = {"UPGRADE_CmdParseSingle"}  # logs no failure


def logged() -> dict[str, str]:
    """The texts of each function that logs, one after the other."""
    texts: dict[str, str] = {name: "" for name in BY_NAME}
    for path in sorted([*ROOT.glob("sigkit/**/*.cpp"), *ROOT.glob("src/**/*.cpp")]):
        function = ""
        open_call = ""
        for line in path.read_text().splitlines():
            if match := FUNCTION.match(line):
                function = match[1]
            if LOGGING.search(line) and not line.startswith(("#", "void", "[[")):
                open_call = " "
            if open_call:
                open_call += line
                if ";" in line:
                    texts[function] = texts.get(function, "") + "\n".join(LITERAL.findall(open_call)) + "\n"
                    open_call = ""
    return {name: text for name, text in texts.items() if name not in HELPERS}


def steps() -> set[str]:
    return set(re.findall(r'^PKGSIGN_STEP\("(\w+)"', (EXPLAIN / "log_step_list.def").read_text(), re.M))


def check_steps(texts: dict[str, str]) -> list[str]:
    problems = [f"log_step_list.def has no row of {name}, which logs" for name in set(texts) - steps() - SILENT]
    return problems + [f"log_step_list.def has a row of {name}, which does not log" for name in steps() - set(texts)]


def check_clues(texts: dict[str, str]) -> list[str]:
    clue = re.compile(r'^PKGSIGN_CAUSE\((\w+),\s*(?:FIRST|LINE),\s*"([^"]*)",\s*"([^"]*)"', re.M)
    clues = clue.findall((EXPLAIN / "cause_list.def").read_text())
    problems = [] if len(clues) > 20 else ["too few clues were found to check"]
    for status, function, text in clues:
        names = [name for name in texts if name == function or not function
                 or (function.endswith("*") and name.startswith(function[:-1]))]
        if not any(text in texts[name] for name in names):
            problems.append(f"cause_list.def: {status}: '{function}' does not log '{text}'")
    return problems


def check_reader(texts: dict[str, str]) -> list[str]:
    known = re.findall(r'\{"([^"]+)", "(\w+)"\}', (EXPLAIN / "log_line.cpp").read_text())
    problems = [] if len(known) > 10 else ["too few texts of the tool were found to check"]
    problems += [f"log_line.cpp: {name} does not log '{text}'" for text, name in known if text not in texts[name]]
    everything = "".join(texts.values())
    refusals = re.search(r"REFUSALS\[\] = \{(.*?)\}", (EXPLAIN / "log.cpp").read_text(), re.S)
    answers = LITERAL.findall(refusals[1] if refusals else "")
    problems += [] if answers else ["no refusal of the tool was found to check"]
    return problems + [f"log.cpp: nothing logs '{text}'" for text in answers if text not in everything]


def main() -> int:
    texts = logged()
    problems = check_steps(texts) + check_clues(texts) + check_reader(texts)
    print("\n".join(sorted(problems)), end="\n" if problems else "")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
