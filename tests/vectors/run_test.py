#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

"""vectors/run.py on a set of two cases, with verifiers that answer as each test needs it.

Usage: run_test.py VECTORS [unittest's arguments]; VECTORS is the folder that is tested, whole or as a copy.
"""
import hashlib
import json
import pathlib
import shutil
import subprocess
import sys
import tempfile
import time
import unittest

VECTORS = pathlib.Path(sys.argv.pop(1)).resolve() if len(sys.argv) > 1 else pathlib.Path()
GOOD, BAD = b"good", b"bad"
CAREFUL = ["sh", "-c", 'grep -qx good "$1"', "sh", "{signature}"]
GULLIBLE = ["true", "{signature}"]


def case(name: str, file: str, expected: str, status: int, **others) -> dict:
    files = {"root": "files/root", "crls": "files/root", "signature": file, "content": "files/root"}
    ours = {"answer": expected, "status": f"{status:08x}", "exit_status": status & 0xFF}
    return {"id": f"limits::{name}", "group": "limits", "expected": expected, "verify_tool": ours, "features": [],
            "files": files, "padding": None, **others}


class Run(unittest.TestCase):
    def setUp(self):
        self.scratch = tempfile.TemporaryDirectory()
        self.addCleanup(self.scratch.cleanup)
        self.folder = pathlib.Path(self.scratch.name)
        shutil.copy(VECTORS / "run.py", self.folder)
        (self.folder / "files").mkdir()
        self.write([case("good", "files/good", "accept", 0), case("bad", "files/bad", "refuse", 0x88200002)])

    def write(self, cases: list[dict]) -> None:
        contents = {"files/root": b"", "files/good": GOOD + b"\n", "files/bad": BAD + b"\n"}
        used = {"files/root"} | {name for one in cases for name in one["files"].values()}
        for name, octets in contents.items():
            (self.folder / name).write_bytes(octets)
        lines = "".join(f"{hashlib.sha256(contents[name]).hexdigest()}  {name}\n" for name in sorted(used))
        described = {"version": "1.0.0", "sha256": hashlib.sha256(lines.encode()).hexdigest(), "cases": cases}
        (self.folder / "vectors.json").write_text(json.dumps(described))

    def run_on(self, command: list[str], *options: str) -> subprocess.CompletedProcess:
        return subprocess.run([sys.executable, self.folder / "run.py", *options, "--", *command], capture_output=True,
                              text=True)

    def expect(self, status: int, text: str, command: list[str], *options: str) -> None:
        done = self.run_on(command, *options)
        self.assertEqual(status, done.returncode, done.stdout + done.stderr)
        self.assertIn(text, done.stdout + done.stderr)

    def xfail(self, text: str) -> str:
        (self.folder / "list").write_text(text)
        return str(self.folder / "list")

    def test_right_answers_pass(self):
        self.expect(0, "2 cases: 2 PASS", CAREFUL)

    def test_an_acceptance_where_a_refusal_is_expected_fails(self):
        self.expect(1, "FAIL    limits::bad: expected refuse, got accept", GULLIBLE)

    def test_a_refusal_where_an_acceptance_is_expected_fails(self):
        self.expect(1, "FAIL    limits::good: expected accept, got refuse", ["false", "{root}"])

    def test_a_verifier_that_crashes_on_a_bad_package_fails(self):
        self.expect(1, "FAIL    limits::bad: ended by signal 11",
                    ["sh", "-c", 'grep -qx good "$1" || kill -SEGV $$', "sh", "{signature}"])

    def test_a_verifier_that_does_not_end_hangs_and_is_ended_with_what_it_started(self):
        mark = self.folder / "mark"
        script = f'grep -qx good "$1" || (sleep 2; touch {mark})'
        self.expect(1, "HANG    limits::bad: no answer within 0.5 seconds", ["sh", "-c", script, "sh", "{signature}"],
                    "--timeout", "0.5")
        subprocess.run(["sleep", "2.5"], check=True)
        self.assertFalse(mark.exists())

    def test_a_case_whose_feature_the_verifier_lacks_is_skipped(self):
        self.write([case("good", "files/good", "accept", 0),
                    case("bad", "files/bad", "accept", 0, features=["pem", "ber"])])
        self.expect(1, "1 FAIL, 1 PASS", CAREFUL)
        self.expect(0, "1 PASS, 1 SKIPPED", CAREFUL, "--without", "ber")
        self.expect(2, "no case needs bet", CAREFUL, "--without", "bet")

    def test_a_failure_that_is_listed_is_expected(self):
        self.expect(0, "1 PASS, 1 XFAIL", GULLIBLE, "--xfail", self.xfail("# why\nlimits::bad  looks at nothing\n"))

    def test_a_listed_failure_that_does_not_come_is_reported(self):
        self.expect(1, "XPASS   limits::bad: passes, against the list", CAREFUL, "--xfail",
                    self.xfail("limits::bad  looks at nothing\n"))

    def test_a_list_excuses_wrong_answers_and_nothing_else(self):
        listed = self.xfail("limits::bad  looks at nothing\n")
        crash, hang = 'grep -qx good "$1" || kill -SEGV $$', 'grep -qx good "$1" || sleep 5'
        self.expect(1, "FAIL    limits::bad: ended by signal 11", ["sh", "-c", crash, "sh", "{signature}"], "--xfail",
                    listed)
        self.expect(1, "HANG    limits::bad", ["sh", "-c", hang, "sh", "{signature}"], "--xfail", listed,
                    "--timeout", "0.3")

    def test_a_verifier_whose_child_leaves_its_session_is_not_waited_for(self):
        begin = time.monotonic()
        self.expect(1, "HANG    limits::good", ["sh", "-c", "setsid sleep 10 & sleep 10", "sh", "{signature}"],
                    "--timeout", "0.3", "--only", "*::good")
        self.assertLess(time.monotonic() - begin, 5)

    def test_options_that_make_no_sense_are_refused(self):
        for options in (("--jobs", "0"), ("--timeout", "0"), ("--timeout", "nan"), ("--status", "x(.*)"),
                        ("--as-verify-tool", "--status", "("), ("--as-verify-tool", "--status", "no group")):
            self.expect(2, "run.py: error: ", CAREFUL, *options)

    def test_files_that_cannot_be_read_or_written_end_the_run(self):
        self.expect(2, "nowhere", CAREFUL, "--xfail", "/nowhere/list")
        self.expect(2, "nowhere", CAREFUL, "--json", "/nowhere/results")
        self.expect(2, "the set cannot be read", CAREFUL, "--set", "/nowhere")
        for text in ("", "[]", '{"cases": []}', '{"cases": [{"id": "limits::good"}], "sha256": ""}'):
            (self.folder / "vectors.json").write_text(text)
            self.expect(2, "the set cannot be read", CAREFUL)

    def test_a_list_of_an_unknown_case_or_without_a_reason_is_refused(self):
        self.expect(2, "no such case: limits::bat", CAREFUL, "--xfail", self.xfail("limits::bat  a reason\n"))
        self.expect(2, "without a reason: limits::bad", CAREFUL, "--xfail", self.xfail("limits::bad\n"))

    def test_verify_tools_own_answers_are_held_to_exit_status_and_status(self):
        command = ["sh", "-c", 'grep -qx good "$1" || { echo "ret($2)"; exit $3; }', "sh", "{signature}"]
        options = ("--as-verify-tool", "--status", r"ret\((-?\d+)\)")
        self.expect(1, "expected status 88200002, got 88200003", [*command, "-2011168765", "2"], *options)
        self.expect(1, "expected exit status 2, got 3", [*command, "-2011168766", "3"], *options)
        self.expect(1, "expected status 00000000, got None", [*command, "-2011168766", "2"], *options)
        self.expect(0, "1 PASS", [*command, "-2011168766", "2"], *options, "--only", "*::bad")

    def test_a_file_is_padded_where_the_case_says_so(self):
        padding = {"file": "signature", "size": 2000, "octet": 10}
        self.write([case("good", "files/good", "accept", 0, padding=padding)])
        self.expect(0, "1 PASS", ["sh", "-c", 'test $(wc -c <"$1") = 2000 && head -1 "$1" | grep -qx good', "sh",
                                  "{signature}"])

    def test_a_set_that_was_altered_is_not_run(self):
        (self.folder / "files/bad").write_bytes(b"bad!")
        self.expect(2, "the set is not whole", CAREFUL)

    def test_a_command_that_takes_no_file_or_cannot_be_started_is_refused(self):
        self.expect(2, "names none of", ["true"])
        self.expect(2, "cannot be started", ["/nowhere/verifier", "{root}"])

    def test_an_answer_that_moves_with_the_clock_is_reported(self):
        script = 'test "$(date +%Y)" -lt 2000 && grep -qx good "$1"'
        self.expect(1, "MOVED   limits::good: accept in 1970, refuse in 2100",
                    ["sh", "-c", script, "sh", "{signature}"], "--clock", "1970", "--clock", "2100")
        self.expect(1, "MOVED   limits::good", ["sh", "-c", script, "sh", "{signature}"], "--clock", "1970", "--clock",
                    "2100-05-06 07:08:09", "--xfail", self.xfail("limits::good  moves\n"))
        self.expect(0, "2 PASS", CAREFUL, "--clock", "1970", "--clock", "2100")

    def test_a_verifier_that_faketime_does_not_start_has_not_refused(self):
        first = self.folder / "first"
        failure = 'echo "libfaketime: In ft_shm_create(), shm_open failed: File exists"; exit 1'
        script = f'[ -e "$2" ] || {{ : >"$2"; {failure}; }}'
        self.expect(0, "1 PASS", ["sh", "-c", script + '; grep -qx good "$1"', "sh", "{signature}", str(first)],
                    "--only", "*::good", "--clock", "1970")
        self.assertTrue(first.exists())

    def test_nothing_of_faketime_stays_behind_a_verifier_that_was_ended(self):
        number = self.folder / "number"
        self.expect(1, "ended by signal 9", ["sh", "-c", 'echo $$ >"$2"; kill -9 $$', "sh", "{signature}", str(number)],
                    "--only", "*::good", "--clock", "1970")
        self.assertEqual([], list(pathlib.Path("/dev/shm").glob(f"*faketime_*_{number.read_text().strip()}")))

    def test_a_clock_that_cannot_be_had_ends_the_run(self):
        for clock in ("yesterday", "19", "2100-13-45 00:00:00"):
            self.expect(2, "run.py: ", CAREFUL, "--clock", clock)


if __name__ == "__main__":
    unittest.main()
