#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

"""Runs pkgsign check and verify_tool on packages and compares: status and exit status are the same, the step that check
names is one that can lead to that status, its JSON follows the closed schema, and page and text are written.

Usage: check_agrees.py PKGSIGN VERIFY_TOOL SCHEMA [--altered COUNT]

Without --altered the packages are the public vectors; with it, vectors that are altered at random, by a fixed seed.
"""
import argparse
import collections
import concurrent.futures
import json
import os
import pathlib
import random
import re
import subprocess
import sys
import tempfile

PROJECT = pathlib.Path(__file__).resolve().parent.parent.parent
VECTORS = PROJECT / "vectors"
sys.path.insert(0, str(PROJECT / "tests" / "vectors"))
import check_schema  # noqa: E402

ROLES = ("root", "crls", "signature", "content")
READING = {"signature-file", "crl-file", "content"}
PATHS = {"authority-path", "signer-path"}
TAKING = {"message-certificates", "token-certificates"}
SIGNATURES = {"token-signature", "signature"}

# The steps that may yield a status, by the status.
STEPS = {
    "88000002": SIGNATURES,
    "88000101": READING, "88000102": READING, "88000104": READING, "88000106": READING,
    "88000201": {"token-content"},
    "88000301": {"token-time"} | PATHS,
    "88000501": {"crl-file"} | TAKING,
    "88100001": {"token", "token-content", "token-signature"} | TAKING | PATHS,
    "88200002": PATHS,
    "88200003": {"signature"},
    "88200004": PATHS,
    "88200007": {"authority-usage", "signer-usage"},
    "88200012": PATHS, "88200013": PATHS, "88200014": PATHS, "88200018": PATHS,
    "88200016": {"token-imprint"},
    "88200102": {"crl-file"},
    "88200201": {"signature"},
    "88200301": {"signer"},
    "88200305": {"signature-file"},
    "88200307": {"content"},
    "88200308": {"signature-file"},
    "88200309": SIGNATURES,
    "88200310": TAKING | PATHS | SIGNATURES,
    "88200312": {"token"} | SIGNATURES,
    "88200401": {"authority"},
    "88200402": {"token-imprint"},
    "88200403": {"token-signature"},
    "88300001": {"token-content"}, "88300003": {"token-content"}, "88300101": {"token-content"},
    "88300401": {"token-content"},
    "ffffffff": {"content", "signature"},
}

# Causes that say the same as a status, where the status says it all.
CAUSES = {
    "88200002": {"certificate-revoked"},
    "88200004": {"certificate-without-root"},
    "88200012": {"crl-expired", "crl-missing", "crl-of-root-missing", "crl-unusable"},
    "88200013": {"certificate-not-yet-valid"},
    "88200014": {"certificate-expired"},
    "88200301": {"signer-missing", "message-without-certificates"},
    "88200402": {"token-of-another-signature"},
    "88200401": {"authority-missing"},
    "88200007": {"signer-usage", "signer-is-authority", "authority-usage"},
    "ffffffff": {"content-differs", "content-converted", "content-other-file", "signature-wrong", "signature-pss"},
}


def run(command: list, **options) -> subprocess.CompletedProcess:
    return subprocess.run([str(part) for part in command], capture_output=True, timeout=120, check=False, **options)


def ask_tool(tool: str, files: dict, directory: pathlib.Path) -> tuple[str, int]:
    done = run([tool, "-f", "CHECK_PKG_INTEGRITY", "-h", files["signature"], "-e", files["content"], "-c",
                files["crls"]], cwd=directory, env=dict(os.environ, QZLOG="stderr"))
    status = re.search(rb"Execute ret.(-?[0-9]+)", done.stderr)
    return f"{int(status[1]) & 0xFFFFFFFF:08x}", done.returncode


def compare(arguments: argparse.Namespace, name: str, files: dict, directory: pathlib.Path) -> tuple[list[str], str]:
    """What is wrong, and the status."""
    page = directory / f"{re.sub('[^A-Za-z0-9]', '_', name)}.html"
    command = [arguments.pkgsign, "check", files["content"], "--root", files["root"], "--crl", files["crls"],
               "--signature", files["signature"]]
    done = run(command + ["--json", "--html", page], cwd=directory)
    if done.returncode not in (0, 1) or done.stderr:
        return [f"{name}: ended with {done.returncode}: {done.stderr.decode(errors='replace')}"], ""
    found = json.loads(done.stdout)
    status, exit_status = ask_tool(arguments.tool, files, directory)
    problems = check_schema.Validator(arguments.rules).check(found, arguments.rules, "")
    if (found["status"], found["exitStatus"]) != (status, exit_status):
        problems.append(f"{found['status']} and {found['exitStatus']}; verify_tool has {status} and {exit_status}")
    if found["authentic"] != (status == "00000000") or done.returncode != (0 if found["authentic"] else 1):
        problems.append(f"authentic: {found['authentic']}, exit status {done.returncode}")
    failed = [step for step in found["steps"] if step["state"] == "failed"]
    if [step["name"] for step in failed] != ([] if found["authentic"] else [found["failedStep"]]):
        problems.append(f"steps that failed: {[step['name'] for step in failed]}; named: {found['failedStep']}")
    if not found["authentic"]:
        after = [step["state"] for step in found["steps"]][found["steps"].index(failed[0]) + 1:] if failed else []
        if any(state != "not reached" for state in after):
            problems.append("a step behind the one that failed was reached")
        if found["failedStep"] not in STEPS.get(status, ()):
            problems.append(f"{status} does not come from {found['failedStep']}")
        if failed and failed[0]["status"] != status:
            problems.append(f"the step has {failed[0]['status']}")
        if status in CAUSES and found["causeCode"] not in CAUSES[status]:
            problems.append(f"{status} by {found['causeCode']}")
    elif found["cause"] is not None:
        problems.append(f"a cause: {found['cause']}")
    html = page.read_text(encoding="utf-8")
    page.unlink()
    if "</html>" not in html or "<script" in html or status not in html and not found["authentic"]:
        problems.append("the page is not whole")
    return [f"{name}: {problem}" for problem in problems], status


def vectors() -> list[tuple[str, dict]]:
    cases = json.loads((VECTORS / "vectors.json").read_text())["cases"]
    usable = [case for case in cases if "other_root" not in case["features"]]
    return [(case["id"], {role: VECTORS / case["files"][role] for role in ROLES} | {"padding": case["padding"]})
            for case in usable]


def alter(octets: bytes, chance: random.Random) -> bytes:
    """Turns a bit, or changes, drops, doubles or moves some octets."""
    place = chance.randrange(len(octets)) if octets else 0
    size = chance.choice((1, 1, 2, 8, 40))
    way = chance.randrange(6)
    if way == 0:
        return octets[:place] + bytes([octets[place] ^ (1 << chance.randrange(8))]) + octets[place + 1:]
    if way == 1:
        return octets[:place] + chance.randbytes(size) + octets[place + size:]
    if way == 2:
        return octets[:place] + octets[place + size:]
    if way == 3:
        return octets[:place] + octets[place:place + size] + octets[place:]
    if way == 4:
        return octets[:place]
    other = chance.randrange(len(octets) or 1)
    return octets[:place] + octets[other:other + size] + octets[place + size:]


def altered(count: int, directory: pathlib.Path) -> list[tuple[str, dict]]:
    chance = random.Random(20260101)
    whole = [case for case in vectors() if not case[1]["padding"]]
    good = [case for case in whole if case[0].endswith("::good")] or whole
    packages = []
    for number in range(count):
        name, files = chance.choice(good if number % 2 else whole)
        files = dict(files)
        if chance.randrange(4) == 0:  # of another package
            role = chance.choice(("crls", "signature", "content"))
            files[role] = chance.choice(whole)[1][role]
        role = chance.choice(("crls", "crls", "signature", "signature", "signature", "content"))
        path = directory / f"{number}.{role}"
        octets = files[role].read_bytes()
        for _ in range(chance.choice((1, 1, 2))):
            octets = alter(octets, chance) if octets else b""
        path.write_bytes(octets)
        packages.append((f"{number} ({name}, {role})", files | {role: path}))
    return packages


def prepare(files: dict, number: int, directory: pathlib.Path) -> dict:
    """The files under short names, as the tool cuts long ones, and padded where a case wants them longer."""
    padding = files.pop("padding")
    short = {role: directory / f"p{number}.{role}" for role in ROLES}
    for role, path in short.items():
        path.symlink_to(files[role])
    if padding:
        path, raw = short[padding["file"]], files[padding["file"]].read_bytes()
        path.unlink()
        path.write_bytes(raw + bytes([padding["octet"]]) * (padding["size"] - len(raw)))
    return short


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("pkgsign", type=os.path.abspath)
    parser.add_argument("tool", type=os.path.abspath)
    parser.add_argument("schema", type=pathlib.Path)
    parser.add_argument("--altered", type=int, default=0, metavar="COUNT")
    arguments = parser.parse_args()
    arguments.rules = json.loads(arguments.schema.read_text())
    problems = check_schema.check_closed(arguments.rules)
    with tempfile.TemporaryDirectory() as name:
        directory = pathlib.Path(name)
        packages = altered(arguments.altered, directory) if arguments.altered else vectors()
        packages = [(name, prepare(files, number, directory)) for number, (name, files) in enumerate(packages)]
        with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
            results = list(pool.map(lambda package: compare(arguments, *package, directory), packages))
    statuses = collections.Counter(status for _, status in results)
    problems += [problem for found, _ in results for problem in found]
    print(f"{len(packages)} packages:", ", ".join(f"{status} {count}" for status, count in sorted(statuses.items())))
    print("\n".join(problems), end="\n" if problems else "")
    if len(packages) < 100 or len(statuses) < 8:
        print("too few packages, or too much alike")
        return 1
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
