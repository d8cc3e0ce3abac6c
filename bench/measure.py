#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

"""Runs the verifier beside its peers and prints one of the tables of scripts/bench.sh, which builds what is run here.

Every ratio is one of medians of runs that took turns, so that whatever else the machine does hits both alike.
"""
import argparse
import dataclasses
import json
import os
import pathlib
import re
import shutil
import statistics
import subprocess
import sys
import tempfile

RUNS = 10  # of each command in a round, for what takes milliseconds
OWN_INSTRUCTIONS = 183000  # of the tool and the library for the small package; lower it when it falls
SMALL = 20000  # octets of the small package's checksum file
LARGE = 1000000000
STATIC_INSTRUCTIONS = 10300000  # of the static tool for the small package
STATIC_SIZE = 5000000  # octets of the static tool
SIGNING_MEMORY = 8000000 / 1024  # KiB
ENVIRONMENT = os.environ | {"QZLOG": "/dev/null"}

g_rounds = 15


@dataclasses.dataclass
class Row:
    figure: str
    ours: str
    peer: str
    theirs: str
    ratio: float | None
    wanted: float | None

    def is_reached(self) -> bool:
        return self.ratio is None or self.wanted is None or self.ratio <= self.wanted

    def __str__(self) -> str:
        ratio = "" if self.ratio is None else f"{self.ratio:.2f}"
        wanted = "" if self.wanted is None else f"≤ {self.wanted:.2f}"
        reached = "" if self.ratio is None or self.wanted is None else ("yes" if self.is_reached() else "no")
        return f"| {self.figure} | {self.ours} | {self.peer} | {self.theirs} | {ratio} | {wanted} | {reached} |"


def run(*command, **options) -> str:
    done = subprocess.run([str(word) for word in command], env=ENVIRONMENT, text=True, stdout=subprocess.PIPE,
                          stderr=subprocess.PIPE, **options)
    if done.returncode != 0:
        sys.exit(f"{' '.join(map(str, command))}: exit status {done.returncode}\n{done.stdout}{done.stderr}")
    return done.stdout + done.stderr


class Package:
    """A signed package, and the commands that verify it."""

    def __init__(self, build: pathlib.Path, directory: pathlib.Path, size: int):
        self.content, self.message = directory / "checksums", directory / "checksums.cms"
        self.crls, self.authorities = directory / "crls.der", directory / "authorities.pem"
        self.token, self.signature = directory / "token.der", directory / "signature"
        pkgsign, pki = build / "pkgsign" / "pkgsign", directory / "pki"
        shutil.copytree(build / "development-pki", pki)
        with self.content.open("wb") as file:
            for at in range(0, size, 1 << 20):
                file.write(os.urandom(min(1 << 20, size - at)))
        run(pkgsign, "sign", self.content, "--pki", pki, "--out", self.message)
        listing = run("openssl", "asn1parse", "-inform", "DER", "-in", self.message)
        token, signature = token_and_signature(self.message.read_bytes(), listing)
        self.token.write_bytes(token)
        self.signature.write_bytes(signature)
        run(pkgsign, "crl", "--pki", pki, "--out", self.crls)
        crls = [run("openssl", "crl", "-inform", "DER", "-in", pki / "crls" / name)
                for name in ("root.crl", "issuing-ca.crl")]
        certificates = [(pki / "certificates" / name).read_text() for name in ("root.pem", "issuing-ca.pem")]
        self.authorities.write_text("".join([*certificates, *crls]))
        self.sign = [pkgsign, "sign", self.content, "--pki", pki, "--crl", self.crls, "--out", directory / "signed"]
        self.cms_sign = ["openssl", "cms", "-sign", "-binary", "-in", self.content, "-outform", "DER", "-signer",
                         pki / "certificates" / "signer.pem", "-inkey", pki / "private" / "signer.key", "-certfile",
                         pki / "certificates" / "issuing-ca.pem", "-out", directory / "signed"]
        self.ours = [build / "src" / "verify_tool", "-f", "CHECK_PKG_INTEGRITY", "-e", self.content, "-h", self.message,
                     "-c", self.crls]
        self.static = [build / "static" / "src" / "verify_tool", *self.ours[1:]]
        self.cms = ["openssl", "cms", "-verify", "-inform", "DER", "-in", self.message, "-content", self.content,
                    "-binary", "-CAfile", self.authorities, "-crl_check_all", "-purpose", "any", "-out", "/dev/null"]
        self.ts = ["openssl", "ts", "-verify", "-token_in", "-in", self.token, "-data", self.signature,
                   "-CAfile", self.authorities]


def token_and_signature(message: bytes, listing: str) -> tuple[bytes, bytes]:
    """The timestamp token in a message, and the signature value that it is over, by openssl's listing."""
    places = [(line, *map(int, re.match(r" *(\d+):d=\d+ +hl=(\d+) l= *(\d+)", line).groups()))
              for line in listing.splitlines()]
    attribute = next(i for i, place in enumerate(places) if "timeStampToken" in place[0])
    value = next(place for place in reversed(places[:attribute]) if "OCTET STRING" in place[0])
    token, signature = places[attribute + 2], message[value[1] + value[2]:][:value[3]]
    return message[token[1]:][:token[2] + token[3]], signature


def time_commands(scratch: pathlib.Path, commands: list[list], rounds: int, runs: int) -> list[tuple[float, float]]:
    """Medians of wall time and of CPU time, in seconds."""
    result = scratch / "hyperfine.json"
    wall = [[] for _ in commands]
    cpu = [[] for _ in commands]
    texts = [" ".join(str(word) for word in command) for command in commands]
    for _ in range(rounds):
        run("hyperfine", "-N", "--warmup", 1 if runs > 1 else 0, "--runs", max(runs, 2), "--export-json", result,
            *texts)
        for index, measured in enumerate(json.loads(result.read_text())["results"]):
            wall[index] += measured["times"]
            cpu[index].append(measured["user"] + measured["system"])
    return [(statistics.median(w), statistics.median(c)) for w, c in zip(wall, cpu)]


def instructions(scratch: pathlib.Path, command: list) -> tuple[int, int]:
    """Instructions in user space: all of them, and those of the program's own code."""
    profile = scratch / "callgrind"
    text = run("valgrind", "--tool=callgrind", f"--callgrind-out-file={profile}", *command)
    functions = run("callgrind_annotate", "--threshold=100", profile)
    own = re.findall(rf"^ *([\d,]+) .*\[{re.escape(str(command[0]))}\]$", functions, re.M)
    return int(re.search(r"Collected : (\d+)", text)[1]), sum(int(count.replace(",", "")) for count in own)


def least_work(build: pathlib.Path, scratch: pathlib.Path, package: Package) -> tuple[int, list]:
    """The signature checks of a verification, and the command that does them and its digests and nothing else."""
    operations = scratch / "operations"
    root = build / "development-pki" / "certificates" / "root.der"
    counted = run(build / "bench" / "record_operations", root, package.content, package.message, package.crls,
                  operations)
    return int(re.search(r"(\d+) signature checks", counted)[1]), [build / "bench" / "least_work", operations]


def peak_memory(command: list) -> float:
    """Median of the most kilobytes that were resident."""
    return statistics.median(int(run("time", "-f", "%M", *command).split()[-1]) for _ in range(g_rounds))


def benchmarks(scratch: pathlib.Path, program: pathlib.Path, *options: str) -> dict[str, float]:
    """Median CPU times in nanoseconds."""
    result = scratch / "benchmark.json"
    run(program, f"--benchmark_out={result}", "--benchmark_out_format=json", f"--benchmark_repetitions={g_rounds}",
        "--benchmark_report_aggregates_only=true", *options)
    report = json.loads(result.read_text())
    scale = {"ns": 1, "us": 1e3, "ms": 1e6}
    medians = [entry for entry in report["benchmarks"] if entry.get("aggregate_name", "median") == "median"]
    return {entry["run_name"]: entry["cpu_time"] * scale[entry["time_unit"]] for entry in medians}


def process_rows(build: pathlib.Path, scratch: pathlib.Path, small: Package) -> list[Row]:
    ours, static, cms, ts = time_commands(scratch, [small.ours, small.static, small.cms, small.ts], g_rounds, RUNS)
    rows = []
    for index, kind in ((0, "wall time"), (1, "CPU time")):
        mine, verify, both = (value[index] * 1e3 for value in (ours, cms, (cms[0] + ts[0], cms[1] + ts[1])))
        rows.append(Row(f"small package, {kind}", f"{mine:.2f} ms", "`openssl cms -verify -crl_check_all`",
                        f"{verify:.2f} ms", mine / verify, 0.60))
        rows.append(Row(f"small package, {kind}", f"{mine:.2f} ms", "the same, then `openssl ts -verify`",
                        f"{both:.2f} ms", mine / both, 0.35))
    rows.append(Row("static tool, small package, wall time", f"{static[0] * 1e3:.2f} ms",
                    "`openssl cms -verify -crl_check_all`", f"{cms[0] * 1e3:.2f} ms", static[0] / cms[0], 0.42))
    return rows


def instruction_rows(build: pathlib.Path, scratch: pathlib.Path, small: Package) -> list[Row]:
    """Counts, which other than times are the same on a busy machine."""
    checks, alone = least_work(build, scratch, small)
    mine, own = instructions(scratch, small.ours)
    static, _ = instructions(scratch, small.static)
    least, _ = instructions(scratch, alone)
    # The least: each certificate below the root and each CRL under its issuer's key, the root under its own, the token
    # and the message.
    needed = 3 + 2 + 1 + 2
    return [Row("small package, instructions", f"{mine / 1e6:.2f} million", "a program of its digests and RSA alone",
                f"{least / 1e6:.2f} million", mine / least, 1.10),
            Row("of these the tool's and the library's own", f"{own / 1e6:.3f} million", "the recorded count",
                f"{OWN_INSTRUCTIONS / 1e6:.3f} million", own / OWN_INSTRUCTIONS, 1.10),
            Row("static tool, small package, instructions", f"{static / 1e6:.2f} million", "10.3 million",
                f"{STATIC_INSTRUCTIONS / 1e6:.2f} million", static / STATIC_INSTRUCTIONS, 1.0),
            Row("small package, RSA operations", str(checks), "what its answer needs", str(needed), checks / needed, 1)]


def content_rows(build: pathlib.Path, scratch: pathlib.Path, small: Package) -> list[Row]:
    large = Package(build, scratch / "large", LARGE)
    os.sync()  # or the system writes it out while it is read
    digest = ["openssl", "dgst", "-sha256", large.content]
    ours, dgst, signing, cms_signing = time_commands(scratch, [large.ours, digest, large.sign, large.cms_sign],
                                                     g_rounds, 1)
    rows = [Row("1 GB of content, wall time", f"{ours[0]:.3f} s", "`openssl dgst -sha256`", f"{dgst[0]:.3f} s",
                ours[0] / dgst[0], 1.03),
            Row("1 GB of content, signing, wall time", f"{signing[0]:.3f} s", "`openssl dgst -sha256`",
                f"{dgst[0]:.3f} s", signing[0] / dgst[0], 1.15),
            Row("1 GB of content, signing, wall time", f"{signing[0]:.3f} s", "`openssl cms -sign`",
                f"{cms_signing[0]:.3f} s", signing[0] / cms_signing[0], None)]
    memory = {}
    for name, package in (("small package", small), ("1 GB of content", large)):
        mine, theirs = peak_memory(package.ours), peak_memory(package.cms)
        memory[name] = mine
        rows.append(Row(f"{name}, peak memory", f"{mine:.0f} KiB", "`openssl cms -verify`", f"{theirs:.0f} KiB",
                        mine / theirs, 0.60))
    _, alone = least_work(build, scratch, small)
    mine, theirs = peak_memory(small.static), peak_memory(small.cms)
    rows.append(Row("static tool, small package, peak memory", f"{mine:.0f} KiB", "`openssl cms -verify`",
                    f"{theirs:.0f} KiB", mine / theirs, 0.55))
    mine, theirs = memory["small package"], peak_memory(alone)
    rows.append(Row("small package, peak memory", f"{mine:.0f} KiB", "a program of its digests and RSA alone",
                    f"{theirs:.0f} KiB", mine / theirs, None))
    mine, theirs = peak_memory(large.sign), peak_memory(large.cms_sign)
    rows.append(Row("1 GB of content, signing, peak memory", f"{mine:.0f} KiB", "8 MB", f"{SIGNING_MEMORY:.0f} KiB",
                    mine / SIGNING_MEMORY, 1.0))
    rows.append(Row("1 GB of content, signing, peak memory", f"{mine:.0f} KiB", "`openssl cms -sign`",
                    f"{theirs:.0f} KiB", mine / theirs, None))
    mine, theirs = memory["1 GB of content"], memory["small package"]
    rows.append(Row("1 GB of content, peak memory", f"{mine:.0f} KiB", "the small package", f"{theirs:.0f} KiB",
                    mine / theirs, 1.03))
    return rows


def decoder_rows(build: pathlib.Path, scratch: pathlib.Path, _: Package) -> list[Row]:
    times = benchmarks(scratch, build / "bench" / "decoders", "--benchmark_min_time=0.05",
                       "--benchmark_enable_random_interleaving=true")
    rows = []
    for name, figure, peer, wanted in (
            ("Certificate", "certificate, decode and free", "`d2i_X509`, `X509_free`", 0.15),
            ("Crl", "CRL of 20 entries, decode and free", "`d2i_X509_CRL`, `X509_CRL_free`", 0.15),
            ("SignedData", "SignedData, decode and free", "`d2i_CMS_ContentInfo`, `CMS_ContentInfo_free`", 0.15),
            ("Base64", "Base64 of 1 MB", "`EVP_DecodeBlock`", 1.0)):
        mine, theirs = times[name], times[name + "ByLibcrypto"]
        rows.append(Row(figure, f"{mine / 1e3:.2f} µs", peer, f"{theirs / 1e3:.2f} µs", mine / theirs, wanted))
    return rows


def stripped_size(scratch: pathlib.Path, program: pathlib.Path) -> int:
    run("strip", "-o", scratch / "stripped", program)
    return (scratch / "stripped").stat().st_size


def size_rows(build: pathlib.Path, scratch: pathlib.Path, _: Package) -> list[Row]:
    library = stripped_size(scratch, build / "shared" / "sigkit" / "libsigkit.so.2")
    tool = stripped_size(scratch, build / "src" / "verify_tool")
    static = stripped_size(scratch, build / "static" / "src" / "verify_tool")
    return [Row("library, stripped", f"{library / 1024:.1f} KiB", "64 KiB", "64.0 KiB", library / 65536, 1.0),
            Row("tool, stripped", f"{tool / 1024:.1f} KiB", "", "", None, None),
            Row("static tool, stripped", f"{static / 1e6:.2f} MB", "5 MB", f"{STATIC_SIZE / 1e6:.2f} MB",
                static / STATIC_SIZE, 1.0)]


GROWTH = (("Crls", "crls", "CRLs in the store", ""),
          ("Chain", "chain", "certificates from the root to the signer", ""),
          ("Content", "content", "octets of content", "set logscale xy"))


def print_costs(build: pathlib.Path, scratch: pathlib.Path, kinds: tuple) -> list[Row]:
    small = Package(build, scratch / "small", SMALL)
    print("| figure | verifier | peer | | ratio | to reach | reached |\n|---|---:|---|---:|---:|---:|---|")
    rows = []
    for measure_rows in kinds:
        for row in measure_rows(build, scratch, small):
            print(row, flush=True)
            rows.append(row)
    return rows


def print_growth(build: pathlib.Path, scratch: pathlib.Path, pictures: pathlib.Path | None) -> None:
    """Prints how the cost grows, in microseconds, and draws it."""
    times = benchmarks(scratch, build / "bench" / "growth", "--benchmark_min_time=0.02")
    for name, short, axis, options in GROWTH:
        points = [(int(key.split("/")[1]), value / 1e3) for key, value in times.items() if key.startswith(name + "/")]
        print(f"| {axis} |" + "".join(f" {x} |" for x, _ in points) + "\n|---|" + "---:|" * len(points))
        print("| µs |" + "".join(f" {y:.0f} |" for _, y in points) + "\n")
        if pictures is None:
            continue
        data = scratch / f"{short}.dat"
        data.write_text("".join(f"{x} {y:.1f}\n" for x, y in points))
        run("gnuplot", "-e", f"""
            set terminal svg size 640,360 dynamic background rgb 'white';
            set output '{pictures / f"growth-{short}.svg"}';
            set xlabel '{axis}'; set ylabel 'microseconds'; set grid; unset key; {options};
            {'' if options else 'set yrange [0:*];'}
            plot '{data}' using 1:2 with linespoints pointtype 7 linecolor rgb '#20607f'""")


def main() -> int:
    """Exits with 1 when there are more instructions than should be."""
    global g_rounds
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("table", choices=("costs", "instructions", "growth"))
    parser.add_argument("--rounds", type=int, default=g_rounds)
    parser.add_argument("--pictures", type=pathlib.Path, help="directory to draw the growth into")
    arguments = parser.parse_args()
    g_rounds = arguments.rounds
    with tempfile.TemporaryDirectory() as name:
        build, scratch = arguments.build.resolve(), pathlib.Path(name)
        if arguments.table == "growth":
            print_growth(build, scratch, arguments.pictures)
            return 0
        if arguments.table == "instructions":
            return 0 if all(row.is_reached() for row in print_costs(build, scratch, (instruction_rows,))) else 1
        kinds = (process_rows, instruction_rows, content_rows, decoder_rows, size_rows)
        print_costs(build, scratch, kinds)
        print(f"\nMedians of {g_rounds} round{'s' * (g_rounds != 1)} in which the programs take turns, "
              f"of {RUNS} runs each where one takes milliseconds.")
    return 0


if __name__ == "__main__":
    sys.exit(main())
