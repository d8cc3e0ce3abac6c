// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Values of elements as text for people: identifiers, times, names with any octets.
#ifndef PKGSIGN_EXPLAIN_INSPECT_VALUE_H
#define PKGSIGN_EXPLAIN_INSPECT_VALUE_H

#include <optional>
#include <string>

#include "pkgsign/status.h"

namespace pkgsign::inspection
{

inline constexpr size_t IDENTIFIER_OCTETS_MAX = 64; // of an OBJECT IDENTIFIER that is read
inline constexpr size_t VALUE_OCTETS_MAX = 128;     // of a value that is shown

// "1.2.840.113549": of the content octets of an OBJECT IDENTIFIER. What is none, or too long, is given in hexadecimal.
std::string DottedIdentifier(const Bytes &content);

// The name that libcrypto has for it, long or short; else the dotted form.
std::string IdentifierText(const std::string &dotted);
std::string ShortIdentifierText(const std::string &dotted);

// Hexadecimal digits; "..." stands for what exceeds VALUE_OCTETS_MAX.
std::string ShownHex(const Bytes &octets);

// A string of a name. identifier: the octet that says its type. isExact: whether `text` is what it says, unescaped.
std::string StringText(uint8_t identifier, const Bytes &content, bool *isExact);

// A UTCTime or GeneralizedTime in the form that devices read, in seconds since 1970 as the library computes them.
// Nothing for another form. isTime: whether it is that time.
std::optional<int64_t> ReadDeviceTime(uint8_t identifier, const Bytes &content, bool *isTime);

// The digest of an AlgorithmIdentifier's identifier: "SHA-256" for that digest and for RSA with it. Empty for one that
// devices do not compute.
std::string DeviceDigestName(const std::string &dotted);

// Octets of its digests.
size_t DigestSize(const std::string &name);

} // namespace pkgsign::inspection

#endif
