// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/explain/inspect_schema.h"

#include <iterator>

namespace pkgsign::inspection
{
namespace
{

constexpr Tagging UNIVERSAL = Tagging::Universal;
constexpr Tagging EXPLICIT = Tagging::Explicit;
constexpr Tagging IMPLICIT = Tagging::Implicit;
constexpr bool REQUIRED = false;
constexpr bool OPTIONAL = true;
constexpr uint8_t OID = 0x06;
constexpr uint8_t OCTETS = 0x04;

constexpr TypeInfo ANY = {"X.690, 8.1", Shape::Any};
constexpr TypeInfo IDENTIFIER = {"X.690, 8.19", Shape::Identifier};
constexpr TypeInfo BOOLEAN = {"X.690, 8.2", Shape::Boolean};
constexpr TypeInfo DROPPED_BOOLEAN = {"X.690, 8.2", Shape::DroppedBoolean};
constexpr TypeInfo INTEGER = {"X.690, 8.3", Shape::Integer};
constexpr TypeInfo LONG_INTEGER = {"X.690, 8.3", Shape::LongInteger};
constexpr TypeInfo ENUMERATED = {"X.690, 8.4", Shape::Enumerated};
constexpr TypeInfo BITS = {"X.690, 8.6", Shape::Bits};
constexpr TypeInfo KEY_USAGE = {"RFC 5280, 4.2.1.3", Shape::KeyUsage};
constexpr TypeInfo OPAQUE_SEQUENCE = {"X.690, 8.9", Shape::OpaqueSequence};
constexpr TypeInfo OPAQUE_SET = {"X.690, 8.11", Shape::OpaqueSet};

// A list's or record's type from its members.
#define RECORD_TYPE(citation, shape, members)                                                                          \
    {                                                                                                                  \
        citation, shape, members, std::size(members), 0, Rule::MemberUnexpected                                        \
    }
#define LIST_TYPE(citation, shape, members, most, tooMany)                                                             \
    {                                                                                                                  \
        citation, shape, members, std::size(members), most, tooMany                                                    \
    }

// clang-format off

// ---- Names, algorithms, keys ----------------------------------------------------------------------------------------

constexpr MemberInfo NAME_ATTRIBUTE_MEMBERS[] = {
    {"type",  &ANY, UNIVERSAL, 0, REQUIRED, OID},
    {"value", &ANY, UNIVERSAL, 0, REQUIRED}};
constexpr TypeInfo NAME_ATTRIBUTE = RECORD_TYPE("RFC 5280, 4.1.2.4", Shape::Sequence, NAME_ATTRIBUTE_MEMBERS);
constexpr MemberInfo NAME_PART_MEMBERS[] = {{nullptr, &NAME_ATTRIBUTE}};
constexpr TypeInfo NAME_PART =
    LIST_TYPE("RFC 5280, 4.1.2.4", Shape::SetOf, NAME_PART_MEMBERS, 10, Rule::AttributesTooMany);
constexpr MemberInfo NAME_MEMBERS[] = {{nullptr, &NAME_PART}};
constexpr TypeInfo NAME = LIST_TYPE("RFC 5280, 4.1.2.4", Shape::SequenceOf, NAME_MEMBERS, 10, Rule::NamePartsTooMany);

constexpr MemberInfo ALGORITHM_MEMBERS[] = {
    {"algorithm",  &ANY, UNIVERSAL, 0, REQUIRED, OID},
    {"parameters", &ANY, UNIVERSAL, 0, OPTIONAL}};
constexpr TypeInfo ALGORITHM = RECORD_TYPE("RFC 5280, 4.1.1.2", Shape::Sequence, ALGORITHM_MEMBERS);

constexpr MemberInfo RSA_KEY_MEMBERS[] = {
    {"modulus",        &LONG_INTEGER},
    {"publicExponent", &LONG_INTEGER}};
constexpr TypeInfo RSA_KEY = RECORD_TYPE("RFC 8017, A.1.1", Shape::Sequence, RSA_KEY_MEMBERS);
constexpr MemberInfo KEY_BITS_MEMBERS[] = {{"rsaPublicKey", &RSA_KEY}};
constexpr TypeInfo KEY_BITS = RECORD_TYPE("RFC 3279, 2.3.1", Shape::KeyBits, KEY_BITS_MEMBERS);
constexpr MemberInfo KEY_INFO_MEMBERS[] = {
    {"algorithm",        &ALGORITHM},
    {"subjectPublicKey", &KEY_BITS}};
constexpr TypeInfo KEY_INFO = RECORD_TYPE("RFC 5280, 4.1", Shape::Sequence, KEY_INFO_MEMBERS);

// ---- Extensions -----------------------------------------------------------------------------------------------------

constexpr MemberInfo BASIC_CONSTRAINTS_MEMBERS[] = {
    {"cA",                &BOOLEAN, UNIVERSAL, 0, OPTIONAL},
    {"pathLenConstraint", &ANY,     UNIVERSAL, 0, OPTIONAL, 0x02}};
constexpr TypeInfo BASIC_CONSTRAINTS = RECORD_TYPE("RFC 5280, 4.2.1.9", Shape::Sequence, BASIC_CONSTRAINTS_MEMBERS);
constexpr MemberInfo PURPOSE_MEMBERS[] = {{nullptr, &ANY, UNIVERSAL, 0, REQUIRED, OID}};
constexpr TypeInfo PURPOSES =
    LIST_TYPE("RFC 5280, 4.2.1.12", Shape::SequenceOf, PURPOSE_MEMBERS, 10, Rule::PurposesTooMany);
constexpr MemberInfo CERTIFICATE_EXTENSION_MEMBERS[] = {
    {"basicConstraints", &BASIC_CONSTRAINTS, UNIVERSAL, 0, OPTIONAL, 0, nullptr, OID_BASIC_CONSTRAINTS},
    {"keyUsage",         &KEY_USAGE,         UNIVERSAL, 0, OPTIONAL, 0, nullptr, OID_KEY_USAGE},
    {"extKeyUsage",      &PURPOSES,          UNIVERSAL, 0, OPTIONAL, 0, nullptr, OID_EXTENDED_KEY_USAGE}};
constexpr TypeInfo CERTIFICATE_EXTENSIONS =
    RECORD_TYPE("RFC 5280, 4.1", Shape::Extensions, CERTIFICATE_EXTENSION_MEMBERS);

constexpr MemberInfo DISTRIBUTION_POINT_MEMBERS[] = {
    {"distributionPoint",          &ANY,     IMPLICIT, 0, OPTIONAL},
    {"onlyContainsUserCerts",      &BOOLEAN, IMPLICIT, 1, OPTIONAL},
    {"onlyContainsCACerts",        &BOOLEAN, IMPLICIT, 2, OPTIONAL},
    {"onlySomeReasons",            &BITS,    IMPLICIT, 3, OPTIONAL},
    {"indirectCRL",                &BOOLEAN, IMPLICIT, 4, OPTIONAL},
    {"onlyContainsAttributeCerts", &BOOLEAN, IMPLICIT, 5, OPTIONAL}};
constexpr TypeInfo DISTRIBUTION_POINT = RECORD_TYPE("RFC 5280, 5.2.5", Shape::Sequence, DISTRIBUTION_POINT_MEMBERS);
constexpr MemberInfo CRL_EXTENSION_MEMBERS[] = {{"issuingDistributionPoint", &DISTRIBUTION_POINT, UNIVERSAL, 0,
                                                 OPTIONAL, 0, nullptr, OID_ISSUING_DISTRIBUTION_POINT}};
constexpr TypeInfo CRL_EXTENSIONS = RECORD_TYPE("RFC 5280, 5.2", Shape::Extensions, CRL_EXTENSION_MEMBERS);
constexpr MemberInfo ENTRY_EXTENSION_MEMBERS[] = {
    {"reasonCode", &ENUMERATED, UNIVERSAL, 0, OPTIONAL, 0, nullptr, OID_REASON_CODE}};
constexpr TypeInfo ENTRY_EXTENSIONS = RECORD_TYPE("RFC 5280, 5.3", Shape::Extensions, ENTRY_EXTENSION_MEMBERS);

// ---- Certificates ---------------------------------------------------------------------------------------------------

constexpr MemberInfo VALIDITY_MEMBERS[] = {
    {"notBefore", &ANY},
    {"notAfter",  &ANY}};
constexpr TypeInfo VALIDITY = RECORD_TYPE("RFC 5280, 4.1", Shape::Sequence, VALIDITY_MEMBERS);

constexpr MemberInfo TBS_CERTIFICATE_MEMBERS[] = {
    {"version",              &LONG_INTEGER,           EXPLICIT, 0, REQUIRED, 0, "version 1 leaves it out"},
    {"serialNumber",         &LONG_INTEGER},
    {"signature",            &OPAQUE_SEQUENCE},
    {"issuer",               &NAME},
    {"validity",             &VALIDITY},
    {"subject",              &NAME},
    {"subjectPublicKeyInfo", &KEY_INFO},
    {"issuerUniqueID",       &BITS,                   IMPLICIT, 1, OPTIONAL},
    {"subjectUniqueID",      &BITS,                   IMPLICIT, 2, OPTIONAL},
    {"extensions",           &CERTIFICATE_EXTENSIONS, EXPLICIT, 3, OPTIONAL}};
constexpr TypeInfo TBS_CERTIFICATE = RECORD_TYPE("RFC 5280, 4.1", Shape::Sequence, TBS_CERTIFICATE_MEMBERS);

constexpr MemberInfo CERTIFICATE_MEMBERS[] = {
    {"tbsCertificate",     &TBS_CERTIFICATE},
    {"signatureAlgorithm", &ALGORITHM},
    {"signatureValue",     &BITS}};

// ---- CRLs -----------------------------------------------------------------------------------------------------------

constexpr MemberInfo CRL_ENTRY_MEMBERS[] = {
    {"userCertificate",    &LONG_INTEGER},
    {"revocationDate",     &ANY},
    {"crlEntryExtensions", &ENTRY_EXTENSIONS, UNIVERSAL, 0, OPTIONAL}};
constexpr MemberInfo CRL_ENTRIES_MEMBERS[] = {{nullptr, &TYPE_CRL_ENTRY}};
constexpr TypeInfo CRL_ENTRIES =
    LIST_TYPE("RFC 5280, 5.1.2.6", Shape::SequenceOf, CRL_ENTRIES_MEMBERS, 20, Rule::EntriesTooMany);

constexpr MemberInfo TBS_CRL_MEMBERS[] = {
    {"version",             &INTEGER,        UNIVERSAL, 0, REQUIRED, 0, "version 1 leaves it out"},
    {"signature",           &ALGORITHM},
    {"issuer",              &NAME},
    {"thisUpdate",          &ANY},
    {"nextUpdate",          &ANY,            UNIVERSAL, 0, REQUIRED, 0, "RFC 5280, 5.1.2.5, lets no CRL do without"},
    {"revokedCertificates", &CRL_ENTRIES,    UNIVERSAL, 0, OPTIONAL},
    {"crlExtensions",       &CRL_EXTENSIONS, EXPLICIT,  0, OPTIONAL}};
constexpr TypeInfo TBS_CRL = RECORD_TYPE("RFC 5280, 5.1", Shape::Sequence, TBS_CRL_MEMBERS);

constexpr MemberInfo CRL_MEMBERS[] = {
    {"tbsCertList",        &TBS_CRL},
    {"signatureAlgorithm", &ALGORITHM},
    {"signatureValue",     &BITS}};

// ---- Messages -------------------------------------------------------------------------------------------------------

constexpr MemberInfo ENCAPSULATED_MEMBERS[] = {
    {"eContentType", &ANY, UNIVERSAL, 0, REQUIRED, OID},
    {"eContent",     &ANY, UNIVERSAL, 0, OPTIONAL, 0xA0}};
constexpr TypeInfo ENCAPSULATED = RECORD_TYPE("RFC 5652, 5.2", Shape::Sequence, ENCAPSULATED_MEMBERS);

constexpr MemberInfo CERTIFICATES_MEMBERS[] = {{nullptr, &TYPE_CERTIFICATE}};
constexpr TypeInfo CERTIFICATES =
    LIST_TYPE("RFC 5652, 10.2.3", Shape::SetOf, CERTIFICATES_MEMBERS, 2, Rule::CertificatesTooMany);

constexpr MemberInfo SIGNER_IDENTIFIER_MEMBERS[] = {
    {"issuer",       &NAME},
    {"serialNumber", &LONG_INTEGER}};
constexpr TypeInfo SIGNER_IDENTIFIER = RECORD_TYPE("RFC 5652, 10.2.4", Shape::Sequence, SIGNER_IDENTIFIER_MEMBERS);

constexpr MemberInfo SIGNED_ATTRIBUTE_MEMBERS[] = {
    {"messageDigest", &ANY, UNIVERSAL, 0, OPTIONAL, OCTETS, nullptr, OID_MESSAGE_DIGEST}};
constexpr TypeInfo SIGNED_ATTRIBUTES = RECORD_TYPE("RFC 5652, 5.3", Shape::Attributes, SIGNED_ATTRIBUTE_MEMBERS);
constexpr MemberInfo UNSIGNED_ATTRIBUTE_MEMBERS[] = {
    {"timeStampToken", &ANY, UNIVERSAL, 0, OPTIONAL, 0x30, nullptr, OID_TIMESTAMP_TOKEN}};
constexpr TypeInfo UNSIGNED_ATTRIBUTES = RECORD_TYPE("RFC 5652, 5.3", Shape::Attributes, UNSIGNED_ATTRIBUTE_MEMBERS);

constexpr MemberInfo SIGNER_MEMBERS[] = {
    {"version",            &INTEGER},
    {"sid",                &SIGNER_IDENTIFIER},
    {"digestAlgorithm",    &ALGORITHM},
    {"signedAttrs",        &SIGNED_ATTRIBUTES,   IMPLICIT,  0, OPTIONAL},
    {"signatureAlgorithm", &OPAQUE_SEQUENCE},
    {"signature",          &ANY,                 UNIVERSAL, 0, REQUIRED, OCTETS},
    {"unsignedAttrs",      &UNSIGNED_ATTRIBUTES, IMPLICIT,  1, OPTIONAL}};
constexpr TypeInfo SIGNER = RECORD_TYPE("RFC 5652, 5.3", Shape::Sequence, SIGNER_MEMBERS);
constexpr MemberInfo SIGNERS_MEMBERS[] = {{nullptr, &SIGNER}};
constexpr TypeInfo SIGNERS = LIST_TYPE("RFC 5652, 5.1", Shape::SetOf, SIGNERS_MEMBERS, 1, Rule::SignersTooMany);

constexpr MemberInfo SIGNED_DATA_MEMBERS[] = {
    {"version",          &INTEGER,         UNIVERSAL, 0, OPTIONAL},
    {"digestAlgorithms", &OPAQUE_SET},
    {"encapContentInfo", &ENCAPSULATED},
    {"certificates",     &CERTIFICATES,    IMPLICIT,  0, OPTIONAL},
    {"crls",             &OPAQUE_SEQUENCE, IMPLICIT,  1, OPTIONAL},
    {"signerInfos",      &SIGNERS}};
constexpr TypeInfo SIGNED_DATA = RECORD_TYPE("RFC 5652, 5.1", Shape::Sequence, SIGNED_DATA_MEMBERS);

constexpr MemberInfo MESSAGE_MEMBERS[] = {
    {"contentType", &ANY,         UNIVERSAL, 0, REQUIRED, OID},
    {"content",     &SIGNED_DATA, EXPLICIT,  0, REQUIRED}};

// ---- Timestamps -----------------------------------------------------------------------------------------------------

constexpr MemberInfo IMPRINT_MEMBERS[] = {
    {"hashAlgorithm", &ALGORITHM},
    {"hashedMessage", &ANY, UNIVERSAL, 0, REQUIRED, OCTETS}};
constexpr TypeInfo IMPRINT = RECORD_TYPE("RFC 3161, 2.4.1", Shape::Sequence, IMPRINT_MEMBERS);

constexpr MemberInfo TST_INFO_MEMBERS[] = {
    {"version",        &LONG_INTEGER},
    {"policy",         &ANY,             UNIVERSAL, 0, REQUIRED, OID},
    {"messageImprint", &IMPRINT},
    {"serialNumber",   &LONG_INTEGER},
    {"genTime",        &ANY},
    {"accuracy",       &OPAQUE_SEQUENCE, UNIVERSAL, 0, OPTIONAL},
    {"ordering",       &DROPPED_BOOLEAN, UNIVERSAL, 0, OPTIONAL},
    {"nonce",          &LONG_INTEGER,    UNIVERSAL, 0, OPTIONAL},
    {"tsa",            &OPAQUE_SEQUENCE, IMPLICIT,  0, OPTIONAL},
    {"extensions",     &OPAQUE_SEQUENCE, IMPLICIT,  1, OPTIONAL}};

constexpr MemberInfo TIMESTAMP_REQUEST_MEMBERS[] = {
    {"version",        &LONG_INTEGER},
    {"messageImprint", &IMPRINT},
    {"reqPolicy",      &IDENTIFIER,             UNIVERSAL, 0, OPTIONAL},
    {"nonce",          &LONG_INTEGER,    UNIVERSAL, 0, OPTIONAL},
    {"certReq",        &BOOLEAN,         UNIVERSAL, 0, OPTIONAL},
    {"extensions",     &OPAQUE_SEQUENCE, IMPLICIT,  0, OPTIONAL}};

constexpr MemberInfo STATUS_MEMBERS[] = {
    {"status",       &INTEGER},
    {"statusString", &OPAQUE_SEQUENCE, UNIVERSAL, 0, OPTIONAL},
    {"failInfo",     &BITS,            UNIVERSAL, 0, OPTIONAL}};
constexpr TypeInfo STATUS = RECORD_TYPE("RFC 3161, 2.4.2", Shape::Sequence, STATUS_MEMBERS);
constexpr MemberInfo TIMESTAMP_ANSWER_MEMBERS[] = {
    {"status",         &STATUS},
    {"timeStampToken", &TYPE_MESSAGE, UNIVERSAL, 0, OPTIONAL}};

// ---- Requests for certificates --------------------------------------------------------------------------------------

constexpr MemberInfo REQUEST_INFO_MEMBERS[] = {
    {"version",       &LONG_INTEGER},
    {"subject",       &NAME},
    {"subjectPKInfo", &KEY_INFO},
    {"attributes",    &OPAQUE_SEQUENCE, IMPLICIT, 0, OPTIONAL}};
constexpr TypeInfo REQUEST_INFO = RECORD_TYPE("RFC 2986, 4.1", Shape::Sequence, REQUEST_INFO_MEMBERS);
constexpr MemberInfo CERTIFICATION_REQUEST_MEMBERS[] = {
    {"certificationRequestInfo", &REQUEST_INFO},
    {"signatureAlgorithm",       &ALGORITHM},
    {"signature",                &BITS}};

// clang-format on

} // namespace

constexpr TypeInfo TYPE_CERTIFICATE = RECORD_TYPE("RFC 5280, 4.1", Shape::Sequence, CERTIFICATE_MEMBERS);
constexpr TypeInfo TYPE_CRL = RECORD_TYPE("RFC 5280, 5.1", Shape::Sequence, CRL_MEMBERS);
constexpr TypeInfo TYPE_CRL_ENTRY = RECORD_TYPE("RFC 5280, 5.1", Shape::Sequence, CRL_ENTRY_MEMBERS);
constexpr TypeInfo TYPE_MESSAGE = RECORD_TYPE("RFC 5652, 3", Shape::Sequence, MESSAGE_MEMBERS);
constexpr TypeInfo TYPE_TST_INFO = RECORD_TYPE("RFC 3161, 2.4.2", Shape::Sequence, TST_INFO_MEMBERS);
constexpr TypeInfo TYPE_TIMESTAMP_REQUEST = RECORD_TYPE("RFC 3161, 2.4.1", Shape::Sequence, TIMESTAMP_REQUEST_MEMBERS);
constexpr TypeInfo TYPE_TIMESTAMP_ANSWER = RECORD_TYPE("RFC 3161, 2.4.2", Shape::Sequence, TIMESTAMP_ANSWER_MEMBERS);
constexpr TypeInfo TYPE_CERTIFICATION_REQUEST =
    RECORD_TYPE("RFC 2986, 4.2", Shape::Sequence, CERTIFICATION_REQUEST_MEMBERS);

} // namespace pkgsign::inspection
