#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

"""Tries wrong rows in the tables of ASN.1 types and of object identifiers, and expects that none of them compiles.

Usage: check_wrong_rows.py COMPILE_COMMANDS, where COMPILE_COMMANDS is the build's compile_commands.json: each file is
compiled as the build compiles it, as far as its syntax and its static assertions.

Each case is a wrong text in the place of a right one. It must be refused for the reason that the case gives, in an
error of the compiler. What it stands beside must compile: the file as it is, and where there is a limit, the same row
at the limit. Prints what became of each case, and exits with 1 when one is not refused, or for another reason.
"""
import concurrent.futures
import dataclasses
import json
import os
import pathlib
import re
import shlex
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent / "sigkit"

CERT = "asn1/templ_cert.cpp"
CRL = "asn1/templ_crl.cpp"
PKCS7 = "asn1/templ_pkcs7.cpp"
RECORDS = "asn1/records.h"
DECODE = "asn1/decode.h"
SLOTS = "asn1/decode.cpp"
OID = "x509/oid.cpp"
OID_LIST = "x509/oid.h"

DISAGREE = "field and item disagree"
NOT_OBEYED = "the item's decode function does not obey a flag"
ORDER = "rows are those of records.h, in that order"
AHEAD = "the row behind a PEEK reads the same element"
TAGS = "a row has an AOID, or the tag of another row"
AOIDS = "a row is not just OPTIONAL, or has no AOID of its own"
NOT_READ = "the item's decode function does not read such an element"
NO_OID = "not an object identifier"


@dataclasses.dataclass(frozen=True)
class Edit:
    path: str   # below sigkit/
    right: str  # stands there once; any white space where this has some
    wrong: str
    limit: str = ""  # compiles in the same place


@dataclasses.dataclass(frozen=True)
class Case:
    mistake: str
    unit: str     # the file that is compiled
    refusal: str  # stands in one of the compiler's errors
    edits: tuple[Edit, ...]


def case(mistake: str, unit: str, refusal: str, right: str, wrong: str, limit: str = "", path: str = "") -> Case:
    return Case(mistake, unit, refusal, (Edit(path or unit, right, wrong, limit),))


def oid(mistake: str, wrong: str, limit: str = "", refusal: str = NO_OID) -> Case:
    quoted = f'"{limit}"' if limit else ""
    return case(mistake, OID, refusal, '"2.5.4.3"', f'"{wrong}"', quoted, OID_LIST)


CASES = [
    # Records and fields.
    case("a table under another record", CERT, "RECORD is what the item fills",
         "#define RECORD SigkitX509Validity", "#define RECORD SigkitX509AttrEntry"),
    case("a table of another item", CERT, "RECORD is what the item fills",
         "SEQUENCE(X509Validity,", "SEQUENCE(X509AlgoIdentifier,"),
    case("a field that the record does not have", CERT, "notEarlier", "KEEP(notBefore,", "KEEP(notEarlier,"),
    case("a number's item for a view", CERT, DISAGREE, "KEEP(notBefore, AsnOcts,", "KEEP(notBefore, AsnInt,"),
    case("a view's item for a number", CERT, DISAGREE, "KEEP(critical, AsnBool,", "KEEP(critical, AsnOcts,"),
    case("the item of another record", CERT, DISAGREE, "KEEP(validity, X509Validity,", "KEEP(validity, X509AttrEntry,"),
    case("an element's item for its list", CERT, DISAGREE, "KEEP(issuer, X509Name,", "KEEP(issuer, X509AttrBundle,"),
    Case("two fields of one type that are swapped", CERT, ORDER, (
        Edit(CERT, "KEEP(notBefore,", "KEEP(notAfter,"), Edit(CERT, "KEEP(notAfter,", "KEEP(notBefore,"))),
    case("fields of a record that are swapped", CERT, "rows follow the record's field order",
         "SigkitAsnOcts notBefore; SigkitAsnOcts notAfter;", "SigkitAsnOcts notAfter; SigkitAsnOcts notBefore;",
         path=RECORDS),

    # Rows of a production.
    Case("dropped rows that are swapped", CERT, ORDER, (
        Edit(CERT, "DROP(issuerUniqueID,", "DROP(subjectUniqueID,"),
        Edit(CERT, "DROP(subjectUniqueID,", "DROP(issuerUniqueID,"))),
    Case("a dropped row that is swapped with a kept one", CERT, ORDER, (
        Edit(CERT, "DROP(signature, AsnSeq,", "KEEP(issuer, X509Name,"),
        Edit(CERT, "KEEP(issuer, X509Name,", "DROP(signature, AsnSeq,"))),
    case("a row that is missing", CERT, ORDER, "DROP(signature, AsnSeq, UNIVERSAL, REQUIRED),", ""),
    case("the last row that is missing", CERT, ORDER,
         "KEEP(subjectPublicKey, X509PublicKey, UNIVERSAL, REQUIRED)", "", path=CERT),
    case("a row that comes twice", CERT, ORDER, "DROP(signature, AsnSeq, UNIVERSAL, REQUIRED),",
         "DROP(signature, AsnSeq, UNIVERSAL, REQUIRED), DROP(signature, AsnSeq, UNIVERSAL, REQUIRED),"),
    case("a dropped member that the production does not have", CERT, "pathLength",
         "DROP(pathLenConstraint,", "DROP(pathLength,"),
    case("a dropped member that has a field", CERT, "what is dropped has no field",
         "KEEP(serialNumber, AsnBigint,", "DROP(serialNumber, AsnBigint,"),

    # Flags.
    case("DROP of a SEQUENCE", CERT, NOT_OBEYED, "DROP(signature, AsnSeq,", "DROP(signature, X509AlgoIdentifier,"),
    case("DROP of a list", CERT, NOT_OBEYED, "DROP(signature, AsnSeq,", "DROP(signature, X509Name,"),
    case("DROP of extensions", CERT, NOT_OBEYED, "DROP(signature, AsnSeq,", "DROP(signature, X509CertExts,"),
    case("DROP of bits as a number", CERT, NOT_OBEYED,
         "DROP(issuerUniqueID, AsnBits,", "DROP(issuerUniqueID, AsnBitsToInt,"),
    case("DROP of key purposes", CERT, NOT_OBEYED, "DROP(signature, AsnSeq,", "DROP(signature, AsnExku,"),
    case("DROP without a field and PEEK", CERT, "what is dropped is not captured",
         "DROP(signature, AsnSeq, UNIVERSAL, REQUIRED)", "DROP(signature, AsnSeq, UNIVERSAL, REQUIRED | PEEK)"),
    case("DROP without a field and RAW", CERT, "what is dropped is not captured",
         "DROP(signature, AsnSeq, UNIVERSAL, REQUIRED)", "DROP(signature, AsnSeq, UNIVERSAL, REQUIRED | RAW)"),
    case("KEEP of what is ignored", CERT, "what is kept is not dropped",
         "KEEP(notBefore, AsnOcts, UNIVERSAL, REQUIRED)",
         "KEEP(notBefore, AsnOcts, UNIVERSAL, SIGKIT_ASN_FLAG_IGNORE)"),
    case("PEEK at a BIT STRING", CERT, NOT_OBEYED, "KEEP(signatureValue, AsnBits, UNIVERSAL, REQUIRED)",
         "KEEP(signatureValue, AsnBits, UNIVERSAL, REQUIRED | PEEK)"),
    case("PEEK at a SEQUENCE", CERT, NOT_OBEYED, "KEEP(validity, X509Validity, UNIVERSAL, REQUIRED)",
         "KEEP(validity, X509Validity, UNIVERSAL, REQUIRED | PEEK)"),
    case("PEEK at a list", CERT, NOT_OBEYED, "KEEP(issuer, X509Name, UNIVERSAL, REQUIRED)",
         "KEEP(issuer, X509Name, UNIVERSAL, REQUIRED | PEEK)"),
    case("PEEK at a number", CERT, NOT_OBEYED, "KEEP(critical, AsnBool, UNIVERSAL, DEFAULT)",
         "KEEP(critical, AsnBool, UNIVERSAL, DEFAULT | PEEK)"),
    case("RAW of a number", CERT, NOT_OBEYED, "KEEP(critical, AsnBool, UNIVERSAL, DEFAULT)",
         "KEEP(critical, AsnBool, UNIVERSAL, DEFAULT | RAW)"),
    case("RAW of a SEQUENCE", CERT, NOT_OBEYED, "KEEP(validity, X509Validity, UNIVERSAL, REQUIRED)",
         "KEEP(validity, X509Validity, UNIVERSAL, REQUIRED | RAW)"),
    case("OPTIONAL and DEFAULT", CERT, "a member is OPTIONAL or has a DEFAULT",
         "KEEP(critical, AsnBool, UNIVERSAL, DEFAULT)", "KEEP(critical, AsnBool, UNIVERSAL, DEFAULT | OPTIONAL)"),
    case("a flag that there is not", CERT, NOT_OBEYED, "KEEP(notBefore, AsnOcts, UNIVERSAL, REQUIRED)",
         "KEEP(notBefore, AsnOcts, UNIVERSAL, 0x08)"),

    # Tagging.
    case("a tag beyond one octet", CERT, "an identifier is one octet", "DROP(subjectUniqueID, AsnBits, IMPLICIT(2),",
         "DROP(subjectUniqueID, AsnBits, IMPLICIT(31),", "DROP(subjectUniqueID, AsnBits, IMPLICIT(30),"),
    case("a wrapper's tag beyond one octet", CERT, "an identifier is one octet",
         "KEEP(extensions, X509CertExts, EXPLICIT(3),", "KEEP(extensions, X509CertExts, EXPLICIT(31),",
         "KEEP(extensions, X509CertExts, EXPLICIT(30),"),
    case("a context-specific tag that comes twice", CERT, TAGS, "DROP(subjectUniqueID, AsnBits, IMPLICIT(2),",
         "DROP(subjectUniqueID, AsnBits, IMPLICIT(1),"),
    case("an AOID in a SEQUENCE", CERT, TAGS, "KEEP(notBefore, AsnOcts, UNIVERSAL,",
         "KEEP(notBefore, AsnOcts, MEMBER(AOID_SHA256),"),
    case("key purposes under IMPLICIT", CERT, "the item is not read under IMPLICIT",
         "KEEP(extKeyUsage, AsnExku, MEMBER(AOID_CE_EXTKEYUSAGE),", "KEEP(extKeyUsage, AsnExku, IMPLICIT(1),"),
    case("PEEK into a wrapper", PKCS7, "PEEK does not go back before a wrapper",
         "KEEP(signedAttrsRaw, AttrBundleRaw, IMPLICIT(0),", "KEEP(signedAttrsRaw, AttrBundleRaw, EXPLICIT(0),"),
    case("PEEK at what the next row does not read", PKCS7, AHEAD,
         "KEEP(signedAttrs, X509SignedAttrs, IMPLICIT(0),", "KEEP(signedAttrs, X509SignedAttrs, IMPLICIT(2),"),
    case("PEEK at what may be absent, and the next row not", PKCS7, AHEAD,
         "KEEP(signedAttrs, X509SignedAttrs, IMPLICIT(0), OPTIONAL)",
         "KEEP(signedAttrs, X509SignedAttrs, IMPLICIT(0), REQUIRED)"),
    case("PEEK in the last row", PKCS7, AHEAD, "KEEP(eContent, AsnOcts, UNIVERSAL, OPTIONAL)",
         "KEEP(eContent, AsnOcts, UNIVERSAL, OPTIONAL | PEEK)"),

    # Extensions and attributes.
    case("an extension with AOID 0", CERT, AOIDS, "MEMBER(AOID_CE_KEYUSAGE)", "MEMBER(AOID_UNKNOWN)"),
    case("an AOID that comes twice", CERT, AOIDS, "MEMBER(AOID_CE_KEYUSAGE)", "MEMBER(AOID_CE_EXTKEYUSAGE)"),
    case("an extension without an AOID", CERT, AOIDS, "MEMBER(AOID_CE_KEYUSAGE)", "UNIVERSAL"),
    case("an extension under IMPLICIT", CERT, AOIDS, "MEMBER(AOID_CE_KEYUSAGE)", "IMPLICIT(2)"),
    case("an extension under EXPLICIT", CERT, AOIDS, "MEMBER(AOID_CE_KEYUSAGE)", "EXPLICIT(2)"),
    case("an extension that is REQUIRED", CRL, AOIDS, "KEEP(reasonCode, AsnEnum, MEMBER(AOID_CE_CRLREASONS), OPTIONAL)",
         "KEEP(reasonCode, AsnEnum, MEMBER(AOID_CE_CRLREASONS), REQUIRED)"),
    case("an attribute that is looked ahead at", PKCS7, AOIDS,
         "KEEP(messageDigest, AsnOcts, MEMBER(AOID_PKCS9_AT_MESSAGEDIGEST), OPTIONAL)",
         "KEEP(messageDigest, AsnOcts, MEMBER(AOID_PKCS9_AT_MESSAGEDIGEST), OPTIONAL | PEEK)"),
    Case("an extension that is dropped", CRL, AOIDS, (
        Edit(RECORDS, "ASN_RECORD(X509RevokeAttrs, reasonCode)", "ASN_RECORD(X509RevokeAttrs, reasonCode, other)"),
        Edit(CRL, "KEEP(reasonCode, AsnEnum, MEMBER(AOID_CE_CRLREASONS), OPTIONAL)",
             "KEEP(reasonCode, AsnEnum, MEMBER(AOID_CE_CRLREASONS), OPTIONAL),"
             "DROP(other, AsnOcts, MEMBER(AOID_CE_KEYUSAGE), OPTIONAL)"))),
    case("extensions as a SEQUENCE", CERT, TAGS, "EXTENSIONS(X509CertExts,", "SEQUENCE(X509CertExts,"),
    case("a SEQUENCE as extensions", CERT, AOIDS, "SEQUENCE(X509Validity,", "EXTENSIONS(X509Validity,"),

    # Lists.
    case("a list under another record", CERT, "RECORD is what the item fills",
         "#define RECORD SigkitAsnOidBundle", "#define RECORD SigkitX509CertRawBundle"),
    case("an element of another record", CERT, "element and item disagree",
         "ELEMENT(X509AttrEntry, 10,", "ELEMENT(X509AlgoIdentifier, 10,"),
    case("an element that is a number", PKCS7, "element and item disagree",
         "ELEMENT(AsnOcts, 2,", "ELEMENT(AsnInt, 2,"),
    case("a list that accepts none", CERT, "a list that accepts nothing", "ELEMENT(X509AttrEntry, 10,",
         "ELEMENT(X509AttrEntry, 0,", "ELEMENT(X509AttrEntry, 1,"),
    case("a list that accepts more than it can hold", CERT, "the array holds what is accepted",
         "ELEMENT(X509AttrEntry, 10,", "ELEMENT(X509AttrEntry, 11,"),
    case("an array that holds less than is accepted", CRL, "the array holds what is accepted",
         "SigkitX509RevokeEntry items[20];", "SigkitX509RevokeEntry items[19];", "SigkitX509RevokeEntry items[21];",
         RECORDS),
    case("an array that stands elsewhere", CRL, "where elements go", "SigkitX509RevokeEntry items[20];",
         "uint64_t between; SigkitX509RevokeEntry items[20];", "SigkitX509RevokeEntry items[20]; uint64_t behind;",
         RECORDS),
    case("an array of other elements", CRL, "element and item disagree", "SigkitX509RevokeEntry items[20];",
         "SigkitX509RevokeAttrs items[20];", path=RECORDS),
    case("a count of other size", CRL, "the count has 32 bits", "uint32_t count; SigkitX509RevokeEntry items[20];",
         "uint64_t count; SigkitX509RevokeEntry items[20];", path=RECORDS),
    case("an element that is OPTIONAL", CERT, "an element is REQUIRED, or REQUIRED | RAW",
         "ELEMENT(X509AttrEntry, 10, REQUIRED)", "ELEMENT(X509AttrEntry, 10, OPTIONAL)"),
    case("an element that is looked ahead at", PKCS7, "an element is REQUIRED, or REQUIRED | RAW",
         "ELEMENT(AsnOcts, 2, REQUIRED | RAW)", "ELEMENT(AsnOcts, 2, REQUIRED | PEEK)"),
    case("an element that cannot be captured whole", CERT, NOT_OBEYED,
         "ELEMENT(X509AttrEntry, 10, REQUIRED)", "ELEMENT(X509AttrEntry, 10, REQUIRED | RAW)"),
    case("a list of two rows", CERT, "a list has one row", "ELEMENT(X509AttrEntry, 10, REQUIRED)",
         "ELEMENT(X509AttrEntry, 10, REQUIRED), ELEMENT(X509AttrEntry, 10, REQUIRED)"),
    case("a member in a list", CERT, "InternalAsnRowsOf<SigkitX509AttrBundle>", "ELEMENT(X509AttrEntry, 10, REQUIRED)",
         "KEEP(count, AsnInt, UNIVERSAL, REQUIRED)"),
    case("an element in a SEQUENCE", CERT, "items", "KEEP(notBefore, AsnOcts, UNIVERSAL, REQUIRED)",
         "ELEMENT(AsnOcts, 1, REQUIRED)"),

    # Items and slots.
    case("a number's item in a slot for views", CERT, DISAGREE, "ASN_ITEM(AsnBool, g_skvAsnFuncInt)",
         "ASN_ITEM(AsnBool, g_skvAsnFuncOct)", path=RECORDS),
    case("a view's item in a slot for numbers", CERT, DISAGREE, "ASN_ITEM(AsnOcts, g_skvAsnFuncOct)",
         "ASN_ITEM(AsnOcts, g_skvAsnFuncInt)", path=RECORDS),
    case("a number's item in the slot for another sort of number", CERT, NOT_READ, "ASN_ITEM(AsnEnum, g_skvAsnFuncInt)",
         "ASN_ITEM(AsnEnum, g_skvAsnFuncBitsToInt)", path=RECORDS),
    case("bits as a number in the slot for INTEGERs", CERT, NOT_READ, "ASN_ITEM(AsnBitsToInt, g_skvAsnFuncBitsToInt)",
         "ASN_ITEM(AsnBitsToInt, g_skvAsnFuncInt)", path=RECORDS),
    case("key purposes in the slot for INTEGERs", CERT, NOT_READ, "ASN_ITEM(AsnExku, g_skvAsnFuncExku)",
         "ASN_ITEM(AsnExku, g_skvAsnFuncInt)", path=RECORDS),
    case("a BIT STRING in the slot for any element", CERT, NOT_READ, "ASN_ITEM(AsnBits, g_skvAsnFuncBits)",
         "ASN_ITEM(AsnBits, g_skvAsnFuncOct)", path=RECORDS),
    case("a primitive type in the slot for SEQUENCEs", CERT, NOT_READ, "ASN_ITEM(AsnBool, g_skvAsnFuncInt)",
         "ASN_ITEM(AsnBool, g_skvAsnFuncSeq)", path=RECORDS),
    case("a slot with another function", SLOTS, "the slot's function is the one that decode.h describes",
         "SLOT(g_skvAsnFuncOct, SigkitDecodeOctet)", "SLOT(g_skvAsnFuncOct, SigkitDecodeBits)"),
    case("a slot that fills another type", CERT, DISAGREE, "ASN_SLOT(g_skvAsnFuncInt, SigkitDecodeInt, uint32_t,",
         "ASN_SLOT(g_skvAsnFuncInt, SigkitDecodeInt, SigkitAsnOcts,", path=DECODE),
    case("an item of another class", CERT, NOT_READ, "PRIMITIVE(AsnInt, ASN_CLASS_UNIVERSAL, 0, ASN_TAG_INTEGER)",
         "PRIMITIVE(AsnInt, ASN_CLASS_CONTEXT, 0, ASN_TAG_INTEGER)"),
    case("an INTEGER that is constructed", CERT, NOT_READ, "PRIMITIVE(AsnInt, ASN_CLASS_UNIVERSAL, 0, ASN_TAG_INTEGER)",
         "PRIMITIVE(AsnInt, ASN_CLASS_UNIVERSAL, 1, ASN_TAG_INTEGER)"),
    case("a SET that is primitive", CERT, NOT_READ, "PRIMITIVE(AsnSet, ASN_CLASS_UNIVERSAL, 1, ASN_TAG_SET)",
         "PRIMITIVE(AsnSet, ASN_CLASS_UNIVERSAL, 0, ASN_TAG_SET)"),
    case("a number with the tag of another type", CERT, NOT_READ,
         "PRIMITIVE(AsnEnum, ASN_CLASS_UNIVERSAL, 0, ASN_TAG_ENUMERATED)",
         "PRIMITIVE(AsnEnum, ASN_CLASS_UNIVERSAL, 0, ASN_TAG_BIT_STRING)"),
    case("a number of any tag", CERT, NOT_READ, "PRIMITIVE(AsnInt, ASN_CLASS_UNIVERSAL, 0, ASN_TAG_INTEGER)",
         "PRIMITIVE(AsnInt, SIGKIT_ASN_ANY, SIGKIT_ASN_ANY, SIGKIT_ASN_TAG_ANY)"),
    case("a universal tag beyond one octet", CERT, NOT_READ,
         "PRIMITIVE(AsnBigint, ASN_CLASS_UNIVERSAL, 0, ASN_TAG_INTEGER)",
         "PRIMITIVE(AsnBigint, ASN_CLASS_UNIVERSAL, 0, 31)", "PRIMITIVE(AsnBigint, ASN_CLASS_UNIVERSAL, 0, 30)"),
    case("the universal tag 0", CERT, NOT_READ, "PRIMITIVE(AsnBigint, ASN_CLASS_UNIVERSAL, 0, ASN_TAG_INTEGER)",
         "PRIMITIVE(AsnBigint, ASN_CLASS_UNIVERSAL, 0, 0)"),

    # Object identifiers.
    oid("a letter", "2.5.4.3a"),
    oid("a letter for an arc", "2.5.x.3"),
    oid("a blank", "2.5.4. 3"),
    oid("a sign", "2.5.4.-3"),
    oid("an empty arc", "2.5..3"),
    oid("a dot in front", ".2.5.4.3"),
    oid("a dot behind", "2.5.4.3."),
    oid("no arc", ""),
    oid("one arc", "2"),
    oid("an arc with a zero in front", "2.5.4.03", "2.5.4.0"),
    oid("an arc of more than 32 bits", "2.5.4.4294967296", "2.5.4.4294967295"),
    oid("an arc of more than 64 bits", "2.5.4.18446744073709551619"),
    oid("a first arc above 2", "3.5.4.3"),
    oid("a second arc above 39 below 0", "0.40.4.3", "0.39.4.3"),
    oid("a second arc above 39 below 1", "1.40.4.3", "1.39.4.3"),
    oid("more octets than there is space for", "1.2.3.4.5.6.7.8.9.10.11.12.13.14.15.16.17.18",
        "1.2.3.4.5.6.7.8.9.10.11.12.13.14.15.16.17"),
    oid("an identifier that comes twice", "2.5.4.7", refusal="two numbers for one identifier"),
    case("a number that comes twice", OID, "the numbers of the identifiers ascend", "AOID_AT_LOCALITYNAME, 162",
         "AOID_AT_LOCALITYNAME, 161", path=OID_LIST),
    case("numbers out of order", OID, "the numbers of the identifiers ascend", "AOID_AT_LOCALITYNAME, 162",
         "AOID_AT_LOCALITYNAME, 167", path=OID_LIST),
    case("the number 0", OID, "the numbers of the identifiers ascend", "AOID_SHA256, 43", "AOID_SHA256, 0",
         path=OID_LIST),
    case("a name that comes twice", OID, "AOID_AT_LOCALITYNAME", "ROW(AOID_AT_COUNTRYNAME,",
         "ROW(AOID_AT_LOCALITYNAME,", path=OID_LIST),
    case("an identifier too few", OID, "AOID_UNKNOWN and 23 identifiers",
         'ROW(AOID_AT_COUNTRYNAME, 168, "2.5.4.6")', "", path=OID_LIST),
]


def commands(path: str) -> dict[pathlib.Path, list[str]]:
    """How the build compiles each file, up to what comes of it."""
    found = {}
    for entry in json.loads(pathlib.Path(path).read_text()):
        words = shlex.split(entry["command"])
        found[pathlib.Path(entry["file"]).resolve()] = words[:words.index("-o")]
    return found


def changed(edits: tuple[Edit, ...], text_of) -> dict[str, str]:
    """The edited files; each right text must stand in its file once."""
    texts = {}
    for path in {edit.path for edit in edits}:
        text = (ROOT / path).read_text()
        spans = []
        for edit in edits:
            if edit.path == path:
                pattern = r"\s+".join(re.escape(word) for word in edit.right.split())
                pattern = pattern.replace(r"\(", r"\(\s*").replace(",", r",\s*").replace(r"\s*\s+", r"\s*")
                places = [match.span() for match in re.finditer(pattern, text)]
                if len(places) != 1:
                    raise ValueError(f"stands {len(places)} times in {path}: {edit.right}")
                spans.append((places[0], text_of(edit)))
        for (start, end), new in sorted(spans, reverse=True):
            text = text[:start] + new + text[end:]
        texts[path] = text
    return texts


def compile_unit(command: list[str], unit: str, texts: dict[str, str]) -> tuple[bool, list[str]]:
    """Compiles a file among changed ones. Returns whether it compiles, and the compiler's errors."""
    with tempfile.TemporaryDirectory() as folder:
        for path, text in texts.items():
            target = pathlib.Path(folder, path)
            target.parent.mkdir(exist_ok=True)
            target.write_text(text)
        source = pathlib.Path(folder, unit) if unit in texts else ROOT / unit
        first = next(i for i, word in enumerate(command) if word.startswith("-"))
        # In front of the build's own folders, so that changed headers are found first.
        words = [*command[:first], "-I", folder, *command[first:], "-fsyntax-only", str(source)]
        ended = subprocess.run(words, cwd=folder, text=True, capture_output=True, env={**os.environ, "LC_ALL": "C"})
    return ended.returncode == 0, [line for line in ended.stderr.splitlines() if "error:" in line]


def judge(one: Case, command: list[str]) -> str | None:
    """What is wrong with a case, if anything is."""
    try:
        compiles, errors = compile_unit(command, one.unit, changed(one.edits, lambda edit: edit.wrong))
        if compiles:
            return "compiles"
        if not any(one.refusal in error for error in errors):
            return "\n    ".join([f"is refused, but not for '{one.refusal}':", *errors])
        if any(edit.limit for edit in one.edits):
            compiles, errors = compile_unit(command, one.unit, changed(one.edits, lambda edit: edit.limit))
            if not compiles:
                return "\n    ".join(["is refused at the limit as well:", *errors])
    except ValueError as problem:
        return str(problem)
    return None


def main() -> int:
    known = commands(sys.argv[1])
    of_unit = {unit: known[ROOT / unit] for unit in {one.unit for one in CASES}}
    failed = 0
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        as_they_are = pool.map(lambda unit: compile_unit(of_unit[unit], unit, {}), of_unit)
        for unit, (compiles, errors) in zip(of_unit, as_they_are):
            if not compiles:
                print("\n    ".join([f"{unit} does not compile as it is:", *errors]))
                failed += 1
        for one, problem in zip(CASES, pool.map(lambda one: judge(one, of_unit[one.unit]), CASES)):
            print(f"{one.unit}: {one.mistake}: {problem or 'refused'}")
            failed += problem is not None
    print(f"{len(CASES)} wrong rows, {failed} of them not refused as they should be")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
