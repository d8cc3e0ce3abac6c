#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

"""Measures how strong the tests are: breaks the sources of sigkit/ and src/ in one place at a time and runs the tests.

A mutant flips a comparison, moves a bound by one, negates a condition, drops a call, swaps two arguments or changes a
constant. It is killed when a test fails, crashes or hangs; one that does not compile does not count. One that survives
shows a missing test, or changes nothing that can be seen, as an initial value that is written before it is read. Works
on copies of the tree, so the tree itself is never changed. Exits with 1 when fewer than --least percent are killed.
"""
import argparse
import concurrent.futures
import dataclasses
import os
import pathlib
import queue
import random
import re
import shutil
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
LAYERS = ["core", "asn1", "x509", "pki", "verify"]
NOT_RUN = ["forge", "pkgsign"]  # tests of programs that no mutant is in
TOO_LONG = "-*RandomStores.*:HostileProcess.OneOctetBehindFourGigabytesIsMissed"
MEMORY_MAX = 4 << 30   # octets of a test's address space: a mutant may allocate without end


@dataclasses.dataclass(frozen=True)
class Mutant:
    path: str
    line: int  # from 0
    kind: str
    before: str
    after: str

    def __str__(self) -> str:
        return f"{self.path}:{self.line + 1}: {self.kind}\n    - {self.before.strip()}\n    + {self.after.strip()}"


def code_spans(line: str):
    """The stretches of a line that are neither text, character nor comment."""
    start = 0
    for match in re.finditer(r'"(?:\\.|[^"\\])*"|\'(?:\\.|[^\'\\])*\'|//.*', line):
        yield start, match.start()
        start = match.end()
    yield start, len(line)


RULES = [
    ("flips a comparison", r"(?<![=!<>])==(?!=)", "!="),
    ("flips a comparison", r"!=", "=="),
    ("moves a bound", r" < ", " <= "),
    ("moves a bound", r" <= ", " < "),
    ("moves a bound", r" > ", " >= "),
    ("moves a bound", r" >= ", " > "),
    ("flips a comparison", r" < ", " >= "),
    ("flips a comparison", r" > ", " <= "),
    ("weakens a condition", r"&&", "||"),
    ("weakens a condition", r"\|\|", "&&"),
    ("negates a condition", r"\bif \((.*)\) \{$", r"if (!(\1)) {"),
    ("negates a condition", r"\bwhile \((.*)\) \{$", r"while (!(\1)) {"),
    ("changes a constant", r"\bSIGKIT_OK\b", "SIGKIT_ERR_UNKNOWN"),
    ("changes a constant", r"\bSIGKIT_ERR_(?!UNKNOWN)\w+", "SIGKIT_ERR_UNKNOWN"),
    ("changes a constant", r"\btrue\b", "false"),
    ("changes a constant", r"\bfalse\b", "true"),
    ("changes a constant", r"(?<![\w.\[])0(?![\w.])", "1"),
    ("changes a constant", r"(?<![\w.\[])1(?![\w.])", "2"),
    ("changes a constant", r"(?<![\w.\[])([2-9]|[1-9]\d+)(?![\w.])", lambda m: str(int(m.group(1)) + 1)),
    ("changes a constant", r"\b0x([0-9A-Fa-f]+)\b", lambda m: hex(int(m.group(1), 16) ^ 1)),
    ("swaps arguments", r"\((\w+(?:[.>-]+\w+)*), (\w+(?:[.>-]+\w+)*)\)", r"(\2, \1)"),
    ("swaps arguments", r", (\w+(?:[.>-]+\w+)*), (\w+(?:[.>-]+\w+)*)\)", r", \2, \1)"),
    ("changes an operation", r" \+ ", " - "),
    ("changes an operation", r" - ", " + "),
    ("changes an operation", r" \+= ", " -= "),
    ("changes an operation", r" -= ", " += "),
    ("changes an operation", r" \|= ", " = "),
    ("drops a negation", r"(?<![\w)])!(?=[\w(])", ""),
]
CALL = re.compile(r"^\s+(?:\(void\))?[A-Za-z_]\w*\(.*\);$")


def mutants_of(path: pathlib.Path) -> list[Mutant]:
    name = str(path.relative_to(ROOT))
    found = []
    for number, line in enumerate(path.read_text().splitlines()):
        if re.match(r"\s*(#|//|static_assert|using |namespace|template|SIGKIT_TRACE\()", line):
            continue
        if CALL.match(line):
            found.append(Mutant(name, number, "drops a call", line, ";"))
        for kind, pattern, replacement in RULES:
            for match in re.finditer(pattern, line):
                if any(a <= match.start() and match.end() <= b for a, b in code_spans(line)) or "if \\(" in pattern:
                    new = match.expand(replacement) if isinstance(replacement, str) else replacement(match)
                    after = line[:match.start()] + new + line[match.end():]
                    if after != line:
                        found.append(Mutant(name, number, kind, line, after))
    return found


def layer_of(path: str) -> str:
    parts = path.split("/")
    return "src" if parts[0] == "src" else parts[1]


class Workplace:
    """A copy of the tree with a build of its own."""

    def __init__(self, directory: pathlib.Path, layers: list[str]):
        self.tree = directory / "tree"
        self.build = directory / "build"
        ignored = shutil.ignore_patterns("build*", ".git")
        shutil.rmtree(self.tree, ignore_errors=True)  # of an earlier run; its build is used again
        shutil.copytree(ROOT, self.tree, ignore=ignored)
        for pattern in ("sigkit/**/*.cpp", "src/**/*.cpp", "src/*/*.h"):
            for source in self.tree.glob(pattern):
                source.touch()  # what was built of it last may have been a mutant
        self.seconds = {}  # that each program took before anything was broken
        self.layers = layers  # whose tests alone are run; none: all tests
        self.run(["cmake", "-S", self.tree, "-B", self.build, "-DCMAKE_BUILD_TYPE=Debug", "-DBUILD_TESTING=ON",
                  "-DCMAKE_CXX_FLAGS=-O1 -g0"], check=True, stderr=None)
        self.make(*(f"{layer}_test" for layer in layers), check=True, stderr=None)

    def run(self, command, stderr=subprocess.DEVNULL, **options):
        return subprocess.run([str(word) for word in command], stdout=subprocess.DEVNULL, stderr=stderr,
                              stdin=subprocess.DEVNULL, **options)

    def make(self, *targets, **options):
        chosen = [word for target in targets for word in ("--target", target)]
        return self.run(["cmake", "--build", self.build, "-j", os.cpu_count(), *chosen], **options)

    def programs(self) -> list[pathlib.Path]:
        return sorted(path for path in self.build.glob("tests/*/*_test")
                      if os.access(path, os.X_OK) and path.parent.name not in NOT_RUN
                      and (not self.layers or path.parent.name in self.layers))  # others may be of an earlier run

    def is_killed_by(self, program: pathlib.Path) -> bool:
        command = ["prlimit", f"--as={MEMORY_MAX}", program, "--gtest_fail_fast", "--gtest_brief=1",
                   f"--gtest_filter={TOO_LONG}"]
        start = time.monotonic()
        try:
            # Ten times what it took is more than the other jobs can slow it down.
            ended = self.run(command, timeout=30 + 10 * self.seconds.get(program, 60), cwd=program.parent)
        except subprocess.TimeoutExpired:
            return True
        self.seconds.setdefault(program, time.monotonic() - start)
        return ended.returncode != 0

    def test(self, layer: str) -> str:
        """Most mutants die by the tests of their own layer, so nothing else is built for them."""
        own = [path for path in self.programs() if path.parent.name == ("tool" if layer == "src" else layer)]
        others = [path for path in self.programs() if path not in own]
        for stage in (own, others):
            if not stage:
                continue
            if self.make(*(path.name for path in stage)).returncode != 0:
                return "does not compile"
            if any(self.is_killed_by(path) for path in stage):
                return "killed"
        return "survived"

    def judge(self, mutant: Mutant) -> str:
        path = self.tree / mutant.path
        original = path.read_text()
        lines = original.splitlines(keepends=True)
        lines[mutant.line] = mutant.after + "\n"
        path.write_text("".join(lines))
        try:
            return self.test(layer_of(mutant.path))
        finally:
            path.write_text(original)


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--sample", type=int, default=500, help="mutants that compile to judge; 0: all (default 500)")
    parser.add_argument("--only", default="", help="regular expression: judge only files whose path it is found in")
    parser.add_argument("--own", action="store_true", help="build and run only the tests of the layers of --only")
    parser.add_argument("--seed", type=int, default=1, help="chooses the sample (default 1)")
    parser.add_argument("--jobs", type=int, default=os.cpu_count())
    parser.add_argument("--least", type=float, default=90.0, help="percent to be killed (default 90)")
    parser.add_argument("--work", type=pathlib.Path, default=ROOT / "build" / "mutation")
    arguments = parser.parse_args()

    subprocess.run([ROOT / "scripts" / "bootstrap.sh", "build", "test"], check=True)
    sources = [path for layer in LAYERS for path in sorted((ROOT / "sigkit" / layer).rglob("*.cpp"))]
    sources += sorted((ROOT / "src").rglob("*.cpp")) + sorted((ROOT / "src").glob("*/*.h"))  # the latter hold code
    every = [mutant for path in sources for mutant in mutants_of(path)]
    chosen = [mutant for mutant in every if re.search(arguments.only, mutant.path)]
    random.Random(arguments.seed).shuffle(chosen)
    print(f"{len(chosen)} mutants can be made", flush=True)

    layers = sorted({layer_of(mutant.path) for mutant in chosen}) if arguments.own else []
    if "src" in layers:
        parser.error("--own: the tests of src are those of the whole tool")
    workplaces = queue.Queue()
    for number in range(arguments.jobs):
        workplaces.put(Workplace(arguments.work / str(number), layers))
    with concurrent.futures.ThreadPoolExecutor(arguments.jobs) as pool:
        for verdict in pool.map(lambda place: place.test(layers[0] if layers else "core"), list(workplaces.queue)):
            if verdict != "survived":
                sys.exit("the tests fail before anything is broken")

    counts = {"killed": 0, "survived": 0, "does not compile": 0}
    pending = iter(chosen)

    def judge_next():
        workplace = workplaces.get()
        try:
            while True:
                judged = counts["killed"] + counts["survived"]
                mutant = next(pending, None)
                if mutant is None or (arguments.sample and judged >= arguments.sample):
                    return
                verdict = workplace.judge(mutant)
                counts[verdict] += 1
                if verdict == "survived":
                    print(f"survived: {mutant}", flush=True)
        finally:
            workplaces.put(workplace)

    with concurrent.futures.ThreadPoolExecutor(arguments.jobs) as pool:
        for future in [pool.submit(judge_next) for _ in range(arguments.jobs)]:
            future.result()

    judged = counts["killed"] + counts["survived"]
    percent = 100.0 * counts["killed"] / judged if judged else 0.0
    print(f"{counts['killed']} of {judged} mutants killed ({percent:.1f} %), "
          f"{counts['does not compile']} did not compile")
    return 0 if percent >= arguments.least else 1


if __name__ == "__main__":
    sys.exit(main())
