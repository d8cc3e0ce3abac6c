#include "tests/differential/survey_pieces.h"

#include <openssl/rsa.h>
#include <openssl/x509v3.h>

using der::Bytes;

namespace
{

constexpr size_t MAX_PURPOSES = 10;

bool IsConstraintsOfLibcrypto(const Bytes &value)
{
    return IsTaken(d2i_BASIC_CONSTRAINTS, BASIC_CONSTRAINTS_free, value);
}

bool IsUsageOfLibcrypto(const Bytes &value)
{
    return IsTaken(d2i_ASN1_BIT_STRING, ASN1_BIT_STRING_free, value);
}

bool IsPurposesOfLibcrypto(const Bytes &value)
{
    return IsTaken(d2i_EXTENDED_KEY_USAGE, EXTENDED_KEY_USAGE_free, value);
}

// BasicConstraints: cA, then anything in the place of pathLenConstraint.
bool ReadConstraints(Reader *value, const std::string &field)
{
    Reader inside;
    Element element;
    if (!TakeSequence(value, &inside)) {
        return false;
    }
    if (!AtEnd(inside)) {
        if (!Take(&inside, &element)) {
            return false;
        }
        if (IsUniversal(element, 1, false) && LengthOf(element) == 1) {
            const uint8_t octet = (*value->input)[element.content];
            if (octet != 0 && octet != 0xFF) {
                value->survey->differing[field] = Departure::TRUE_NOT_FF;
            }
            if (!AtEnd(inside) && !Take(&inside, &element)) {
                return false;
            }
        }
    }
    return End(&inside);
}

bool ReadUsage(Reader *value, const std::string &field)
{
    Element element;
    if (!TakeBits(value, field, &element)) {
        return false;
    }
    if (!element.constructed && (LengthOf(element) < 2 || LengthOf(element) > 3)) {
        value->survey->library.insert(Departure::KEY_USAGE_LENGTH);
    }
    return true;
}

bool ReadPurposes(Reader *value, const std::string &)
{
    Reader list;
    if (!TakeList(value, 16, &list)) {
        return false;
    }
    size_t purposes = 0;
    for (; !AtEnd(list); ++purposes) {
        Element element;
        if (!Take(&list, &element)) {
            return false;
        }
    }
    if (purposes > MAX_PURPOSES) {
        value->survey->library.insert(Departure::MANY_PURPOSES);
    }
    return true;
}

const std::vector<KnownExtension> &CertificateExtensions()
{
    static const std::vector<KnownExtension> extensions = {
        {{0x55, 0x1D, 0x13}, "basicConstraints", ReadConstraints, IsConstraintsOfLibcrypto, false},
        {{0x55, 0x1D, 0x0F}, "keyUsage", ReadUsage, IsUsageOfLibcrypto, false},
        {{0x55, 0x1D, 0x25}, "extKeyUsage", ReadPurposes, IsPurposesOfLibcrypto, false},
    };
    return extensions;
}

// The RSAPublicKey in a subjectPublicKey; libcrypto looks at it only when it is asked to.
void JudgeKey(Survey *survey, const Bytes &key)
{
    Survey inside;
    Reader reader = ReaderOf(key, &inside);
    Reader numbers;
    if (!TakeSequence(&reader, &numbers) || !TakeInteger(&numbers) || !TakeInteger(&numbers) || !End(&numbers) ||
        !End(&reader)) {
        inside.library.erase(Departure::MALFORMED);
        inside.library.insert(Departure::KEY_NOT_RSA);
    }
    survey->library.merge(inside.library);
    if (!IsTaken(d2i_RSAPublicKey, RSA_free, key)) {
        survey->differing["modulus"] = survey->differing["publicExponent"] = Departure::LENGTH_AT_END;
    }
}

// SubjectPublicKeyInfo.
bool TakeKeyInfo(Reader *reader)
{
    Reader info;
    Element bits;
    if (!TakeSequence(reader, &info) || !TakeAlgorithm(&info, "keyAlgorithm") ||
        !TakeBits(&info, "publicExponent", &bits)) {
        return false;
    }
    if (!bits.constructed) {
        Bytes key = ContentOf(*reader->input, bits);
        key.erase(key.begin());
        JudgeKey(reader->survey, key);
    }
    return End(&info);
}

// The signature member: the library takes any SEQUENCE.
bool TakeInnerAlgorithm(Reader *reader)
{
    Reader inside;
    const size_t start = reader->pos;
    if (!TakeSequence(reader, &inside)) {
        return false;
    }
    Survey unread;
    Reader again = {reader->input, start, reader->pos, reader->visible, &unread};
    if (!TakeAlgorithm(&again, "signature") || !unread.libcrypto.empty()) {
        reader->survey->libcrypto.insert(IsOpen(unread.libcrypto) ? Departure::LENGTH_AT_END
                                                                  : Departure::UNREAD_ALGORITHM);
    }
    return true;
}

bool TakeVersion(Reader *reader)
{
    Element element;
    if (!ReadHeader(*reader->input, reader->pos, reader->end, &element)) {
        return Malformed(reader);
    }
    if (!IsContext(element, 0) || !element.constructed) {
        reader->survey->library.insert(Departure::VERSION_1_CERTIFICATE);
        return true;
    }
    return TakeWrapped(reader, TakeInteger);
}

// [1] and [2], the unique identifiers of issuer and subject, and [3], the extensions.
bool TakeOptionalMembers(Reader *reader)
{
    Element element;
    for (uint32_t tag = 1; tag <= 2; ++tag) {
        if (Peek(*reader, &element) && IsContext(element, tag)) {
            if (!Take(reader, &element) || (LengthOf(element) == 0 && Malformed(reader))) {
                return false;
            }
            JudgeBits(reader->survey, RetaggedOf(*reader->input, element, element.constructed ? 0x23 : 0x03),
                      "unique identifier");
        }
    }
    if (ReadHeader(*reader->input, reader->pos, reader->end, &element) && IsContext(element, 3) &&
        element.constructed) {
        return TakeWrapped(reader, [](Reader *inside) { return TakeExtensions(inside, CertificateExtensions()); });
    }
    return true;
}

bool TakeTbsCertificate(Reader *reader)
{
    Reader tbs;
    Reader validity;
    return TakeSequence(reader, &tbs) && TakeVersion(&tbs) && TakeInteger(&tbs) && TakeInnerAlgorithm(&tbs) &&
           TakeName(&tbs, "issuer") && TakeSequence(&tbs, &validity) && TakeTime(&validity, "notBefore") &&
           TakeTime(&validity, "notAfter") && End(&validity) && TakeName(&tbs, "subject") && TakeKeyInfo(&tbs) &&
           TakeOptionalMembers(&tbs) && End(&tbs);
}

} // namespace

Survey SurveyCertificate(const Bytes &input)
{
    Survey survey;
    Reader reader = ReaderOf(input, &survey);
    Reader certificate;
    Element signature;
    if (TakeSequence(&reader, &certificate) && TakeTbsCertificate(&certificate) &&
        TakeAlgorithm(&certificate, "signatureAlgorithm") && TakeBits(&certificate, "signatureValue", &signature)) {
        End(&certificate);
    }
    return survey;
}
