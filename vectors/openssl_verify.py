#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

"""Verifies a package with the openssl program alone: openssl_verify.py ROOT CRLS SIGNATURE CONTENT

As somebody would who has nothing else: `openssl ts -verify` for the token, `openssl cms -verify` for the signature,
both at the token's time and with CRLs for every certificate. What the commands leave out, and their manuals say so, is
added: the token is taken out of the message, its time out of the token, and of the signer's certificate the purpose
codeSigning is looked for, which `openssl cms` does not ask for before version 3.2.

Exit status: 0 the package is authentic, 1 it is not; standard error says why.
"""
import base64
import datetime
import pathlib
import re
import subprocess
import sys
import tempfile

import der

TOKEN = "1.2.840.113549.1.9.16.2.14"
POLICY = ["-crl_check_all", "-extended_crl", "-auth_level", "2"]


class Refused(Exception):
    """The package is not authentic; the text says why."""


def openssl(*arguments: str) -> str:
    done = subprocess.run(["openssl", *arguments], capture_output=True, text=True, errors="replace")
    if done.returncode != 0:
        raise Refused(f"openssl {arguments[0]}: {done.stderr.strip()}")
    return done.stdout


# ---- Files as openssl wants them -----------------------------------------------------------------------------------

def armour(label: str, octets: bytes) -> str:
    return f"-----BEGIN {label}-----\n{base64.encodebytes(octets).decode()}-----END {label}-----\n"


def is_crl(octets: bytes) -> bool:
    return der.read(octets).members()[0].members()[0].tag != 0xA0  # certificates of version 3 begin with [0]


def is_self_issued(octets: bytes) -> bool:
    members = der.read(octets).members()[0].members()
    return members[3].whole == members[5].whole


def blocks_of(text: str) -> list[tuple[str, bytes | None, str]]:
    """The label, the octets and the text of each PEM block; no octets where the Base64 is damaged."""
    found = []
    for match in re.finditer(r"-----BEGIN ([^-]*)-----(.*?)-----END \1-----", text, re.S):
        try:
            octets = base64.b64decode(re.sub(r"\s", "", match[2]), validate=True)
        except ValueError:
            octets = None
        found.append((match[1], octets, match[0] + "\n"))
    return found


def crls_and_authorities(path: pathlib.Path) -> str:
    """What the CRL file holds, for the file of trusted certificates: there openssl looks for CRLs and for the CAs of a
    path alike, and trusts none but self-signed ones, which are left out."""
    octets = path.read_bytes()
    if b"-----BEGIN" in octets:
        return "".join(text for label, inner, text in blocks_of(octets.decode("latin-1")) if label == "X509 CRL" or
                       label == "CERTIFICATE" and inner is not None and not is_self_issued(inner))
    wholes = [element.whole for element in der.read_all(octets)]
    return "".join(armour("X509 CRL" if is_crl(one) else "CERTIFICATE", one) for one in wholes
                   if is_crl(one) or not is_self_issued(one))


# ---- The token -----------------------------------------------------------------------------------------------------

def carried_authorities(message: bytes) -> str:
    """The certificates of a message: openssl does not go on from a trusted file to those that the message brings."""
    found = []
    for member in der.read(message).members()[1].members()[0].members():
        found += [one.whole for one in member.members() if one.tag == 0x30] if member.tag == 0xA0 else []
    return "".join(armour("CERTIFICATE", one) for one in found if not is_self_issued(one))


def take_apart(message: bytes) -> tuple[bytes, bytes]:
    """The token and the signature value of the one signer of a message."""
    signed_data = der.read(message).members()[1].members()[0]
    signers = signed_data.members()[-1].members()
    if len(signers) != 1:
        raise Refused(f"there are {len(signers)} signers")
    members = signers[0].members()
    if members[-1].tag != 0xA1:
        raise Refused("there is no token")
    tokens = [value for attribute in members[-1].members() if der.identifier(attribute.members()[0]) == TOKEN
              for value in attribute.members()[1].members()]
    if len(tokens) != 1:
        raise Refused(f"there are {len(tokens)} tokens")
    return tokens[0].whole, members[-2].content


def time_of(token: pathlib.Path) -> str:
    text = openssl("ts", "-reply", "-token_in", "-in", str(token), "-text")
    found = re.search(r"^Time stamp: (\w+ +\d+ \d+:\d+:\d+)(?:\.\d+)? (\d+) GMT$", text, re.M)
    if found is None:
        raise Refused("the token has no time that can be read")
    time = datetime.datetime.strptime(f"{found[1]} {found[2]} +0000", "%b %d %H:%M:%S %Y %z")
    return str(int(time.timestamp()))


# ---- The checks ----------------------------------------------------------------------------------------------------

def check_signer(certificate: pathlib.Path) -> None:
    text = openssl("x509", "-in", str(certificate), "-noout", "-ext", "keyUsage,extendedKeyUsage")
    if "Code Signing" not in text:
        raise Refused("the signer's certificate is not for code signing")
    if "Key Usage: " in text.replace("Extended Key Usage: ", "") and "Digital Signature" not in text:
        raise Refused("the signer's key is not for digital signatures")


def verify(root: str, crls: str, signature: str, content: str, scratch: pathlib.Path) -> None:
    trusted, token, value, signer, message = (
        scratch / name for name in ("trusted.pem", "token", "value", "signer.pem", "message"))
    form = "PEM" if b"-----BEGIN" in pathlib.Path(signature).read_bytes() else "DER"
    openssl("cms", "-cmsout", "-inform", form, "-in", signature, "-outform", "DER", "-out", str(message))
    token_octets, value_octets = take_apart(message.read_bytes())
    blocks = armour("CERTIFICATE", pathlib.Path(root).read_bytes()) + crls_and_authorities(pathlib.Path(crls))
    blocks += carried_authorities(message.read_bytes()) + carried_authorities(token_octets)
    trusted.write_text(blocks, encoding="latin-1", newline="")
    token.write_bytes(token_octets)
    value.write_bytes(value_octets)
    policy = ["-attime", time_of(token), *POLICY, "-CAfile", str(trusted)]
    openssl("ts", "-verify", "-token_in", "-in", str(token), "-data", str(value), *policy)
    openssl("cms", "-verify", "-binary", "-inform", form, "-in", signature, "-content", content, "-purpose", "any",
            "-signer", str(signer), "-out", "/dev/null", *policy)
    check_signer(signer)


def main() -> int:
    if len(sys.argv) != 5:
        sys.exit(__doc__)
    with tempfile.TemporaryDirectory() as scratch:
        try:
            verify(*sys.argv[1:], pathlib.Path(scratch))
        except (Refused, der.Malformed, IndexError) as problem:
            print(f"refused: {problem}", file=sys.stderr)
            return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
