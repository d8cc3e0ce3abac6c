// Every way in which the library and libcrypto are known to read a certificate or a CRL differently. A difference that
// none of these explains is a finding.
#ifndef DIFFERENTIAL_DEPARTURES_H
#define DIFFERENTIAL_DEPARTURES_H

#include <string>

// Narrowings: the library refuses what libcrypto accepts.
#define NARROWING_LIST(ROW)                                                                                            \
    ROW(INDEFINITE_LENGTH, "an element of the indefinite form")                                                        \
    ROW(LONG_LENGTH, "a length of more than four octets")                                                              \
    ROW(HIGH_TAG, "an identifier of more than one octet")                                                              \
    ROW(PRIMITIVE_LIST, "a SET OF or SEQUENCE OF whose identifier says that it is primitive")                          \
    ROW(SEGMENTED_BITS, "a BIT STRING in segments")                                                                    \
    ROW(VERSION_1_CERTIFICATE, "a certificate of version 1, which tells no version")                                   \
    ROW(VERSION_1_CRL, "a CRL of version 1, which tells no version")                                                   \
    ROW(LARGE_VERSION, "a CRL whose version takes more than four octets")                                              \
    ROW(NO_NEXT_UPDATE, "a CRL that ends without nextUpdate")                                                          \
    ROW(KEY_NOT_RSA, "a public key that is no RSAPublicKey")                                                           \
    ROW(MANY_RELATIVE_NAMES, "a name of more than 10 RelativeDistinguishedNames")                                      \
    ROW(MANY_ATTRIBUTES, "a RelativeDistinguishedName of more than 10 attributes")                                     \
    ROW(MANY_REVOKED, "a CRL of more than 20 entries")                                                                 \
    ROW(MANY_PURPOSES, "more than 10 key purposes")                                                                    \
    ROW(KEY_USAGE_LENGTH, "a key usage of no bits or of more than 16")                                                 \
    ROW(REASON_LENGTH, "a reason code of no octet or of more than four")                                               \
    ROW(EMPTY_EXTENSION, "an extension whose value is empty")                                                          \
    ROW(MALFORMED_EXTENSION, "an extension that the library knows and whose value is not of its type")

// Leniencies: the library accepts what libcrypto refuses.
#define LENIENCY_LIST(ROW)                                                                                             \
    ROW(INTEGER_FORM, "an INTEGER without content or with a needless leading octet")                                   \
    ROW(IDENTIFIER_FORM, "in the place of an OBJECT IDENTIFIER another type, or a malformed one")                      \
    ROW(PARAMETERS_FORM, "parameters that are malformed by the rules of their type")                                   \
    ROW(UNREAD_ALGORITHM, "a signature member of TBSCertificate that is no AlgorithmIdentifier")                       \
    ROW(NAME_VALUE_FORM, "a name's value of no string type, or no text of its type")                                   \
    ROW(TIME_TYPE, "in the place of a time another type")                                                              \
    ROW(UNUSED_BITS, "a BIT STRING that tells of more than seven unused bits")                                         \
    ROW(EXTENSION_VALUE_TYPE, "in the place of an extension's OCTET STRING another type")                              \
    ROW(WRAPPER_LENGTH, "an EXPLICIT tag whose length is not that of the element inside")                              \
    ROW(UNREAD_REVOKED, "a CRL without nextUpdate, and in its place something malformed or a second list")

// Divergences: both accept, and read a field differently.
#define DIVERGENCE_LIST(ROW)                                                                                           \
    ROW(TIME_UNCHECKED, "a time that is no date, or has no Z")                                                         \
    ROW(TIME_OTHER_FORM, "a time without seconds, with a fraction or with an offset")                                  \
    ROW(OLD_YEAR, "a year before 1901")                                                                                \
    ROW(PADDING_BITS, "unused bits that are not zero")                                                                 \
    ROW(SEGMENTED_STRING, "a string in segments")                                                                      \
    ROW(TRUE_NOT_FF, "a BOOLEAN that is neither 00 nor FF")                                                            \
    ROW(EXTENSION_FORM, "a known extension that only the library can read")                                            \
    ROW(REPEATED_EXTENSION, "a known extension that is there twice")                                                   \
    ROW(MISSING_NEXT_UPDATE, "a CRL without nextUpdate, and in its place what follows")

// Left open: the library accepts. libcrypto may refuse or accept, since its releases differ: 3.0.19 refuses this, 3.0.22
// does not.
#define OPEN_LIST(ROW) ROW(LENGTH_AT_END, "an empty last element whose length takes the long form")

#define ROW(name, text) name,
enum class Departure { MALFORMED, NARROWING_LIST(ROW) LENIENCY_LIST(ROW) DIVERGENCE_LIST(ROW) OPEN_LIST(ROW) };
#undef ROW

// The name and what it stands for.
std::string DepartureText(Departure departure);

#endif
