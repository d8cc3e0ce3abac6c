#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

"""Tries what check_hardening.py finds wrong with the places where a program looks for libraries."""
import pathlib
import sys
import types
import unittest
from unittest import mock

sys.dont_write_bytecode = True
from check_hardening import entry_fault

TREE = pathlib.Path("/home/build")
MODES = {
    "/": 0o755, "/home": 0o755, "/home/build": 0o775, "/home/build/sigkit": 0o777,
    "/usr": 0o755, "/usr/lib": 0o755,
    "/opt": 0o775, "/opt/lib": 0o755, "/usr/local": 0o755, "/usr/local/lib": 0o2775,
    "/pub": 0o757, "/pub/lib": 0o755, "/tmp": 0o1777, "/tmp/lib": 0o755,
}


def exists(path: pathlib.Path) -> bool:
    return str(path) in MODES


def stat(path: pathlib.Path) -> types.SimpleNamespace:
    return types.SimpleNamespace(st_mode=MODES[str(path)])


@mock.patch.object(pathlib.Path, "exists", exists)
@mock.patch.object(pathlib.Path, "stat", stat)
class SearchPath(unittest.TestCase):
    def faults(self, entries: list[str]) -> list[str]:
        return [entry for entry in entries if entry_fault(entry, TREE / "src" / "program", TREE)]

    def test_a_place_that_only_its_owner_can_write_is_safe(self):
        self.assertEqual([], self.faults(["/usr/lib", "/usr/../usr/lib"]))

    def test_what_lies_in_the_tree_is_as_safe_as_the_program(self):
        self.assertEqual([], self.faults(["/home/build/sigkit", "$ORIGIN/../sigkit", "${ORIGIN}"]))

    def test_a_place_that_a_group_or_all_can_write_is_not_safe(self):
        entries = ["/usr/local/lib", "/tmp", "/pub"]
        self.assertEqual(entries, self.faults(entries))

    def test_a_place_below_one_that_a_group_or_all_can_write_is_not_safe(self):
        entries = ["/opt/lib", "/pub/lib", "/tmp/lib", "/home/build/../../tmp/lib"]
        self.assertEqual(entries, self.faults(entries))

    def test_a_place_that_is_not_there_can_be_made(self):
        entries = ["/usr/missing", "/missing/lib"]
        self.assertEqual(entries, self.faults(entries))

    def test_the_working_directory_and_what_leads_out_of_the_tree_are_not_safe(self):
        entries = ["", "lib", ".", "$ORIGIN/../../lib", "$ORIGINAL"]
        self.assertEqual(entries, self.faults(entries))


if __name__ == "__main__":
    unittest.main()
