// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "tests/differential/facts.h"

#include <time.h>

#include <memory>

#include <openssl/bn.h>
#include <openssl/err.h>
#include <openssl/rsa.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include "tests/differential/element.h"

using der::Bytes;
using Fields = std::map<std::string, std::string>;

namespace
{

// Owns an object of libcrypto.
template <typename Object, void (*Free)(Object *)>
struct Release {
    void operator()(Object *object) const
    {
        Free(object);
    }
};
template <typename Object, void (*Free)(Object *)>
using Owned = std::unique_ptr<Object, Release<Object, Free>>;

// What an i2d function of libcrypto writes. It changes nothing, but before version 3 its argument is not const.
template <typename Argument, typename Object>
Bytes Encoded(int (*write)(Argument *, unsigned char **), const Object *object)
{
    unsigned char *octets = nullptr;
    const int count = write(const_cast<Object *>(object), &octets);
    const Bytes encoding = count > 0 ? Bytes(octets, octets + count) : Bytes();
    OPENSSL_free(octets);
    return encoding;
}

std::string HexText(const Bytes &octets)
{
    return HexOf(octets.data(), octets.size());
}

std::string StringText(const ASN1_STRING *string)
{
    return HexOf(ASN1_STRING_get0_data(string), static_cast<size_t>(ASN1_STRING_length(string)));
}

std::string IdentifierText(const ASN1_OBJECT *identifier)
{
    return HexOf(OBJ_get0_data(identifier), OBJ_length(identifier));
}

// The content of an INTEGER without one leading zero.
std::string SerialText(const ASN1_INTEGER *number)
{
    const Bytes encoding = Encoded(i2d_ASN1_INTEGER, number);
    ElementPlace element;
    if (!ReadElement(encoding, 0, encoding.size(), &element)) {
        return UNREADABLE;
    }
    const std::string text = HexText(ContentOf(encoding, element));
    return text.compare(0, 2, "00") == 0 ? text.substr(2) : text;
}

std::string NumberText(const BIGNUM *number)
{
    Bytes octets(static_cast<size_t>(BN_num_bytes(number)));
    BN_bn2bin(number, octets.data());
    return HexText(octets);
}

std::string TimeText(const ASN1_TIME *time)
{
    if (time == nullptr) {
        return "absent";
    }
    struct tm broken = {};
    if (ASN1_TIME_to_tm(time, &broken) != 1) {
        return UNREADABLE;
    }
    return std::to_string(timegm(&broken));
}

// The second of two elements in a SEQUENCE; nothing when it is empty or absent.
std::string SecondText(const Bytes &sequence)
{
    ElementPlace outer;
    ElementPlace first;
    ElementPlace second;
    if (!ReadElement(sequence, 0, sequence.size(), &outer) ||
        !ReadElement(sequence, outer.content, outer.end, &first) ||
        !ReadElement(sequence, first.end, outer.end, &second)) {
        return "";
    }
    Bytes content = ContentOf(sequence, second);
    if (second.identifier == der::INTEGER && !content.empty() && content[0] == 0) {
        content.erase(content.begin());
    }
    if (content.empty()) {
        return "";
    }
    return std::to_string(second.identifier >> 6) + ((second.identifier & 0x20) != 0 ? ".1." : ".0.") +
           std::to_string(second.identifier & 0x1F) + ":" + HexText(content);
}

std::string NameText(const X509_NAME *name)
{
    std::string text;
    for (int i = 0; i < X509_NAME_entry_count(name); ++i) {
        const X509_NAME_ENTRY *const entry = X509_NAME_get_entry(name, i);
        text += std::to_string(X509_NAME_ENTRY_set(entry));
        text += '/';
        text += IdentifierText(X509_NAME_ENTRY_get_object(entry));
        text += '=';
        text += SecondText(Encoded(i2d_X509_NAME_ENTRY, entry)) + " ";
    }
    return text;
}

std::string AlgorithmText(const X509_ALGOR *algorithm)
{
    const ASN1_OBJECT *identifier = nullptr;
    X509_ALGOR_get0(&identifier, nullptr, nullptr, algorithm);
    return IdentifierText(identifier) + " " + SecondText(Encoded(i2d_X509_ALGOR, algorithm));
}

void ReadKey(X509_PUBKEY *info, Fields *fields)
{
    const unsigned char *octets = nullptr;
    int count = 0;
    X509_ALGOR *algorithm = nullptr;
    X509_PUBKEY_get0_param(nullptr, &octets, &count, &algorithm, info);
    (*fields)["keyAlgorithm"] = AlgorithmText(algorithm);
    const Owned<RSA, RSA_free> key(d2i_RSAPublicKey(nullptr, &octets, count));
    (*fields)["modulus"] = key ? NumberText(RSA_get0_n(key.get())) : UNREADABLE;
    (*fields)["publicExponent"] = key ? NumberText(RSA_get0_e(key.get())) : UNREADABLE;
}

// ---- Extensions ----------------------------------------------------------------------------------------------------

// Decodes the value of an extension; null when it is not of that type.
template <typename Object>
Object *Decoded(Object *(*read)(Object **, const unsigned char **, long), const ASN1_OCTET_STRING *value)
{
    const unsigned char *octets = ASN1_STRING_get0_data(value);
    return read(nullptr, &octets, ASN1_STRING_length(value));
}

// Whether a BasicConstraints says cA, TRUE or FALSE.
bool SaysCa(const ASN1_OCTET_STRING *value)
{
    const unsigned char *const octets = ASN1_STRING_get0_data(value);
    const Bytes encoding(octets, octets + ASN1_STRING_length(value));
    ElementPlace outer;
    ElementPlace first;
    return ReadElement(encoding, 0, encoding.size(), &outer) &&
           ReadElement(encoding, outer.content, outer.end, &first) && first.identifier == der::BOOLEAN;
}

std::string ConstraintsText(const ASN1_OCTET_STRING *value, const std::string &before)
{
    const Owned<BASIC_CONSTRAINTS, BASIC_CONSTRAINTS_free> constraints(Decoded(d2i_BASIC_CONSTRAINTS, value));
    if (constraints != nullptr && !SaysCa(value)) {
        return before;
    }
    return constraints == nullptr ? UNREADABLE : std::to_string(constraints->ca != 0 ? 1 : 0);
}

std::string UsageText(const ASN1_OCTET_STRING *value, const std::string &)
{
    const Owned<ASN1_BIT_STRING, ASN1_BIT_STRING_free> bits(Decoded(d2i_ASN1_BIT_STRING, value));
    if (bits == nullptr) {
        return UNREADABLE;
    }
    unsigned number = 0;
    for (int i = 0; i < ASN1_STRING_length(bits.get()); ++i) {
        number = number * 256 + ASN1_STRING_get0_data(bits.get())[i];
    }
    return std::to_string(number);
}

// Of the purposes only the first one counts: 8 is code signing and 64 is time stamping.
std::string PurposesText(const ASN1_OCTET_STRING *value, const std::string &before)
{
    const Owned<EXTENDED_KEY_USAGE, EXTENDED_KEY_USAGE_free> purposes(Decoded(d2i_EXTENDED_KEY_USAGE, value));
    if (purposes == nullptr) {
        return UNREADABLE;
    }
    if (sk_ASN1_OBJECT_num(purposes.get()) == 0) {
        return before;
    }
    const int first = OBJ_obj2nid(sk_ASN1_OBJECT_value(purposes.get(), 0));
    return std::to_string(std::stoi(before) | (first == NID_code_sign ? 8 : first == NID_time_stamp ? 64 : 0));
}

std::string ReasonText(const ASN1_OCTET_STRING *value, const std::string &)
{
    const Owned<ASN1_ENUMERATED, ASN1_ENUMERATED_free> reason(Decoded(d2i_ASN1_ENUMERATED, value));
    int64_t number = 0;
    if (reason == nullptr || ASN1_ENUMERATED_get_int64(&number, reason.get()) != 1) {
        return UNREADABLE;
    }
    return std::to_string(static_cast<uint32_t>(number));
}

std::string PointText(const ISSUING_DIST_POINT &point)
{
    std::string text = point.distpoint != nullptr ? "distributionPoint 1" : "distributionPoint 0";
    text += point.onlyuser > 0 ? " user 1" : " user 0";
    text += point.onlyCA > 0 ? " CA 1" : " CA 0";
    text += " reasons " + (point.onlysomereasons != nullptr ? StringText(point.onlysomereasons) : std::string());
    text += point.indirectCRL > 0 ? " indirect 1" : " indirect 0";
    text += point.onlyattr > 0 ? " attribute 1" : " attribute 0";
    return text;
}

std::string PointValueText(const ASN1_OCTET_STRING *value, const std::string &)
{
    const Owned<ISSUING_DIST_POINT, ISSUING_DIST_POINT_free> point(Decoded(d2i_ISSUING_DIST_POINT, value));
    return point == nullptr ? UNREADABLE : PointText(*point);
}

// Puts what the extensions of a kind say into their field, one after the other as the library does. The field keeps its
// value when there is none, and is unreadable when one is.
void ReadExtension(const STACK_OF(X509_EXTENSION) * extensions, int kind,
                   std::string (*text)(const ASN1_OCTET_STRING *, const std::string &), std::string *field)
{
    for (int i = 0; i < sk_X509_EXTENSION_num(extensions) && *field != UNREADABLE; ++i) {
        X509_EXTENSION *const extension = sk_X509_EXTENSION_value(extensions, i);
        if (OBJ_obj2nid(X509_EXTENSION_get_object(extension)) == kind) {
            *field = text(X509_EXTENSION_get_data(extension), *field);
        }
    }
}

// ---- Certificates and CRLs -----------------------------------------------------------------------------------------

// The first element inside the encoding: libcrypto keeps what is signed as it was read.
std::string SignedText(const Bytes &encoding)
{
    ElementPlace outer;
    ElementPlace inner;
    if (!ReadElement(encoding, 0, encoding.size(), &outer) ||
        !ReadElement(encoding, outer.content, outer.end, &inner)) {
        return UNREADABLE;
    }
    return HexText(WholeOf(encoding, inner));
}

void ReadCertificate(X509 *cert, Fields *fields)
{
    const ASN1_BIT_STRING *signature = nullptr;
    const X509_ALGOR *algorithm = nullptr;
    X509_get0_signature(&signature, &algorithm, cert);
    *fields = {{"tbs", SignedText(Encoded(i2d_X509, cert))},
               {"serialNumber", SerialText(X509_get0_serialNumber(cert))},
               {"issuer", NameText(X509_get_issuer_name(cert))},
               {"notBefore", TimeText(X509_get0_notBefore(cert))},
               {"notAfter", TimeText(X509_get0_notAfter(cert))},
               {"subject", NameText(X509_get_subject_name(cert))},
               {"basicConstraints", "0"},
               {"keyUsage", "0"},
               {"extKeyUsage", "0"},
               {"signatureAlgorithm", AlgorithmText(algorithm)},
               {"signatureValue", StringText(signature)}};
    ReadKey(X509_get_X509_PUBKEY(cert), fields);
    const STACK_OF(X509_EXTENSION) *const extensions = X509_get0_extensions(cert);
    ReadExtension(extensions, NID_basic_constraints, ConstraintsText, &(*fields)["basicConstraints"]);
    ReadExtension(extensions, NID_key_usage, UsageText, &(*fields)["keyUsage"]);
    ReadExtension(extensions, NID_ext_key_usage, PurposesText, &(*fields)["extKeyUsage"]);
}

void ReadEntry(const X509_REVOKED *entry, size_t n, Fields *fields)
{
    (*fields)[EntryField(n, "serialNumber")] = SerialText(X509_REVOKED_get0_serialNumber(entry));
    (*fields)[EntryField(n, "date")] = TimeText(X509_REVOKED_get0_revocationDate(entry));
    std::string reason = std::to_string(0);
    ReadExtension(X509_REVOKED_get0_extensions(entry), NID_crl_reason, ReasonText, &reason);
    (*fields)[EntryField(n, "reason")] = reason;
}

void ReadCrl(X509_CRL *crl, Fields *fields)
{
    const ASN1_BIT_STRING *signature = nullptr;
    const X509_ALGOR *algorithm = nullptr;
    X509_CRL_get0_signature(crl, &signature, &algorithm);
    STACK_OF(X509_REVOKED) *const entries = X509_CRL_get_REVOKED(crl);
    const int count = entries == nullptr ? 0 : sk_X509_REVOKED_num(entries);
    *fields = {{"tbs", SignedText(Encoded(i2d_X509_CRL, crl))},
               {"version", std::to_string(static_cast<uint32_t>(X509_CRL_get_version(crl)))},
               {"issuer", NameText(X509_CRL_get_issuer(crl))},
               {"thisUpdate", TimeText(X509_CRL_get0_lastUpdate(crl))},
               {"nextUpdate", TimeText(X509_CRL_get0_nextUpdate(crl))},
               {"entries", std::to_string(count)},
               {"issuingDistributionPoint", PointText(ISSUING_DIST_POINT())},
               {"signatureAlgorithm", AlgorithmText(algorithm)},
               {"signatureValue", StringText(signature)}};
    for (int i = 0; i < count; ++i) {
        ReadEntry(sk_X509_REVOKED_value(entries, i), static_cast<size_t>(i), fields);
    }
    ReadExtension(X509_CRL_get0_extensions(crl), NID_issuing_distribution_point, PointValueText,
                  &(*fields)["issuingDistributionPoint"]);
}

} // namespace

Facts LibcryptoCertificate(const Bytes &input)
{
    const unsigned char *octets = input.data();
    const Owned<X509, X509_free> cert(d2i_X509(nullptr, &octets, static_cast<long>(input.size())));
    Facts facts;
    facts.accepted = cert != nullptr;
    if (facts.accepted) {
        ReadCertificate(cert.get(), &facts.fields);
        facts.fields["consumed"] = std::to_string(octets - input.data());
    }
    ERR_clear_error();
    return facts;
}

Facts LibcryptoCrl(const Bytes &input)
{
    const unsigned char *octets = input.data();
    const Owned<X509_CRL, X509_CRL_free> crl(d2i_X509_CRL(nullptr, &octets, static_cast<long>(input.size())));
    Facts facts;
    facts.accepted = crl != nullptr;
    if (facts.accepted) {
        ReadCrl(crl.get(), &facts.fields);
        facts.fields["consumed"] = std::to_string(octets - input.data());
    }
    ERR_clear_error();
    return facts;
}
