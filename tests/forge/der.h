// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Writing of DER (ITU-T X.690). The encoders return whole elements, so that nested calls read like the ASN.1 they make.
#ifndef TESTS_FORGE_DER_H
#define TESTS_FORGE_DER_H

#include "tests/forge/forge.h"

#include <string>
#include <vector>

namespace forge
{
inline constexpr uint8_t DER_BOOLEAN = 0x01;
inline constexpr uint8_t DER_INTEGER = 0x02;
inline constexpr uint8_t DER_BIT_STRING = 0x03;
inline constexpr uint8_t DER_OCTET_STRING = 0x04;
inline constexpr uint8_t DER_NULL = 0x05;
inline constexpr uint8_t DER_ENUMERATED = 0x0A;
inline constexpr uint8_t DER_UTF8_STRING = 0x0C;
inline constexpr uint8_t DER_PRINTABLE_STRING = 0x13;
inline constexpr uint8_t DER_IA5_STRING = 0x16;
inline constexpr uint8_t DER_UTC_TIME = 0x17;
inline constexpr uint8_t DER_GENERALIZED_TIME = 0x18;
inline constexpr uint8_t DER_SEQUENCE = 0x30;
inline constexpr uint8_t DER_SET = 0x31;

// One element with the given identifier octet.
Bytes DerElement(uint8_t identifier, const Bytes &content);

// The elements one behind the other, without a wrapper.
Bytes DerJoin(const std::vector<Bytes> &elements);

Bytes DerSequence(const std::vector<Bytes> &elements);

// A SET OF, its elements in the order of their encodings (X.690, 11.6).
Bytes DerSetOf(std::vector<Bytes> elements);

// [number] EXPLICIT, or IMPLICIT of a constructed type.
Bytes DerConstructed(uint8_t number, const Bytes &content);

Bytes DerBoolean(bool value);
Bytes DerNull();
Bytes DerOctetString(const Bytes &octets);

// value: 0 or more.
Bytes DerInteger(int64_t value);

// An INTEGER, never negative, from its octets, most significant first.
Bytes DerUnsigned(const Bytes &octets);

// A BIT STRING of whole octets.
Bytes DerBitString(const Bytes &octets);

// A BIT STRING with named bits: bit n of the mask is bit n of the string; zero bits at the end are left out.
Bytes DerNamedBits(uint32_t mask);

// Time as RFC 5280 chooses it: UTCTime from 1950 to 2049, GeneralizedTime otherwise.
Status DerTime(int64_t seconds, Bytes *timeOut);

Status DerGeneralizedTime(int64_t seconds, Bytes *timeOut);

// identifier: dotted, or a short name of libcrypto's.
Status DerObjectIdentifier(const std::string &identifier, Bytes *elementOut);

// The same for an identifier known to be right: one that stands in our own source.
Bytes DerKnownIdentifier(const char *dotted);
} // namespace forge

#endif
