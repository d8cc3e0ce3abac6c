#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

"""The checks of a set of vectors notice what is wrong with one.

Usage: checks_test.py VECTORS [unittest's arguments]
"""
import copy
import json
import pathlib
import sys
import unittest

import check_schema
import check_twins

VECTORS = pathlib.Path(sys.argv.pop(1)).resolve() if len(sys.argv) > 1 else pathlib.Path()


class Checks(unittest.TestCase):
    def setUp(self):
        self.schema = json.loads((VECTORS / "vectors.schema.json").read_text())
        self.set = json.loads((VECTORS / "vectors.json").read_text())
        self.cases = {case["id"]: case for case in self.set["cases"]}

    def expect_schema_problem(self, text: str, changed=None, schema=None) -> None:
        problems = check_schema.check_set(schema or self.schema, changed or self.set, VECTORS)
        self.assertTrue(any(text in problem for problem in problems), problems[:3])

    def changed(self, change) -> dict:
        described = copy.deepcopy(self.set)
        change(described["cases"][0])
        return described

    def test_the_schema_refuses_members_that_are_missing_too_many_or_of_another_type(self):
        self.expect_schema_problem("no twin", self.changed(lambda case: case.pop("twin")))
        self.expect_schema_problem("note is not foreseen", self.changed(lambda case: case.update(note="")))
        self.expect_schema_problem("not of type", self.changed(lambda case: case["rule"].update(text=7)))
        self.expect_schema_problem("is none of", self.changed(lambda case: case.update(importance="great")))
        self.expect_schema_problem("does not match", self.changed(lambda case: case.update(cve=["CVE-1"])))
        self.expect_schema_problem("above 255", self.changed(lambda case: case["verify_tool"].update(exit_status=256)))
        self.expect_schema_problem("something twice", self.changed(lambda case: case.update(features=["pem", "pem"])))
        self.expect_schema_problem("fits 0 of 2", self.changed(lambda case: case.update(padding={"file": "crls"})))

    def test_a_schema_that_is_open_is_refused(self):
        schema = copy.deepcopy(self.schema)
        schema["definitions"]["case"]["properties"]["rule"]["additionalProperties"] = True
        self.expect_schema_problem("further members are allowed", schema=schema)
        schema = copy.deepcopy(self.schema)
        schema["definitions"]["case"]["required"].remove("cve")
        self.expect_schema_problem("not every member is required", schema=schema)

    def test_a_schema_that_lets_a_member_be_anything_is_refused(self):
        for rules, text in (({}, "anything is allowed"), ({"description": "a note"}, "anything is allowed"),
                            ({"type": "object"}, "no members are named"), ({"type": "array"}, "no items are named"),
                            ({"type": ["object", "null"]}, "no members are named")):
            schema = copy.deepcopy(self.schema)
            schema["definitions"]["case"]["properties"]["rule"] = rules
            self.expect_schema_problem(text, schema=schema)

    def test_a_keyword_that_the_validator_does_not_know_is_an_error(self):
        with self.assertRaises(AttributeError):
            check_schema.Validator({}).check(1, {"multipleOf": 2}, "")

    def test_answers_that_contradict_themselves_are_noticed(self):
        self.expect_schema_problem("answer and status disagree",
                                   self.changed(lambda case: case["verify_tool"].update(answer="refuse")))
        self.expect_schema_problem("status and exit status disagree",
                                   self.changed(lambda case: case["verify_tool"].update(exit_status=1)))
        self.expect_schema_problem("a reason is missing", self.changed(lambda case: case.update(expected="refuse")))
        self.expect_schema_problem("is there 2 times",
                                   self.changed(lambda case: case.update(id=self.set["cases"][1]["id"])))
        self.expect_schema_problem("is not there",
                                   self.changed(lambda case: case["files"].update(crls="files/nothing")))

    def twin_problem(self, identifier: str, **changes) -> str:
        cases = copy.deepcopy(self.cases)
        cases[identifier].update(changes)
        return check_twins.check_case(VECTORS, cases[identifier], cases)

    def test_a_refusal_without_a_twin_or_with_a_refused_one_is_noticed(self):
        self.assertEqual("", self.twin_problem("path::signer_valid_from_the_next_second"))
        self.assertIn("has no twin", self.twin_problem("path::signer_valid_from_the_next_second", twin=None))
        self.assertIn("is refused", self.twin_problem("path::signer_valid_from_the_next_second",
                                                      twin="path::signer_valid_until_the_last_second"))
        self.assertIn("is accepted and has a twin", self.twin_problem("signature::good", twin="signature::good"))

    def test_a_twin_that_differs_in_something_else_is_noticed(self):
        case = "path::signer_valid_from_the_next_second"
        self.assertIn("also differs in signature/certificates/Signer/validity/notBefore",
                      self.twin_problem(case, difference="signature/certificates/Signer/validity/notAfter"))
        self.assertIn("also differs in", self.twin_problem(case, twin="path::signer_valid_until_this_second"))
        self.assertIn("differs in no more than signature/certificates/Signer/validity/notBefore",
                      self.twin_problem(case, difference="signature"))

    def test_a_twin_that_differs_in_something_more_is_noticed(self):
        crls = self.cases["crl::given_twice"]["files"]["crls"]
        files = self.cases["path::signer_valid_from_the_next_second"]["files"]
        self.assertIn("also differs in crls/CRL of Signing CA#2",
                      self.twin_problem("path::signer_valid_from_the_next_second", files={**files, "crls": crls}))

    def test_a_twin_that_does_not_differ_is_noticed(self):
        files = self.cases["path::signer_valid_from_this_second"]["files"]
        self.assertIn("nothing differs", self.twin_problem("path::signer_valid_from_the_next_second", files=files))

    def test_files_that_are_cut_lengthened_or_armoured_otherwise_are_compared_as_such(self):
        self.assertEqual("", self.twin_problem("encoding::message_cut_by_1_octet"))
        self.assertIn("does not differ in its tail",
                      self.twin_problem("encoding::message_cut_by_1_octet", difference="signature#tail"))
        self.assertIn("other files differ: crls", self.twin_problem("encoding::crls_cut_by_1_octet",
                                                                    difference="signature#cut"))
        self.assertIn("does not differ in its armour",
                      self.twin_problem("armour::message_in_armour_of_armour", difference="signature#armour"))


if __name__ == "__main__":
    unittest.main()
