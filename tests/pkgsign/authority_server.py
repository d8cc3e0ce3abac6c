#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

"""A timestamp authority over HTTP for the tests, and bad ones. It prints its port, and ends with its standard input.

Usage: authority_server.py DIRECTORY OPENSSL FAKETIME [CERTIFICATE KEY]

DIRECTORY holds timestamp.pem and timestamp.key, ec.pem and ec.key, ca.pem and chain.pem. Tokens are made by `openssl ts
-reply` under the clock of CLOCK. What a request gets follows from its path: see `Handler`. Each request is a line in
DIRECTORY/log: method, path, content type, user agent. With CERTIFICATE and KEY the server speaks TLS.
"""
import http.server
import os
import pathlib
import ssl
import subprocess
import sys
import tempfile
import threading
import time
import urllib.parse

CLOCK = "2026-02-01 00:00:00"
REPLY = "application/timestamp-reply"
CONFIGURATION = """[tsa]
default_tsa = authority
[authority]
serial = {scratch}/serial
default_policy = 1.3.6.1.4.1.99999.1
digests = {digests}
signer_digest = {signer_digest}
clock_precision_digits = {precision}
ess_cert_id_alg = sha256
"""

directory, openssl, faketime = pathlib.Path(sys.argv[1]), sys.argv[2], sys.argv[3]
attempts = {}


def reply(query: bytes, name: str = "timestamp", chain: str = "ca", digests: str = "sha256,sha384,sha512",
          signer_digest: str = "sha256", precision: int = 0) -> bytes:
    with tempfile.TemporaryDirectory() as scratch:
        folder = pathlib.Path(scratch)
        (folder / "query").write_bytes(query)
        (folder / "serial").write_text("01\n")
        (folder / "conf").write_text(CONFIGURATION.format(scratch=scratch, digests=digests,
                                                          signer_digest=signer_digest, precision=precision))
        subprocess.run([faketime, CLOCK, openssl, "ts", "-reply", "-config", folder / "conf", "-queryfile",
                        folder / "query", "-signer", directory / f"{name}.pem", "-inkey", directory / f"{name}.key",
                        "-chain", directory / f"{chain}.pem", "-out", folder / "answer"],
                       env=os.environ | {"TZ": "UTC"}, check=True, capture_output=True)
        return (folder / "answer").read_bytes()


def altered(octets: bytes, at: int) -> bytes:
    return octets[:at] + bytes([octets[at] ^ 1]) + octets[at + 1:]


def without_certificate(query: bytes) -> bytes:
    assert query[0] == 0x30 and query[1] < 0x80 and query[-3:] == b"\x01\x01\xff"
    return bytes([0x30, query[1] - 3]) + query[2:-3]


# The nonce stands in front of the three octets of certReq; the imprint's 32 octets behind 04 20.
TOKENS = {
    "/good": lambda query: reply(query),
    "/fraction": lambda query: reply(query, precision=3),
    "/three-certificates": lambda query: reply(query, chain="chain"),
    "/sha1": lambda query: reply(query, signer_digest="sha1"),
    "/elliptic-curve": lambda query: reply(query, name="ec"),
    "/rejection": lambda query: reply(query, digests="sha512"),
    "/other-nonce": lambda query: reply(altered(query, len(query) - 4)),
    "/other-imprint": lambda query: reply(altered(query, query.index(b"\x04\x20") + 2)),
    "/no-certificate": lambda query: reply(without_certificate(query)),
    "/stranger": lambda query: reply(query, name="stranger", chain="stranger"),
    "/no-answer": lambda query: b"hello",
}


class Handler(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def log_message(self, *arguments) -> None:
        pass

    def answer(self, status: int, body: bytes, **headers: str) -> None:
        self.send_response(status)
        for name, value in {"Content-Type": REPLY, "Content-Length": str(len(body)), **headers}.items():
            self.send_header(name.replace("_", "-"), value)
        self.end_headers()
        self.wfile.write(body)

    def do_POST(self) -> None:
        query = self.rfile.read(int(self.headers["Content-Length"]))
        path = urllib.parse.urlsplit(self.path).path
        attempts[path] = attempts.get(path, 0) + 1
        with open(directory / "log", "a") as log:
            log.write(f"{self.command} {self.path} {self.headers['Content-Type']} {self.headers['User-Agent']}\n")
        if path in TOKENS:
            self.answer(200, TOKENS[path](query))
        elif path == "/parameters":
            self.answer(200, reply(query), Content_Type="Application/Timestamp-Reply; charset=binary")
        elif path == "/type":
            self.answer(200, reply(query), Content_Type="text/html")
        elif path.startswith("/status/"):
            self.answer(int(path.removeprefix("/status/")), b"no")
        elif path == "/redirect":
            self.answer(307, b"", Location="/good")
        elif path.startswith("/later/"):  # the status, once or ever; what Retry-After says
            _, _, status, times, after = path.split("/", 4)
            if times == "ever" or attempts[path] == 1:
                self.answer(int(status), b"", Retry_After=urllib.parse.unquote(after))
            else:
                self.answer(200, reply(query))
        else:
            self.break_off(path)

    def break_off(self, path: str) -> None:
        """Ways to end otherwise than HTTP wants it."""
        self.close_connection = True
        if path == "/large":
            self.answer(200, bytes(70000))
        elif path == "/endless":
            self.send_response(200)
            self.send_header("Content-Type", REPLY)
            self.end_headers()
            self.pour(bytes(4096), 0)
        elif path == "/headers":
            self.wfile.write(b"HTTP/1.1 200 OK\r\n")
            self.pour(b"A: " + b"a" * 1000 + b"\r\n", 0)
        elif path == "/slow":
            self.wfile.write(b"HTTP/1.1 200 OK\r\n")
            self.pour(b"A: a\r\n", 0.05)
        elif path == "/cut":
            self.send_response(200)
            self.send_header("Content-Type", REPLY)
            self.send_header("Content-Length", "1000")
            self.end_headers()
            self.wfile.write(bytes(10))
        elif path == "/other-protocol":
            self.wfile.write(b"220 mail.invalid ESMTP\r\n")

    def pour(self, piece: bytes, pause: float) -> None:
        try:
            while True:
                self.wfile.write(piece)
                time.sleep(pause)
        except OSError:
            pass  # the client has had enough


def main() -> None:
    server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
    if len(sys.argv) > 4:
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(sys.argv[4], sys.argv[5])
        server.socket = context.wrap_socket(server.socket, server_side=True)
    threading.Thread(target=server.serve_forever, daemon=True).start()
    print(server.server_address[1], flush=True)
    sys.stdin.read()


if __name__ == "__main__":
    main()
