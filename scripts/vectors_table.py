#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

"""Where verify_tool and openssl stand on the public vectors: the tables of vectors/README.md.

Usage: vectors_table.py RESULTS [--write]

RESULTS is what `vectors/run.py --xfail vectors/openssl.xfail --json RESULTS -- vectors/openssl_verify.py ...` wrote.
Without --write the tables are compared with those in the document, and the exit status is 1 when they differ.
"""
import collections
import json
import pathlib
import re
import sys

VECTORS = pathlib.Path(__file__).resolve().parent.parent / "vectors"
README = VECTORS / "README.md"
LEAST_CASES, MOST_REASONS = 2, 30  # of many reasons only those are listed that have several cases


def stand(expected: str, answer: str) -> str:
    if answer == expected:
        return "same"
    return {"accept": "accepts more", "refuse": "refuses more"}.get(answer, "no answer")


def count_table(cases: list[dict], answers: dict[str, str]) -> list[str]:
    columns = ("same", "refuses more", "accepts more", "no answer")
    lines = ["| group | cases | `verify_tool`: as expected | refuses more | accepts more "
             "| openssl: as expected | refuses more | accepts more | no answer |",
             "|---|" + "---:|" * 8]
    groups = list(dict.fromkeys(case["group"] for case in cases))
    for group in [*groups, "all"]:
        chosen = [case for case in cases if group in (case["group"], "all")]
        ours = collections.Counter(stand(case["expected"], case["verify_tool"]["answer"]) for case in chosen)
        theirs = collections.Counter(stand(case["expected"], answers[case["id"]]) for case in chosen)
        numbers = [len(chosen), *(ours[name] for name in columns[:3]), *(theirs[name] for name in columns)]
        lines.append(f"| {group} | " + " | ".join(map(str, numbers)) + " |")
    return lines


def reason_table(title: str, rows: list[tuple[str, str]]) -> list[str]:
    """rows: a reason and how the verifier stands, for each case."""
    counts = collections.Counter(rows)
    lines = ["", f"| {title} | cases | and so |", "|---|---:|---|"]
    lines += [f"| {reason} | {count} | {how} |"
              for (reason, how), count in sorted(counts.items(), key=lambda item: (-item[1], item[0]))
              if count >= LEAST_CASES or len(counts) <= MOST_REASONS]
    left_out = len(counts) - (len(lines) - 3)
    return lines + ([f"| {left_out} others, of one case each | {left_out} | |"] if left_out else [])


def tables(results: list[dict]) -> str:
    cases = json.loads((VECTORS / "vectors.json").read_text())["cases"]
    by_id = {case["id"]: case for case in cases}
    answers = {one["id"]: one["answer"] for one in results}
    if set(answers) != set(by_id):
        sys.exit("vectors_table.py: the results are not those of the whole set")
    ours = [(case["why_they_differ"], stand(case["expected"], case["verify_tool"]["answer"])) for case in cases
            if case["why_they_differ"] is not None]
    theirs = [(one["detail"], stand(by_id[one["id"]]["expected"], one["answer"])) for one in results
              if one["result"] != "PASS"]
    return "\n".join(count_table(cases, answers) + reason_table("`verify_tool`", ours) +
                     reason_table("openssl", theirs))


def main() -> int:
    if len(sys.argv) not in (2, 3) or sys.argv[2:] not in ([], ["--write"]):
        sys.exit(__doc__)
    made = tables(json.loads(pathlib.Path(sys.argv[1]).read_text()))
    document = README.read_text()
    block = re.compile(r"(<!-- standing: [^\n]*-->\n).*?(<!-- end of standing -->)", re.S)
    written, count = block.subn(lambda match: f"{match[1]}\n{made}\n\n{match[2]}", document)
    if count != 1:
        sys.exit(f"vectors_table.py: {README} has {count} places for the tables")
    if sys.argv[2:]:
        README.write_text(written)
        return 0
    if written != document:
        print("vectors/README.md has other tables; scripts/vectors_table.py RESULTS --write puts these there:\n" + made)
    return 0 if written == document else 1


if __name__ == "__main__":
    sys.exit(main())
