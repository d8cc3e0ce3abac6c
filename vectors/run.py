#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

"""Runs a verifier on the vectors and compares its answers with those that the set states.

The command is a template: in its arguments {root}, {crls}, {signature} and {content} stand for paths of files. It
accepts a package by exit status 0 and refuses it by any other one; PROTOCOL.md has the whole agreement.

    run.py -- ./my_verifier {root} {crls} {signature} {content}

Results: PASS, FAIL, SKIPPED (the verifier lacks a feature), HANG (out of time), MOVED (another answer under another
clock), XFAIL (a wrong answer that the list names) and XPASS (one that did not come). Exit status: 0 when every result
is PASS, SKIPPED or XFAIL, 1 when not, 2 for a wrong command line or a set that is not whole.
"""
import argparse
import collections
import concurrent.futures
import dataclasses
import fnmatch
import functools
import hashlib
import json
import os
import pathlib
import re
import signal
import subprocess
import sys
import tempfile
import typing

HERE = pathlib.Path(__file__).resolve().parent
ROLES = ("root", "crls", "signature", "content")
ATTEMPTS = 200  # to start a process under a clock
SHARED_MEMORY = pathlib.Path("/dev/shm")
NOT_STARTED = "libfaketime: In ft_shm_create()"
GOOD_RESULTS = {"PASS", "SKIPPED", "XFAIL"}


class Unusable(Exception):
    """The run cannot be made; the text says why."""


@dataclasses.dataclass
class Run:
    """One run of the verifier."""
    answer: str  # accept, refuse, hang or crash
    exit_status: int = 0
    output: str = ""


@dataclasses.dataclass
class Result:
    id: str
    group: str
    result: str
    answer: str
    detail: str


def positive(kind: type) -> typing.Callable[[str], int | float]:
    def parse(text: str) -> int | float:
        number = kind(text)
        if not 0 < number < float("inf"):
            raise argparse.ArgumentTypeError(f"{text} is not above 0")
        return number
    return parse


def pattern(text: str) -> re.Pattern:
    try:
        compiled = re.compile(text)
    except re.error as problem:
        raise argparse.ArgumentTypeError(f"{text}: {problem}") from problem
    if compiled.groups != 1:
        raise argparse.ArgumentTypeError(f"{text} has not one group")
    return compiled


def parse_arguments(arguments: list[str]) -> argparse.Namespace:
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--set", type=pathlib.Path, default=HERE, metavar="FOLDER", help="where vectors.json is")
    parser.add_argument("--without", default="", metavar="FEATURE,...", help="features that the verifier lacks")
    parser.add_argument("--only", default="*", metavar="PATTERN", help="run these cases alone, as in 'crl::*'")
    parser.add_argument("--as-verify-tool", action="store_true", help="expect verify_tool's answer and exit status")
    parser.add_argument("--status", type=pattern, metavar="REGEX",
                        help="with it: how to find the status, a number, in the output")
    parser.add_argument("--xfail", type=pathlib.Path, metavar="FILE", help="lines of an identifier and a reason")
    parser.add_argument("--clock", action="append", default=[], metavar="TIME",
                        help="run under this clock, a year or YYYY-MM-DD hh:mm:ss; may be given several times")
    parser.add_argument("--timeout", type=positive(float), default=20, metavar="SECONDS", help="for one case")
    parser.add_argument("--jobs", type=positive(int), default=os.cpu_count() or 1, metavar="COUNT",
                        help="cases at a time")
    parser.add_argument("--json", type=pathlib.Path, metavar="FILE", help="where the results are written")
    parser.add_argument("command", nargs="+", help="the verifier and its arguments")
    options = parser.parse_args(arguments)
    if options.status and not options.as_verify_tool:
        parser.error("--status is of use with --as-verify-tool alone")
    return options


# ---- The set -------------------------------------------------------------------------------------------------------

def digest_of(folder: pathlib.Path, names: set[str]) -> str:
    lines = "".join(f"{hashlib.sha256((folder / name).read_bytes()).hexdigest()}  {name}\n" for name in sorted(names))
    return hashlib.sha256(lines.encode()).hexdigest()


def load(folder: pathlib.Path) -> list[dict]:
    try:
        described = json.loads((folder / "vectors.json").read_text())
        names = {name for case in described["cases"] for name in case["files"].values()}
        digest = digest_of(folder, names | {"files/root"})
        stated = described["sha256"]
    except (OSError, ValueError, KeyError, TypeError) as problem:
        raise Unusable(f"the set cannot be read: {problem}") from problem
    if digest != stated:
        raise Unusable(f"the set is not whole: its SHA-256 is {digest}, not {stated}")
    return described["cases"]


def load_xfail(path: pathlib.Path | None, cases: list[dict]) -> dict[str, str]:
    """The failures that are expected, with their reasons."""
    if path is None:
        return {}
    lines = [line.split(None, 1) for line in path.read_text().splitlines() if line.strip() and line[0] != "#"]
    if wrong := [words[0] for words in lines if len(words) < 2]:
        raise Unusable(f"{path}: without a reason: {', '.join(wrong)}")
    if unknown := {words[0] for words in lines} - {case["id"] for case in cases}:
        raise Unusable(f"{path}: no such case: {', '.join(sorted(unknown))}")
    return {words[0]: words[1] for words in lines}


# ---- Runs ----------------------------------------------------------------------------------------------------------

@functools.cache
def faketime_library() -> str:
    """The library that faketime puts before others. Its own program is asked once, and then done without: it fails
    where something is left of an earlier process with the same number."""
    for _ in range(ATTEMPTS):
        found = subprocess.run(["faketime", "2000-01-01", "printenv", "LD_PRELOAD"], capture_output=True, text=True)
        if found.returncode == 0:
            return found.stdout.strip()
    raise Unusable(f"faketime does not work: {found.stderr.strip()}")


def remove_leftovers(process: int) -> None:
    """What the library leaves of a process that was ended would end a later one with the same number."""
    for name in (f"faketime_shm_{process}", f"sem.faketime_sem_{process}"):
        (SHARED_MEMORY / name).unlink(missing_ok=True)


def environment(clock: str) -> dict[str, str]:
    if not clock:
        return dict(os.environ)
    time = f"{clock}-01-02 00:00:00" if re.fullmatch(r"\d{4}", clock) else clock
    return {**os.environ, "LD_PRELOAD": faketime_library(), "FAKETIME": f"@{time}"}  # @: from then on it runs


def check_clocks(clocks: list[str]) -> None:
    """Programs do see another year under faketime."""
    for clock in clocks:
        if not re.fullmatch(r"\d{4}(-\d\d-\d\d \d\d:\d\d:\d\d)?", clock):
            raise Unusable(f"the clock {clock} is neither a year nor YYYY-MM-DD hh:mm:ss")
        try:
            seen = run_once(["date", "+%Y-%m-%d %H:%M:%S"], clock, 10)
        except OSError as problem:
            raise Unusable(f"faketime does not work: {problem}") from problem
        if seen.answer != "accept" or not seen.output.startswith(clock):
            raise Unusable(f"under the clock {clock} it is {seen.output.strip()}")


def lay_out(folder: pathlib.Path, case: dict, scratch: pathlib.Path) -> dict[str, str]:
    """The paths of the case's files; one that has to be padded is made in `scratch`."""
    paths = {role: str(folder / case["files"][role]) for role in ROLES}
    padding = case["padding"]
    if padding is not None:
        octets = pathlib.Path(paths[padding["file"]]).read_bytes()
        padded = scratch / padding["file"]
        padded.write_bytes(octets + bytes([padding["octet"]]) * (padding["size"] - len(octets)))
        paths[padding["file"]] = str(padded)
    return paths


def fill_in(template: list[str], paths: dict[str, str]) -> list[str]:
    pattern = re.compile("{(" + "|".join(ROLES) + ")}")
    return [pattern.sub(lambda match: paths[match[1]], argument) for argument in template]


def start_and_wait(command: list[str], clock: str, timeout: float) -> Run:
    try:
        process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                   stderr=subprocess.STDOUT, start_new_session=True, env=environment(clock))
    except OSError as problem:
        raise Unusable(f"the verifier cannot be started: {problem}") from problem
    try:
        output = process.communicate(timeout=timeout)[0].decode("latin-1")
    except subprocess.TimeoutExpired:
        os.killpg(process.pid, signal.SIGKILL)  # the verifier and what it has started in its session
        process.stdout.close()  # what it has started elsewhere may hold the other end
        process.wait()
        return Run("hang")
    finally:
        if clock:
            remove_leftovers(process.pid)
    if process.returncode < 0:
        return Run("crash", process.returncode, output)
    return Run("accept" if process.returncode == 0 else "refuse", process.returncode, output)


def run_once(command: list[str], clock: str, timeout: float) -> Run:
    for _ in range(ATTEMPTS):
        run = start_and_wait(command, clock, timeout)
        if not clock or NOT_STARTED not in run.output:
            return run
    raise Unusable(f"faketime does not work: {run.output.strip()}")


def find_status(where: re.Pattern, output: str) -> str | None:
    """The last status in the output, as eight hexadecimal digits; decimal numbers may be negative."""
    found = where.findall(output)
    if not found or not re.fullmatch(r"[0-9a-fA-F]{8}|-?[0-9]+", found[-1]):
        return None
    number = int(found[-1], 16) if re.fullmatch(r"[0-9a-fA-F]{8}", found[-1]) else int(found[-1])
    return f"{number & 0xFFFFFFFF:08x}"


# ---- Results -------------------------------------------------------------------------------------------------------

def judge(case: dict, run: Run, options: argparse.Namespace) -> tuple[str, str]:
    """PASS, FAIL or HANG, and what was wrong."""
    if run.answer == "hang":
        return "HANG", f"no answer within {options.timeout:g} seconds"
    if run.answer == "crash":
        return "FAIL", f"ended by signal {-run.exit_status}"
    expected = case["verify_tool"]["answer"] if options.as_verify_tool else case["expected"]
    if run.answer != expected:
        return "FAIL", f"expected {expected}, got {run.answer} (exit status {run.exit_status})"
    if options.as_verify_tool and run.exit_status != case["verify_tool"]["exit_status"]:
        return "FAIL", f"expected exit status {case['verify_tool']['exit_status']}, got {run.exit_status}"
    if options.as_verify_tool and options.status:
        status = find_status(options.status, run.output)
        if status != case["verify_tool"]["status"]:
            return "FAIL", f"expected status {case['verify_tool']['status']}, got {status}"
    return "PASS", ""


def judge_all(case: dict, runs: dict[str, Run], options: argparse.Namespace) -> tuple[str, str]:
    answers = {clock: run.answer for clock, run in runs.items()}
    if len(set(answers.values())) > 1:
        return "MOVED", ", ".join(f"{answer} in {clock}" for clock, answer in answers.items())
    verdicts = [judge(case, run, options) for run in runs.values()]
    return next((verdict for verdict in verdicts if verdict[0] != "PASS"), verdicts[0])


def run_case(case: dict, options: argparse.Namespace, xfail: dict[str, str]) -> Result:
    lacking = set(case["features"]) & set(filter(None, options.without.split(",")))
    if lacking:
        return Result(case["id"], case["group"], "SKIPPED", "", "needs " + ", ".join(sorted(lacking)))
    with tempfile.TemporaryDirectory() as scratch:
        command = fill_in(options.command, lay_out(options.set.resolve(), case, pathlib.Path(scratch)))
        runs = {clock: run_once(command, clock, options.timeout) for clock in options.clock or [""]}
    result, detail = judge_all(case, runs, options)
    if case["id"] in xfail and result == "PASS":
        result, detail = "XPASS", "passes, against the list"
    elif case["id"] in xfail and result == "FAIL" and all(run.answer != "crash" for run in runs.values()):
        result, detail = "XFAIL", xfail[case["id"]]
    return Result(case["id"], case["group"], result, next(iter(runs.values())).answer, detail)


def report(results: list[Result]) -> None:
    for one in results:
        if one.result not in GOOD_RESULTS:
            print(f"{one.result:8}{one.id}: {one.detail}")
    for group in dict.fromkeys(one.group for one in results):
        counts = collections.Counter(one.result for one in results if one.group == group)
        print(f"{group:12}" + ", ".join(f"{count} {result}" for result, count in sorted(counts.items())))
    counts = collections.Counter(one.result for one in results)
    print(f"{len(results)} cases: " + ", ".join(f"{count} {result}" for result, count in sorted(counts.items())))


def run(options: argparse.Namespace) -> int:
    if not any(f"{{{role}}}" in argument for argument in options.command for role in ROLES):
        raise Unusable("the command names none of {root}, {crls}, {signature} and {content}")
    everything = load(options.set)
    cases = [case for case in everything if fnmatch.fnmatchcase(case["id"], options.only)]
    known = {feature for case in everything for feature in case["features"]}
    if unknown := set(filter(None, options.without.split(","))) - known:
        raise Unusable(f"no case needs {', '.join(sorted(unknown))}; there are {', '.join(sorted(known))}")
    if not cases:
        raise Unusable(f"there is no case {options.only}")
    xfail = load_xfail(options.xfail, everything)
    check_clocks(options.clock)
    with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
        results = list(pool.map(lambda case: run_case(case, options, xfail), cases))
    report(results)
    if options.json:
        options.json.write_text(json.dumps([dataclasses.asdict(one) for one in results], indent=1) + "\n")
    return 0 if all(one.result in GOOD_RESULTS for one in results) else 1


def main() -> int:
    options = parse_arguments(sys.argv[1:])
    try:
        return run(options)
    except (Unusable, OSError) as problem:
        print(f"run.py: {problem}", file=sys.stderr)
        return 2


if __name__ == "__main__":
    sys.exit(main())
