# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

"""Trees of what files say, and in which members two of them differ.

A change has consequences that are none of its own: a certificate with another date has another signature, and so have
the imprint and the token over it. So whatever is computed from something else is compared by what it is as well as by
its octets: a signature by whose key it holds under, a digest by what it is the digest of, an identifier of a
certificate by which one it names. Two such values are alike when either is.
"""
import dataclasses
import typing


@dataclasses.dataclass
class Computed:
    """A value that follows from others: its octets, and what they are."""
    octets: str
    meaning: str


class Collection(list):
    """Pairs of a label and a tree, in their order in the file, which may follow from their encodings."""
    is_sorted = False


Tree = typing.Union[str, Computed, Collection, dict]


def alike(first: Tree, second: Tree) -> bool:
    return not compare(first, second, "")


def join(path: str, name: str) -> str:
    return path + name if not name or name.startswith("#") or not path else f"{path}/{name}"


def compare(first: Tree | None, second: Tree | None, path: str) -> list[str]:
    """The paths of the members in which two trees differ."""
    if isinstance(first, dict) and isinstance(second, dict):
        differences = []
        for name in dict.fromkeys([*first, *second]):
            if name == "signer" and (name in first) != (name in second):
                continue  # the count of signers says so
            differences += compare(first.get(name), second.get(name), join(path, name))
        return differences
    if isinstance(first, Collection) and isinstance(second, Collection):
        return compare_collections(first, second, path)
    if isinstance(first, Computed) and isinstance(second, Computed):
        return [] if first.octets == second.octets or first.meaning == second.meaning else [path]
    return [] if first == second else [path]


def pair(first: Collection, second: Collection) -> list[tuple[int | None, int | None]]:
    """Which members belong together: those of one label that are alike, then the others of that label in order."""
    pairs, left, right = [], list(range(len(first))), list(range(len(second)))
    for same in (True, False):
        for i in list(left):
            for j in list(right):
                if first[i][0] == second[j][0] and (not same or alike(first[i][1], second[j][1])):
                    pairs.append((i, j))
                    left.remove(i)
                    right.remove(j)
                    break
    return pairs + [(i, None) for i in left] + [(None, j) for j in right]


def compare_collections(first: Collection, second: Collection, path: str) -> list[str]:
    differences = []
    pairs = pair(first, second)
    for i, j in pairs:
        chosen, index = (first, i) if i is not None else (second, j)
        label = chosen[index][0]
        number = sum(1 for other, _ in chosen[:index + 1] if other == label)
        several = max(sum(1 for other, _ in one if other == label) for one in (first, second)) > 1
        place = join(path, f"{label}#{number}" if several else label)
        if i is None or j is None:
            differences.append(place)
        else:
            differences += compare(first[i][1], second[j][1], place)
    together = sorted((i, j) for i, j in pairs if i is not None and j is not None)
    follows = first.is_sorted and second.is_sorted
    if not follows and [j for _, j in together] != sorted(j for _, j in together):
        differences.append(join(path, "order"))
    return differences
