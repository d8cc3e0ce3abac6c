#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

"""Every refusal of a set of vectors has its twin, which is accepted, and differs from it in what it says and in nothing
else. Exits with 1 and names each case of which that is not true.

Usage: check_twins.py DIRECTORY
"""
import functools
import json
import os
import pathlib
import re
import sys

import elements
import trees

TOKEN = "signature/signer/unsignedAttrs/timeStampToken"
TST_INFO = f"{TOKEN}/encapContentInfo/eContent/tstInfo"
LONGEST_EDIT = 70  # characters of armour that count as one thing
WIDEST_PLACE = 2  # levels that the place of a difference may be above all that differs


def files_of(directory: pathlib.Path, case: dict) -> dict[str, bytes]:
    return {name: (directory / path).read_bytes() for name, path in case["files"].items()}


@functools.lru_cache(maxsize=64)
def tree_of(files: tuple[tuple[str, bytes], ...]) -> dict:
    return elements.tree_of(dict(files))


def is_refused(case: dict) -> bool:
    return "refuse" in (case["expected"], case["verify_tool"]["answer"])


def one_edit(first: bytes, second: bytes) -> bool:
    """Whether a short piece of one text stands in the place of a short piece of the other."""
    limit = min(len(first), len(second))
    begin = next((i for i in range(limit) if first[i] != second[i]), limit)
    end = next((i for i in range(limit - begin) if first[-1 - i] != second[-1 - i]), limit - begin)
    return max(len(first), len(second)) - begin - end <= LONGEST_EDIT


def only_armour_differs(first: bytes, second: bytes) -> bool:
    """Whether two files in armour differ in that: all blocks hold the same, or the texts differ in one short piece."""
    return first != second and (elements.blocks(first) == elements.blocks(second) or one_edit(first, second))


def check_file(stated: str, case: dict[str, bytes], twin: dict[str, bytes]) -> str:
    """A difference of a whole file: its armour, its end. Returns what is wrong, or nothing."""
    name, _, what = stated.partition("#")
    others = [other for other in case if other != name and case[other] != twin[other]]
    if others:
        return f"other files differ: {', '.join(others)}"
    mine, its = case[name], twin[name]
    right = {"cut": len(mine) < len(its) and its.startswith(mine),
             "tail": len(mine) > len(its) and mine.startswith(its),
             "armour": only_armour_differs(mine, its)}[what]
    return "" if right else f"{name} does not differ in its {what}"


def check_members(stated: str, case: dict[str, bytes], twin: dict[str, bytes]) -> str:
    differences = trees.compare(tree_of(tuple(case.items())), tree_of(tuple(twin.items())), "")
    place = re.sub("^token(?=[/#]|$)", TOKEN, re.sub("^token/tstInfo", TST_INFO, stated))
    if not differences:
        return "nothing differs"
    further = [one for one in differences if one != place and not one.startswith((place + "/", place + "#"))]
    if further:
        return f"also differs in {', '.join(further)}"
    common = os.path.commonpath(differences)
    wide = common.count("/") - place.count("/") > WIDEST_PLACE
    return f"differs in no more than {common}" if wide else ""


def check_difference(directory: pathlib.Path, case: dict, twin: dict) -> str:
    stated = case["difference"]
    if stated == "padding/size":
        both = case["files"] == twin["files"] and case["padding"]["size"] != twin["padding"]["size"]
        return "" if both else "more than the padding differs"
    if case["padding"] != twin["padding"]:
        return "the padding differs"
    first, second = files_of(directory, case), files_of(directory, twin)
    if stated.partition("#")[2] in ("cut", "tail", "armour") and "/" not in stated:
        return check_file(stated, first, second)
    return check_members(stated, first, second)


def check_case(directory: pathlib.Path, case: dict, cases: dict[str, dict]) -> str:
    if not is_refused(case):
        return "" if case["twin"] is None and case["difference"] is None else "is accepted and has a twin"
    twin = cases.get(case["twin"])
    if twin is None or case["difference"] is None:
        return "has no twin"
    if is_refused(twin):
        return f"its twin {twin['id']} is refused"
    return check_difference(directory, case, twin)


def main() -> int:
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    directory = pathlib.Path(sys.argv[1])
    cases = {case["id"]: case for case in json.loads((directory / "vectors.json").read_text())["cases"]}
    problems = {name: problem for name, case in cases.items() if (problem := check_case(directory, case, cases))}
    for name, problem in problems.items():
        print(f"{name}: {problem}")
    refused = sum(is_refused(case) for case in cases.values())
    print(f"{refused} refusals with their twins, {len(problems)} of them wrong")
    return 1 if problems or not refused else 0


if __name__ == "__main__":
    sys.exit(main())
