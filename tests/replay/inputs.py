#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

"""Prints the list of inputs for `replay`: the fuzz corpora of the library's own targets, and the test vectors.

Paths are relative to the project's folder, and in an order that no file system decides.
"""
import json
import pathlib

PROJECT = pathlib.Path(__file__).resolve().parents[2]
CORPUS = "fuzz/corpus"
ALONE = ("certificate", "crl", "signed_data", "tst_info", "base64", "add_cert", "add_crl")
UNDER_A_ROOT = ("crl_compare", "detached")


def inputs_of(target: str) -> list[str]:
    return sorted(path.relative_to(PROJECT).as_posix() for path in (PROJECT / CORPUS / target).iterdir())


def main() -> None:
    for target in ALONE:
        for path in inputs_of(target):
            print(target, path)
    for target in UNDER_A_ROOT:
        for path in inputs_of(target):
            print(target, f"{CORPUS}/add_cert/root", path)
    cases = json.loads((PROJECT / "vectors" / "vectors.json").read_text())["cases"]
    for case in sorted(cases, key=lambda case: case["id"]):
        print("vector", *(f"vectors/{case['files'][role]}" for role in ("root", "signature", "crls", "content")))


if __name__ == "__main__":
    main()
