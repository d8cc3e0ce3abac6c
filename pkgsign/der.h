// Writing of DER (ITU-T X.690). The encoders return whole elements, so that nested calls read like the ASN.1 they make.
#ifndef PKGSIGN_DER_H
#define PKGSIGN_DER_H

#include "pkgsign/pkgsign.h"

#include <string>
#include <vector>

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
PkgsignBytes PkgsignDerElement(uint8_t identifier, const PkgsignBytes &content);

// The elements one behind the other, without a wrapper.
PkgsignBytes PkgsignDerJoin(const std::vector<PkgsignBytes> &elements);

PkgsignBytes PkgsignDerSequence(const std::vector<PkgsignBytes> &elements);

// A SET OF, its elements in the order of their encodings (X.690, 11.6).
PkgsignBytes PkgsignDerSetOf(std::vector<PkgsignBytes> elements);

// [number] EXPLICIT, or IMPLICIT of a constructed type.
PkgsignBytes PkgsignDerConstructed(uint8_t number, const PkgsignBytes &content);

PkgsignBytes PkgsignDerBoolean(bool value);
PkgsignBytes PkgsignDerNull();
PkgsignBytes PkgsignDerOctetString(const PkgsignBytes &octets);

// value: 0 or more.
PkgsignBytes PkgsignDerInteger(int64_t value);

// An INTEGER, never negative, from its octets, most significant first.
PkgsignBytes PkgsignDerUnsigned(const PkgsignBytes &octets);

// A BIT STRING of whole octets.
PkgsignBytes PkgsignDerBitString(const PkgsignBytes &octets);

// A BIT STRING with named bits: bit n of the mask is bit n of the string; zero bits at the end are left out.
PkgsignBytes PkgsignDerNamedBits(uint32_t mask);

// Time as RFC 5280 chooses it: UTCTime from 1950 to 2049, GeneralizedTime otherwise.
PkgsignStatus PkgsignDerTime(int64_t seconds, PkgsignBytes *timeOut);

PkgsignStatus PkgsignDerGeneralizedTime(int64_t seconds, PkgsignBytes *timeOut);

// identifier: dotted, or a short name of libcrypto's.
PkgsignStatus PkgsignDerObjectIdentifier(const std::string &identifier, PkgsignBytes *elementOut);

// The same for an identifier known to be right: one that stands in our own source.
PkgsignBytes PkgsignDerKnownIdentifier(const char *dotted);

#endif
