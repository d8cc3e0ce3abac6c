// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The types that a file may hold, as the device reads them: narrower than their standards here, wider there.
#ifndef PKGSIGN_EXPLAIN_INSPECT_SCHEMA_H
#define PKGSIGN_EXPLAIN_INSPECT_SCHEMA_H

#include <cstddef>
#include <cstdint>

#include "pkgsign/explain/inspect_rules.h"

namespace pkgsign::inspection
{

enum class Shape : uint8_t {
    Any,            // one element, whatever it is
    Identifier,     // an OBJECT IDENTIFIER
    Boolean,        // of one octet, or the device passes it over
    DroppedBoolean, // of any octets
    Integer,        // of one to four octets
    LongInteger,    // of any octets
    Enumerated,     // as Integer
    Bits,           // a BIT STRING of one octet or more
    KeyUsage,       // a BIT STRING of one or two octets behind the unused bits
    KeyBits,        // a BIT STRING around one element
    OpaqueSequence, // whatever it holds
    OpaqueSet,
    Sequence,
    SequenceOf,
    SetOf,
    Extensions, // SEQUENCE OF, what each value is follows from its identifier
    Attributes, // SET OF, likewise: the first value
};

enum class Tagging : uint8_t { Universal, Explicit, Implicit };

struct TypeInfo;

struct MemberInfo {
    const char *name;
    const TypeInfo *type;
    Tagging tagging = Tagging::Universal;
    uint8_t number = 0; // of the tag
    bool isOptional = false;
    uint8_t standard = 0;             // identifier octet that the standard has where the device takes any; 0: any too
    const char *narrowed = nullptr;   // what the device wants beyond the standard
    const char *identifier = nullptr; // of an extension or attribute: dotted
};

struct TypeInfo {
    const char *citation;
    Shape shape;
    const MemberInfo *members = nullptr; // of lists: one, each element
    size_t count = 0;
    size_t most = 0; // elements of a list
    Rule tooMany = Rule::MemberUnexpected;
};

extern const TypeInfo TYPE_CERTIFICATE;
extern const TypeInfo TYPE_CRL;
extern const TypeInfo TYPE_MESSAGE; // ContentInfo of SignedData
extern const TypeInfo TYPE_TST_INFO;
extern const TypeInfo TYPE_TIMESTAMP_REQUEST;
extern const TypeInfo TYPE_TIMESTAMP_ANSWER;
extern const TypeInfo TYPE_CERTIFICATION_REQUEST;
extern const TypeInfo TYPE_CRL_ENTRY; // of revokedCertificates

inline constexpr char OID_CODE_SIGNING[] = "1.3.6.1.5.5.7.3.3";
inline constexpr char OID_TIME_STAMPING[] = "1.3.6.1.5.5.7.3.8";
inline constexpr char OID_MESSAGE_DIGEST[] = "1.2.840.113549.1.9.4";
inline constexpr char OID_TIMESTAMP_TOKEN[] = "1.2.840.113549.1.9.16.2.14";
inline constexpr char OID_TST_INFO[] = "1.2.840.113549.1.9.16.1.4";
inline constexpr char OID_BASIC_CONSTRAINTS[] = "2.5.29.19";
inline constexpr char OID_KEY_USAGE[] = "2.5.29.15";
inline constexpr char OID_EXTENDED_KEY_USAGE[] = "2.5.29.37";
inline constexpr char OID_REASON_CODE[] = "2.5.29.21";
inline constexpr char OID_ISSUING_DISTRIBUTION_POINT[] = "2.5.29.28";
inline constexpr char OID_DELTA_CRL[] = "2.5.29.27";
inline constexpr char OID_CRL_NUMBER[] = "2.5.29.20";
inline constexpr char OID_RSA[] = "1.2.840.113549.1.1.1";

} // namespace pkgsign::inspection

#endif
