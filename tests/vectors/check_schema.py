#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

"""Holds a set of vectors to its schema, and the schema to being closed: every member of an object is required, and no
further one is allowed. Also what a schema cannot say: identifiers are there once and begin with their group, every file
is there and used, answers and statuses agree, and a reason stands where the two answers differ and nowhere else.

Usage: check_schema.py SCHEMA DIRECTORY
"""
import collections
import json
import pathlib
import re
import sys

TYPES = {"object": dict, "array": list, "string": str, "integer": int, "boolean": bool, "null": type(None)}
LARGEST_SET = 3_000_000  # octets of files and description
SILENT = {"$schema", "title", "description", "definitions"}


def is_of(value, name: str) -> bool:
    return isinstance(value, TYPES[name]) and isinstance(value, bool) == (name == "boolean")


class Validator:
    """The keywords of draft 7 that the schema uses; another one is an error, not passed over."""

    def __init__(self, schema: dict):
        self.schema = schema

    def check(self, value, rules: dict, at: str) -> list[str]:
        problems = []
        for keyword, wanted in rules.items():
            if keyword not in SILENT:
                problems += getattr(self, "check_" + keyword.lstrip("$"))(value, wanted, at, rules)
        return problems

    def check_ref(self, value, wanted: str, at: str, _) -> list[str]:
        return self.check(value, self.schema["definitions"][wanted.removeprefix("#/definitions/")], at)

    def check_type(self, value, wanted, at: str, _) -> list[str]:
        names = [wanted] if isinstance(wanted, str) else wanted
        return [] if any(is_of(value, name) for name in names) else [f"{at}: not of type {' or '.join(names)}"]

    def check_enum(self, value, wanted: list, at: str, _) -> list[str]:
        return [] if value in wanted else [f"{at}: {value!r} is none of {wanted}"]

    def check_pattern(self, value, wanted: str, at: str, _) -> list[str]:
        right = not isinstance(value, str) or re.search(wanted, value)
        return [] if right else [f"{at}: {value!r} does not match {wanted}"]

    def check_minimum(self, value, wanted: int, at: str, _) -> list[str]:
        return [f"{at}: below {wanted}"] if is_of(value, "integer") and value < wanted else []

    def check_maximum(self, value, wanted: int, at: str, _) -> list[str]:
        return [f"{at}: above {wanted}"] if is_of(value, "integer") and value > wanted else []

    def check_minItems(self, value, wanted: int, at: str, _) -> list[str]:
        return [f"{at}: fewer than {wanted}"] if isinstance(value, list) and len(value) < wanted else []

    def check_uniqueItems(self, value, wanted: bool, at: str, _) -> list[str]:
        twice = wanted and isinstance(value, list) and len({json.dumps(one) for one in value}) != len(value)
        return [f"{at}: something twice"] if twice else []

    def check_items(self, value, wanted: dict, at: str, _) -> list[str]:
        items = value if isinstance(value, list) else []
        return [problem for i, one in enumerate(items) for problem in self.check(one, wanted, f"{at}/{i}")]

    def check_oneOf(self, value, wanted: list, at: str, _) -> list[str]:
        fitting = sum(not self.check(value, rules, at) for rules in wanted)
        return [] if fitting == 1 else [f"{at}: fits {fitting} of {len(wanted)} forms"]

    def check_required(self, value, wanted: list, at: str, _) -> list[str]:
        return [f"{at}: no {name}" for name in wanted if isinstance(value, dict) and name not in value]

    def check_properties(self, value, wanted: dict, at: str, _) -> list[str]:
        members = value if isinstance(value, dict) else {}
        return [problem for name, rules in wanted.items() if name in members
                for problem in self.check(members[name], rules, f"{at}/{name}")]

    def check_additionalProperties(self, value, wanted: bool, at: str, rules: dict) -> list[str]:
        members = value if isinstance(value, dict) and wanted is False else {}
        return [f"{at}: {name} is not foreseen" for name in members if name not in rules["properties"]]


def schemas_in(rules: dict) -> dict[str, dict]:
    """The schemas that one is made of, by their places in it."""
    found = {f"/{keyword}/{name}": inner for keyword in ("definitions", "properties")
             for name, inner in rules.get(keyword, {}).items()}
    found |= {f"/oneOf/{i}": inner for i, inner in enumerate(rules.get("oneOf", []))}
    return found | ({"/items": rules["items"]} if "items" in rules else {})


def check_closed(rules: dict, at: str = "") -> list[str]:
    problems = []
    types = [rules["type"]] if isinstance(rules.get("type"), str) else rules.get("type", [])
    if not rules.keys() & {"type", "enum", "oneOf", "$ref"}:
        problems.append(f"schema{at}: anything is allowed")
    if "array" in types and "items" not in rules:
        problems.append(f"schema{at}: no items are named")
    if "object" in types and "properties" not in rules:
        problems.append(f"schema{at}: no members are named")
    elif "object" in types:
        if rules.get("additionalProperties") is not False:
            problems.append(f"schema{at}: further members are allowed")
        if set(rules["properties"]) != set(rules.get("required", [])):
            problems.append(f"schema{at}: not every member is required")
    return problems + [problem for place, inner in schemas_in(rules).items()
                       for problem in check_closed(inner, at + place)]


def check_answers(case: dict) -> list[str]:
    ours = case["verify_tool"]
    problems = []
    if case["id"].partition("::")[0] != case["group"]:
        problems.append("does not begin with its group")
    if (ours["answer"] == "accept") != (int(ours["status"], 16) == 0):
        problems.append("verify_tool's answer and status disagree")
    if int(ours["status"], 16) & 0xFF != ours["exit_status"]:
        problems.append("verify_tool's status and exit status disagree")
    if (ours["answer"] != case["expected"]) != (case["why_they_differ"] is not None):
        problems.append("a reason is missing, or there is one too many")
    return [f"{case['id']}: {problem}" for problem in problems]


def check_files(directory: pathlib.Path, cases: list[dict]) -> list[str]:
    used = {name for case in cases for name in case["files"].values()} | {"files/root"}
    there = {path.relative_to(directory).as_posix() for path in (directory / "files").rglob("*") if path.is_file()}
    size = sum((directory / name).stat().st_size for name in [*there, "vectors.json"])
    return [f"{name}: is not there" for name in sorted(used - there)] + \
           [f"{name}: no case uses it" for name in sorted(there - used)] + \
           [f"the set has {size} octets"] * (size > LARGEST_SET)


def check_set(schema: dict, described: dict, directory: pathlib.Path) -> list[str]:
    problems = check_closed(schema) + Validator(schema).check(described, schema, "")
    if problems:
        return problems
    cases = described["cases"]
    counts = collections.Counter(case["id"] for case in cases)
    problems += [f"{name}: is there {count} times" for name, count in counts.items() if count > 1]
    problems += [problem for case in cases for problem in check_answers(case)]
    return problems + check_files(directory, cases)


def main() -> int:
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    directory = pathlib.Path(sys.argv[2])
    schema = json.loads(pathlib.Path(sys.argv[1]).read_text())
    problems = check_set(schema, json.loads((directory / "vectors.json").read_text()), directory)
    print("\n".join(problems), end="\n" if problems else "")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
