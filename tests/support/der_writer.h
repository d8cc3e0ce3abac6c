// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Writes any encoding, well-formed or not (ITU-T X.690). Every function returns whole octets, so that nested calls read
// like the ASN.1 that they make, and every layer can be replaced by octets of the test's own.
#ifndef SUPPORT_DER_WRITER_H
#define SUPPORT_DER_WRITER_H

#include <stddef.h>
#include <stdint.h>

#include <string>
#include <vector>

namespace der
{

using Bytes = std::vector<uint8_t>;

// Identifier octets.
enum : uint8_t {
    BOOLEAN = 0x01,
    INTEGER = 0x02,
    BIT_STRING = 0x03,
    OCTET_STRING = 0x04,
    NULL_VALUE = 0x05,
    OBJECT_IDENTIFIER = 0x06,
    ENUMERATED = 0x0A,
    UTF8_STRING = 0x0C,
    PRINTABLE_STRING = 0x13,
    IA5_STRING = 0x16,
    UTC_TIME = 0x17,
    GENERALIZED_TIME = 0x18,
    SEQUENCE = 0x30,
    SET = 0x31,
};

// ---- Octets --------------------------------------------------------------------------------------------------------

// The parts one behind the other.
Bytes Concatenate(const std::vector<Bytes> &parts);

// `count` copies of `part`, one behind the other.
Bytes Repeat(size_t count, const Bytes &part);

// `count` times the same octet.
Bytes Fill(size_t count, uint8_t octet);

// The characters of a text.
Bytes Text(const std::string &text);

// Octets written in hexadecimal; blanks between them are skipped.
Bytes Hex(const std::string &digits);

// ---- Elements with a chosen header ---------------------------------------------------------------------------------

// An element with the shortest length, as DER wants it.
Bytes Tlv(uint8_t identifier, const Bytes &content);

// An element whose length stands in the long form with exactly `octets` octets (0 to 127), leading zeros included. With
// 0 octets that is the indefinite form's length octet, without an end.
Bytes TlvLong(uint8_t identifier, const Bytes &content, uint8_t octets);

// An element whose length octets say `length`, whatever its content.
Bytes TlvOfLength(uint8_t identifier, uint32_t length, const Bytes &content);

// An element with any octets in the place of its length.
Bytes TlvRawLength(uint8_t identifier, const Bytes &lengthOctets, const Bytes &content);

// An element of the indefinite form, with its end-of-contents octets.
Bytes TlvIndefinite(uint8_t identifier, const Bytes &content);

// The element with another identifier octet.
Bytes Retag(uint8_t identifier, Bytes element);

// The element without its last `octets` octets.
Bytes Truncate(Bytes element, size_t octets);

// ---- Types ---------------------------------------------------------------------------------------------------------

Bytes Sequence(const std::vector<Bytes> &members);
Bytes Set(const std::vector<Bytes> &members); // in the order given

Bytes Integer(int64_t value);
Bytes IntegerRaw(const Bytes &content);
Bytes Enumerated(int64_t value);
Bytes Boolean(uint8_t contentOctet = 0xFF);
Bytes Null();
Bytes BitString(uint8_t unusedBits, const Bytes &bits);
Bytes OctetString(const Bytes &content);
Bytes Oid(const std::string &dotted);
Bytes OidContent(const std::string &dotted); // without identifier and length

Bytes Utf8(const std::string &text);
Bytes Printable(const std::string &text);
Bytes Ia5(const std::string &text);
Bytes UtcTime(const std::string &text);
Bytes GeneralizedTime(const std::string &text);

// [number] EXPLICIT: a constructed context-specific wrapper.
Bytes Explicit(uint8_t number, const Bytes &inner);

// [number] IMPLICIT: context-specific identifier over the content of another element.
Bytes Implicit(uint8_t number, bool constructed, const Bytes &content);

} // namespace der

#endif
