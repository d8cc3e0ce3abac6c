#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

"""Two sets of vectors say the same, and are not the same: all that differs is what the keys make.

Usage: check_same.py FIRST SECOND
"""
import json
import pathlib
import sys


def main() -> int:
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    first, second = (json.loads((pathlib.Path(name) / "vectors.json").read_text()) for name in sys.argv[1:])
    digests = {one.pop("sha256") for one in (first, second)}
    if len(digests) != 2:
        print("they are the same files")
        return 1
    cases = [{case["id"]: case for case in one["cases"]} for one in (first, second)]
    different = [name for name in dict.fromkeys([*cases[0], *cases[1]]) if cases[0].get(name) != cases[1].get(name)]
    print("\n".join(f"{name}: not the same" for name in different), end="\n" if different else "")
    return 0 if first == second else 1


if __name__ == "__main__":
    sys.exit(main())
