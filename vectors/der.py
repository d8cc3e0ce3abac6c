# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

"""Reads BER: elements of any form, and where they end. For programs that look into the files of the vectors."""
import dataclasses


class Malformed(ValueError):
    """The octets are not an element."""


@dataclasses.dataclass
class Element:
    """One element. `form` says how its length is written where DER would write it otherwise, else it is empty."""
    tag: int  # the identifier octet
    content: bytes
    whole: bytes
    form: str = ""

    @property
    def constructed(self) -> bool:
        return bool(self.tag & 0x20)

    def members(self) -> list["Element"]:
        return read_all(self.content)


def _length(data: bytes, at: int) -> tuple[int | None, int, str]:
    """The length, the place behind its octets, and its form; None for the indefinite form."""
    if at >= len(data):
        raise Malformed("no length")
    first = data[at]
    if first < 0x80:
        return first, at + 1, ""
    if first == 0x80:
        return None, at + 1, "indefinite"
    count = first & 0x7F
    octets = data[at + 1:at + 1 + count]
    if len(octets) != count:
        raise Malformed("no whole length")
    value = int.from_bytes(octets, "big")
    shortest = 0 if value < 0x80 else (value.bit_length() + 7) // 8
    return value, at + 1 + count, "" if count == shortest else f"{count} octets"


def read(data: bytes, at: int = 0) -> Element:
    """The element that begins at a place."""
    if at >= len(data):
        raise Malformed("no identifier")
    behind = at + 1
    if data[at] & 0x1F == 0x1F:
        while behind < len(data) and data[behind] & 0x80:
            behind += 1
        behind += 1
    length, start, form = _length(data, behind)
    if length is None:
        end = start
        while data[end:end + 2] != b"\0\0":
            end += len(read(data, end).whole)
        return Element(data[at], data[start:end], data[at:end + 2], form)
    if start + length > len(data):
        raise Malformed("a length beyond the end")
    return Element(data[at], data[start:start + length], data[at:start + length], form)


def read_all(data: bytes) -> list[Element]:
    """The elements that make up all of the octets."""
    elements, at = [], 0
    while at < len(data):
        elements.append(read(data, at))
        at += len(elements[-1].whole)
    return elements


def identifier(element: Element) -> str:
    """An OBJECT IDENTIFIER in dotted form."""
    if element.tag != 0x06 or not element.content:
        raise Malformed("no object identifier")
    arcs, value = [], 0
    for octet in element.content:
        value = value << 7 | octet & 0x7F
        if not octet & 0x80:
            arcs.append(value)
            value = 0
    first = min(arcs[0] // 40, 2)
    return ".".join(map(str, [first, arcs[0] - 40 * first] + arcs[1:]))
