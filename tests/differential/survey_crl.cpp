#include "tests/differential/survey_pieces.h"

#include <openssl/x509v3.h>

#include "tests/differential/facts.h"

using der::Bytes;

namespace
{

constexpr size_t MAX_ENTRIES = 20;
constexpr size_t MAX_INTEGER_OCTETS = 4;

bool IsReasonOfLibcrypto(const Bytes &value)
{
    return IsTaken(d2i_ASN1_ENUMERATED, ASN1_ENUMERATED_free, value);
}

bool IsPointOfLibcrypto(const Bytes &value)
{
    return IsTaken(d2i_ISSUING_DIST_POINT, ISSUING_DIST_POINT_free, value);
}

bool ReadReason(Reader *value, const std::string &)
{
    Element element;
    if (!Take(value, &element)) {
        return false;
    }
    if (!IsUniversal(element, 10, false)) {
        return Malformed(value);
    }
    if (LengthOf(element) < 1 || LengthOf(element) > MAX_INTEGER_OCTETS) {
        value->survey->library.insert(Departure::REASON_LENGTH);
    }
    return true;
}

// A member of IssuingDistributionPoint: [0] is anything, [3] a BIT STRING, and the others are BOOLEAN.
bool ReadPointMember(Reader *value, const Element &member, const std::string &field)
{
    if (member.tag == 0) {
        return true;
    }
    if (member.constructed || LengthOf(member) == 0 || (member.tag != 3 && LengthOf(member) != 1)) {
        return Malformed(value);
    }
    const uint8_t octet = (*value->input)[member.content];
    if (member.tag == 3) {
        JudgeBits(value->survey, RetaggedOf(*value->input, member, 0x03), field);
    } else if (octet != 0 && octet != 0xFF) {
        value->survey->differing[field] = Departure::TRUE_NOT_FF;
    }
    return true;
}

bool ReadPoint(Reader *value, const std::string &field)
{
    Reader point;
    if (!TakeSequence(value, &point)) {
        return false;
    }
    for (uint32_t tag = 0; tag <= 5; ++tag) {
        Element member;
        if (Peek(point, &member) && IsContext(member, tag)) {
            if (!Take(&point, &member) || !ReadPointMember(&point, member, field)) {
                return false;
            }
        }
    }
    return End(&point);
}

bool TakeEntry(Reader *reader, size_t n)
{
    Reader entry;
    if (!TakeSequence(reader, &entry) || !TakeInteger(&entry) || !TakeTime(&entry, EntryField(n, "date"))) {
        return false;
    }
    const std::vector<KnownExtension> known = {
        {{0x55, 0x1D, 0x15}, EntryField(n, "reason"), ReadReason, IsReasonOfLibcrypto, false}};
    if (!AtEnd(entry) && !TakeExtensions(&entry, known)) {
        return false;
    }
    return End(&entry);
}

bool TakeRevoked(Reader *reader)
{
    Reader list;
    if (!TakeList(reader, 16, &list)) {
        return false;
    }
    size_t entries = 0;
    for (; !AtEnd(list); ++entries) {
        if (!TakeEntry(&list, entries)) {
            return false;
        }
    }
    if (entries > MAX_ENTRIES) {
        reader->survey->library.insert(Departure::MANY_REVOKED);
    }
    return true;
}

// What follows nextUpdate.
bool TakeRest(Reader *reader)
{
    static const std::vector<KnownExtension> known = {
        {{0x55, 0x1D, 0x1C}, "issuingDistributionPoint", ReadPoint, IsPointOfLibcrypto, true}};
    Element element;
    if (Peek(*reader, &element) && element.cls == 0 && element.tag == 16 && !TakeRevoked(reader)) {
        return false;
    }
    if (ReadHeader(*reader->input, reader->pos, reader->end, &element) && IsContext(element, 0) &&
        element.constructed && !TakeWrapped(reader, [](Reader *inside) { return TakeExtensions(inside, known); })) {
        return false;
    }
    return End(reader);
}

bool IsTime(const Element &element)
{
    return element.cls == 0 && (element.tag == 23 || element.tag == 24);
}

// A CRL without nextUpdate. The library takes what stands in its place for a time that it will not be able to convert;
// libcrypto takes it for what it is.
bool TakeWithoutNextUpdate(Reader *reader)
{
    Survey libcrypto;
    Reader asLibcrypto = *reader;
    asLibcrypto.survey = &libcrypto;
    TakeRest(&asLibcrypto);
    if (!libcrypto.libcrypto.empty()) {
        reader->survey->libcrypto.insert(IsOpen(libcrypto.libcrypto) ? Departure::LENGTH_AT_END
                                                                     : Departure::UNREAD_REVOKED);
    }
    reader->survey->differing["nextUpdate"] = Departure::MISSING_NEXT_UPDATE;
    reader->survey->mayDiffer["issuingDistributionPoint"] = Departure::MISSING_NEXT_UPDATE;
    reader->survey->mayDiffer["entries"] = Departure::MISSING_NEXT_UPDATE;
    for (size_t n = 0; n < MAX_ENTRIES; ++n) {
        for (const char *field : {"serialNumber", "date", "reason"}) {
            reader->survey->mayDiffer[EntryField(n, field)] = Departure::MISSING_NEXT_UPDATE;
        }
    }
    Survey library;
    Reader asLibrary = *reader;
    asLibrary.survey = &library;
    Element element;
    if (Take(&asLibrary, &element)) {
        TakeRest(&asLibrary);
    }
    reader->survey->library.merge(library.library);
    reader->pos = reader->end;
    return true;
}

bool TakeNextUpdateAndRest(Reader *reader)
{
    Element element;
    if (AtEnd(*reader)) {
        reader->survey->library.insert(Departure::NO_NEXT_UPDATE);
        return true;
    }
    if (Peek(*reader, &element) && IsTime(element)) {
        return TakeTime(reader, "nextUpdate") && TakeRest(reader);
    }
    return TakeWithoutNextUpdate(reader);
}

bool TakeVersion(Reader *reader)
{
    Element element;
    if (!Peek(*reader, &element) || element.cls != 0 || element.tag != 2) {
        reader->survey->library.insert(Departure::VERSION_1_CRL);
        return true;
    }
    if (LengthOf(element) == 0) {
        return Malformed(reader);
    }
    if (LengthOf(element) > MAX_INTEGER_OCTETS) {
        reader->survey->library.insert(Departure::LARGE_VERSION);
    }
    return TakeInteger(reader);
}

bool TakeTbsCertList(Reader *reader)
{
    Reader tbs;
    return TakeSequence(reader, &tbs) && TakeVersion(&tbs) && TakeAlgorithm(&tbs, "signature") &&
           TakeName(&tbs, "issuer") && TakeTime(&tbs, "thisUpdate") && TakeNextUpdateAndRest(&tbs);
}

} // namespace

Survey SurveyCrl(const Bytes &input)
{
    Survey survey;
    Reader reader = ReaderOf(input, &survey);
    Reader crl;
    Element signature;
    if (TakeSequence(&reader, &crl) && TakeTbsCertList(&crl) && TakeAlgorithm(&crl, "signatureAlgorithm") &&
        TakeBits(&crl, "signatureValue", &signature)) {
        End(&crl);
    }
    return survey;
}
