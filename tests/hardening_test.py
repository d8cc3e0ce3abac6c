#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

"""Tries what check_hardening.py finds wrong with the places where a program looks for libraries, and with commands of
the compiler."""
import pathlib
import sys
import types
import unittest
from unittest import mock

sys.dont_write_bytecode = True
from check_hardening import entry_fault, fortify_fault

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


class Fortified(unittest.TestCase):
    def fault(self, options: str) -> str | None:
        return fortify_fault(f"c++ {options} -c file.cpp")

    def test_the_last_level_counts(self):
        self.assertIsNone(self.fault("-D_FORTIFY_SOURCE=2 -O2 -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3"))
        self.assertIn("level 2", self.fault("-O2 -D_FORTIFY_SOURCE=3 -D_FORTIFY_SOURCE=2"))
        self.assertIn("level 0", self.fault("-O2 -D_FORTIFY_SOURCE=3 -U_FORTIFY_SOURCE"))

    def test_a_command_without_a_level_is_not_fortified(self):
        self.assertIn("level 0", self.fault("-O3"))

    def test_a_command_that_does_not_optimise_is_not_fortified(self):
        for options in ("", "-O0", "-O2 -O0"):
            self.assertIn("not optimised", self.fault(f"{options} -D_FORTIFY_SOURCE=3"))

    def test_every_level_of_optimisation_counts(self):
        for options in ("-O", "-O0 -O1", "-O3", "-Os", "-Og"):
            self.assertIsNone(self.fault(f"{options} -D_FORTIFY_SOURCE=3"))


if __name__ == "__main__":
    unittest.main()
