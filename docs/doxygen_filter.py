#!/usr/bin/env python3
"""Turns the plain comments of a public header into Doxygen's. Usage: doxygen_filter.py HEADER

The head of the file becomes its description, a ruled heading a group of members, a block above a declaration and a
comment behind one their documentation. In a block, an indented line "name  in, text" is a parameter, every other
indented line an item of a list, and a paragraph that begins with "Returns" the result. Code between @code and @endcode
stays as it is.
"""
import pathlib
import re
import sys

HEADING = re.compile(r"// ---- (.*?) -+$")
PARAMETER = re.compile(r"//   (\w+(?:, \w+)*) +(in/out|in|out)[,.] *(.*)")
ITEM = re.compile(r"//   (\S.*)")
TRAILING = re.compile(r"^(\s*(?:#define\s.*?|[^\s/].*?[;,]))\s+// (.*)$")


def parameter(match: re.Match) -> str:
    direction = match[2].replace("/", ",")
    return f"/// @param[{direction}] {match[1].replace(' ', '')} {match[3]}"


def item(text: str) -> str:
    """An item "codes   meaning", or one that is text alone."""
    codes, gap, meaning = text.partition("   ")
    return f"/// - {codes}: {meaning.strip()}" if gap else f"/// - {text}"


def block(lines: list[str]) -> list[str]:
    """A comment block above a declaration."""
    out, is_code = [], False
    for line in lines:
        is_code = line == "// @code" or (is_code and line != "// @endcode")
        if is_code:
            out.append("/" + line)
            continue
        match = PARAMETER.match(line)
        text = ITEM.match(line)
        if match:
            out.append(parameter(match))
        elif re.match(r"//    +\S", line):  # goes on with the line above
            out.append("///   " + line[2:].strip())
        elif text:
            out.append(item(text[1]))
        elif line.startswith("// Returns "):
            out.append("/// @return " + line[len("// Returns "):])
        else:
            if out and line != "//" and re.match(r"///( -|  )", out[-1]):
                out.append("///")  # the list is over
            out.append("/" + line)
    return out


def declaration(line: str, before: list[str]) -> str:
    """A line of code. A member that the comment behind the one above it names needs none of its own."""
    match = TRAILING.match(line)
    if match:
        return f"{match[1]} ///< {match[2]}"
    member = re.match(r"    \w+ \**(\w+);$", line)
    if member and before and f"`{member[1]}`" in before[-1].partition("///<")[2]:
        return f"{line} ///< {before[-1].partition('///<')[2].strip()}"
    return line


def group(lines: list[str], is_first: bool) -> list[str]:
    """A ruled heading with the text below it."""
    close = "" if is_first else "/** @} */ "
    out = [f"{close}/** @name {HEADING.match(lines[0])[1]}"] + [" * " + line[3:] for line in lines[1:]]
    out[-1] += " */ /** @{ */"
    return out


def convert(lines: list[str]) -> list[str]:
    out, position, is_first = [], 0, True
    while position < len(lines):
        end = position
        while end < len(lines) and lines[end].startswith("//"):
            end += 1
        if end == position:
            out.append(declaration(lines[position], out))
            end = position + 1
        elif position == 0:
            out += ["/// @file"] + block(lines[:end])
        elif HEADING.match(lines[position]):
            out += group(lines[position:end], is_first)
            is_first = False
        else:
            out += block(lines[position:end])
        position = end
    last = max(number for number, line in enumerate(out) if line == "#ifdef __cplusplus")
    return out[:last] + ["/** @} */"] + out[last:]


if __name__ == "__main__":
    print("\n".join(convert(pathlib.Path(sys.argv[1]).read_text().split("\n"))), end="")
