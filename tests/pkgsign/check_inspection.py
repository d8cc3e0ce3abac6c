#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

"""Holds what `pkgsign inspect --json` prints to its schema, and the schema to being closed. Usage:
check_inspection.py SCHEMA OUTPUT..."""
import json
import pathlib
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "vectors"))
import check_schema


def main() -> int:
    schema = json.loads(pathlib.Path(sys.argv[1]).read_text())
    problems = check_schema.check_closed(schema)
    for name in sys.argv[2:]:
        problems += check_schema.Validator(schema).check(json.loads(pathlib.Path(name).read_text()), schema, name)
    print("\n".join(problems[:20]))
    return 1 if problems or len(sys.argv) < 3 else 0


if __name__ == "__main__":
    sys.exit(main())
