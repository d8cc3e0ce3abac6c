#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

"""Measures the timestamp server under wrk on loopback, and prints the table `serve` of scripts/bench.sh.

Ratios are medians of rounds in which server and peer take turns, so that whatever else the machine does hits both.
"""
import argparse
import datetime
import json
import os
import pathlib
import re
import socket
import statistics
import subprocess
import tempfile
import time
import urllib.request

from measure import Row, run

SECONDS = 3  # of each measurement
KEYS = {2048: 1.20, 3072: 1.06}  # bits, and the ratio to reach
SLOW_CLIENTS = 500
REQUESTS = 100000  # after which memory must not have grown
CLAIMED = 1500000000  # octets of a body that never comes
MEBIBYTE = 1024  # in KiB
TICKS = os.sysconf("SC_CLK_TCK")

LOAD = """wrk.method = "POST"
wrk.headers["Content-Type"] = "application/timestamp-query"
local file = io.open("{}", "rb")
wrk.body = file:read("*a")
file:close()
"""


class Server:
    """A server with a key of so many bits, for as long as the scope lasts."""

    def __init__(self, program: pathlib.Path, directory: pathlib.Path, bits: int):
        self.pki = directory / f"pki-{bits}"
        self.log = (directory / f"log-{bits}").open("wb")
        yesterday = datetime.date.today() - datetime.timedelta(days=1)
        run(program, "init", self.pki, "--no-encryption", "--key-bits", bits, "--not-before", yesterday)
        self.process = subprocess.Popen([program, "serve", "--pki", self.pki, "--listen", "127.0.0.1:0"],
                                        stdout=subprocess.PIPE, stderr=self.log, text=True)
        self.url = self.process.stdout.readline().split()[-1]
        self.port = int(re.search(r":(\d+)/$", self.url)[1])

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.terminate()
        self.process.wait()
        self.log.close()

    def granted(self) -> int:
        with urllib.request.urlopen(f"{self.url}health") as answer:
            return json.load(answer)["granted"]

    def cpu(self) -> float:
        """Seconds, in user and in system mode."""
        fields = pathlib.Path(f"/proc/{self.process.pid}/stat").read_text().rpartition(")")[2].split()
        return (int(fields[11]) + int(fields[12])) / TICKS

    def memory(self) -> int:
        """KiB that are resident."""
        return int(re.search(r"VmRSS:\s+(\d+)", pathlib.Path(f"/proc/{self.process.pid}/status").read_text())[1])


def load(server: Server, script: pathlib.Path, connections: int, seconds: int = SECONDS) -> str:
    text = run("wrk", "-t1", f"-c{connections}", f"-d{seconds}s", "--latency", "-s", script, server.url)
    if "Non-2xx" in text or "Socket errors" in text:
        raise SystemExit(f"bench/serve.py: the server does not keep up\n{text}")
    return text


def cpu_per_token(server: Server, script: pathlib.Path) -> float:
    cpu, tokens = server.cpu(), server.granted()
    load(server, script, 16)
    return (server.cpu() - cpu) / (server.granted() - tokens)


def cpu_per_signature(bits: int) -> float:
    """CPU time of one signature by openssl speed, which is that of its user mode: on all cores, as the server works,
    since a core is slower while another one is busy."""
    done = re.search(rf"^rsa +{bits} bits +(?:[\d.]+s +)+([\d.]+)",
                     run("openssl", "speed", "-multi", os.cpu_count(), "-seconds", SECONDS, f"rsa{bits}"), re.MULTILINE)
    return os.cpu_count() / float(done[1])


def cost_row(server: Server, script: pathlib.Path, bits: int, rounds: int) -> Row:
    tokens, signatures = [], []
    for _ in range(rounds):
        tokens.append(cpu_per_token(server, script))
        signatures.append(cpu_per_signature(bits))
    mine, theirs = statistics.median(tokens), statistics.median(signatures)
    return Row(f"RSA-{bits}, CPU time of a token", f"{mine * 1e6:.0f} µs",
               f"`openssl speed -multi {os.cpu_count()}`, a signature", f"{theirs * 1e6:.0f} µs", mine / theirs,
               KEYS[bits])


def rate_row(server: Server, script: pathlib.Path, bits: int) -> Row:
    rate = float(re.search(r"Requests/sec:\s+([\d.]+)", load(server, script, 16))[1])
    return Row(f"RSA-{bits}, tokens a second on {os.cpu_count()} cores, wrk's work beside", f"{rate:.0f}", "", "", None,
               None)


def latency_row(server: Server, script: pathlib.Path, bits: int) -> Row:
    found = re.search(r"50%\s+([\d.]+)(us|ms|s)", load(server, script, 1))
    mine = float(found[1]) * {"us": 1e-3, "ms": 1, "s": 1e3}[found[2]]
    return Row(f"RSA-{bits}, one connection, half of the answers within", f"{mine:.2f} ms", "3 ms", "3.00 ms", mine / 3,
               1)


def post_of(body: bytes) -> bytes:
    return (b"POST / HTTP/1.1\r\nHost: localhost\r\nContent-Type: application/timestamp-query\r\nContent-Length: "
            + str(len(body)).encode() + b"\r\n\r\n" + body)


def time_of_answer(server: Server, request: bytes) -> float:
    """Milliseconds of a request on a new connection."""
    begin = time.monotonic()
    with socket.create_connection(("127.0.0.1", server.port)) as client:
        client.sendall(post_of(request))
        if b" 200 " not in client.recv(65536):
            raise SystemExit("bench/serve.py: no answer")
    return (time.monotonic() - begin) * 1e3


def slow_row(server: Server, request: bytes) -> Row:
    clients = [socket.create_connection(("127.0.0.1", server.port)) for _ in range(SLOW_CLIENTS)]
    for client in clients:
        client.sendall(post_of(request)[:-1])  # and never the last octet
    mine = statistics.median(time_of_answer(server, request) for _ in range(100))
    for client in clients:
        client.close()
    return Row(f"beside {SLOW_CLIENTS} slow clients, half of the answers within", f"{mine:.2f} ms", "20 ms", "20.00 ms",
               mine / 20, 1)


def claim_row(server: Server) -> Row:
    before = server.memory()
    clients = []
    for _ in range(100):
        client = socket.create_connection(("127.0.0.1", server.port))
        client.sendall(post_of(b"").replace(b"Content-Length: 0", f"Content-Length: {CLAIMED}".encode()))
        if b" 413 " not in client.recv(65536):
            raise SystemExit("bench/serve.py: a body of 1.5 GB is not refused")
        clients.append(client)
    grown = max(0, server.memory() - before)
    for client in clients:
        client.close()
    return Row("memory for 100 claimed bodies of 1.5 GB", f"{grown} KiB", "1 MiB", f"{MEBIBYTE} KiB", grown / MEBIBYTE,
               1)


def growth_row(server: Server, script: pathlib.Path) -> Row:
    load(server, script, 16)
    before, begin = server.memory(), server.granted()
    while server.granted() < begin + REQUESTS:
        load(server, script, 16)
    grown = max(0, server.memory() - before)
    return Row(f"memory for {REQUESTS:,} more requests", f"{grown} KiB", "1 MiB", f"{MEBIBYTE} KiB", grown / MEBIBYTE,
               1)


def measure(build: pathlib.Path, scratch: pathlib.Path, rounds: int) -> list[Row]:
    data, query, script = scratch / "data", scratch / "query", scratch / "load.lua"
    data.write_bytes(os.urandom(256))
    run("openssl", "ts", "-query", "-data", data, "-sha256", "-cert", "-out", query)
    script.write_text(LOAD.format(query))
    rows = []
    for bits in KEYS:
        with Server(build / "pkgsign" / "pkgsign", scratch, bits) as server:
            rows += [cost_row(server, script, bits, rounds), rate_row(server, script, bits),
                     latency_row(server, script, bits)]
            if bits == min(KEYS):
                rows += [slow_row(server, query.read_bytes()), claim_row(server), growth_row(server, script)]
    return rows


def main() -> None:
    parser = argparse.ArgumentParser()
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("--rounds", type=int, default=15)
    arguments = parser.parse_args()
    print("| figure | server | peer | | ratio | to reach | reached |\n|---|---:|---|---:|---:|---:|---|")
    with tempfile.TemporaryDirectory() as scratch:
        for row in measure(arguments.build, pathlib.Path(scratch), arguments.rounds):
            print(row, flush=True)
    print(f"\nMedians of {arguments.rounds} rounds in which server and peer take turns; 16 connections kept alive.")


if __name__ == "__main__":
    main()
