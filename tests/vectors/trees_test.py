#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

"""Whatever differs in a file differs in its tree: no identifier, no form of a length and no octet of a value can be
altered unnoticed. So a twin that is said to differ in one thing differs in nothing else.

Usage: trees_test.py VECTORS [unittest's arguments]
"""
import json
import pathlib
import sys
import unittest

import elements
import trees

VECTORS = pathlib.Path(sys.argv.pop(1)).resolve() if len(sys.argv) > 1 else pathlib.Path()
# Between them: revocations with and without a reason, indirect CRLs, optional members of a TSTInfo.
CASES = ("signature::good", "crl::indirect_one_that_revokes", "timestamp::tsa_of_the_certificate",
         "revocation::signer_superseded_after")


def length_of(size: int) -> bytes:
    octets = size.to_bytes((size.bit_length() + 7) // 8, "big")
    return bytes([size]) if size < 0x80 else bytes([0x80 | len(octets)]) + octets


def is_taken_apart(element) -> bool:
    """Octet strings hold elements in extensions and tokens; what is encoded in a bit string is a key."""
    return element.constructed or element.tag == 0x04 and element.content[:1] == b"\x30" and len(element.content) > 40


def altered(element, place: str):
    """The element in all ways in which one header in it, or one octet of one value in it, is another; each with the
    place of that, as numbers of members."""
    inside = element.content
    long_length = bytes([0x84]) + len(inside).to_bytes(4, "big")
    for bit in (0x01, 0x20):
        yield place + " identifier", bytes([element.tag ^ bit]) + length_of(len(inside)) + inside
    yield place + " length", bytes([element.tag]) + long_length + inside
    if not is_taken_apart(element):
        if inside:
            turned = inside[:-1] + bytes([inside[-1] ^ 0x01])
            yield place + " value", bytes([element.tag]) + length_of(len(turned)) + turned
        return
    members = element.members()
    for i, member in enumerate(members):
        before = b"".join(one.whole for one in members[:i])
        behind = b"".join(one.whole for one in members[i + 1:])
        for where, other in altered(member, f"{place}.{i}"):
            content = before + other + behind
            yield where, bytes([element.tag]) + length_of(len(content)) + content


class Trees(unittest.TestCase):
    def missed(self, files: dict[str, bytes], role: str) -> list[str]:
        whole = elements.tree_of(files)
        parts = elements.elements_of(files[role])
        missed = []
        for i, part in enumerate(parts):
            before = b"".join(one.whole for one in parts[:i])
            behind = b"".join(one.whole for one in parts[i + 1:])
            missed += [where for where, other in altered(part, f"{role} {i}")
                       if not trees.compare(whole, elements.tree_of({**files, role: before + other + behind}), "")]
        return missed

    def test_show_each_alteration_of_a_file(self):
        cases = {case["id"]: case for case in json.loads((VECTORS / "vectors.json").read_text())["cases"]}
        seen = set()
        for name in CASES:
            files = {role: (VECTORS / path).read_bytes() for role, path in cases[name]["files"].items()}
            for role in ("crls", "signature"):
                if files[role] not in seen:
                    self.assertEqual([], self.missed(files, role), name)
                    seen.add(files[role])


if __name__ == "__main__":
    unittest.main()
