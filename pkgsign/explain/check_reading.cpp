// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Records of the decoder and of candidates for an issuer.
#include <algorithm>

#include "asn1/cursor.h"
#include "pkgsign/explain/check_collector.h"
#include "sigkit/sigkit.h"

namespace pkgsign
{
namespace
{

ReadProblem::Kind KindOf(const SigkitTraceRecord &record)
{
    const SigkitAsnTemplate *const entry = static_cast<const SigkitAsnTemplate *>(record.object);
    switch (record.point) {
    case SIGKIT_TRACE_LENGTH_INDEFINITE:
        return record.value == 0 ? ReadProblem::Kind::Indefinite : ReadProblem::Kind::Member;
    case SIGKIT_TRACE_LENGTH_OVERFLOW:
        return ReadProblem::Kind::Overflow;
    case SIGKIT_TRACE_ELEMENT_TOO_MANY:
        return entry->item == &g_itemSigkitPkcs7SignedInfo   ? ReadProblem::Kind::TooManySigners
               : entry->item == &g_itemSigkitX509RevokeEntry ? ReadProblem::Kind::TooManyEntries
               : (entry->flags & SIGKIT_ASN_FLAG_RAW) != 0   ? ReadProblem::Kind::TooManyCertificates
                                                             : ReadProblem::Kind::TooMany;
    default:
        return ReadProblem::Kind::Member;
    }
}

// The problem that lies furthest in the input is the one that the others follow from: the decoder tries what may be
// absent, and goes back.
void TakeProblem(TraceCollector *collector, const SigkitTraceRecord &record)
{
    const SigkitDecodeBuf &buffer = *static_cast<const SigkitDecodeBuf *>(record.subject);
    ReadProblem &known = collector->check->problem;
    if (buffer.data == collector->readBase && known.kind != ReadProblem::Kind::None && buffer.pos <= known.offset) {
        return;
    }
    const SigkitAsnTemplate *const entry = static_cast<const SigkitAsnTemplate *>(record.object);
    collector->readBase = buffer.data;
    known.kind = KindOf(record);
    known.offset = buffer.pos;
    known.octet = buffer.pos < buffer.size ? buffer.data[buffer.pos] : -1;
    known.isSignerId = record.point == SIGKIT_TRACE_MEMBER_REFUSED && entry->item == &g_itemSigkitPkcs7IssuerAndSerial;
}

RejectedCandidate Rejected(TraceCollector *collector, const SigkitTraceRecord &record, const SigkitX509Name *issuerName,
                           size_t candidate)
{
    switch (record.point) {
    case SIGKIT_TRACE_ISSUER_NO_CA:
        return {candidate, "it is no CA certificate (basic constraints)"};
    case SIGKIT_TRACE_ISSUER_NO_CERT_SIGN:
        return {candidate, "its key usage lacks keyCertSign"};
    case SIGKIT_TRACE_CRL_NO_CRL_SIGN:
        return {candidate, "its key usage lacks cRLSign"};
    default:
        break;
    }
    if (static_cast<uint32_t>(record.value) != SIGKIT_OK) {
        return {candidate, std::string("the signature cannot be checked: ") +
                               SigkitStatusText(static_cast<uint32_t>(record.value))};
    }
    if (collector->agreeingName != issuerName || collector->agreeing != candidate) {
        return {candidate, "its subject is not the issuer's name", true};
    }
    return {candidate, "it bears the issuer's name, and its key does not verify the signature"};
}

void Add(const RejectedCandidate &candidate, std::vector<RejectedCandidate> *known)
{
    if (std::none_of(known->begin(), known->end(),
                     [&](const RejectedCandidate &other) { return other.certificate == candidate.certificate; })) {
        known->push_back(candidate);
    }
}

void TakeCertCandidate(TraceCollector *collector, const SigkitTraceRecord &record)
{
    Check *const check = collector->check;
    const SigkitX509Cert *const cert = static_cast<const SigkitX509Cert *>(record.subject);
    const size_t place = collector->See(cert);
    const size_t candidate = collector->See(record.object);
    if (record.point == SIGKIT_TRACE_ISSUER_TAKEN) {
        check->issuers[place] = candidate;
    } else if (candidate != place) {
        Add(Rejected(collector, record, &cert->tbsCertificate.issuer, candidate), &check->rejected[place]);
    }
}

void TakeCrlCandidate(TraceCollector *collector, const SigkitTraceRecord &record)
{
    Check *const check = collector->check;
    const SigkitX509Crl *const record_ = static_cast<const SigkitX509Crl *>(record.subject);
    SeenCrl &crl = check->crls[SeeCrl(*record_, &collector->seen, check)];
    const size_t candidate = collector->See(record.object);
    if (record.point == SIGKIT_TRACE_CRL_SIGNED_BY) {
        crl.signedBy = candidate;
    } else {
        Add(Rejected(collector, record, &record_->tbsCertList.issuer, candidate), &crl.rejected);
    }
}

} // namespace

size_t TraceCollector::See(const void *certificate)
{
    return SeeCertificate(*static_cast<const SigkitX509Cert *>(certificate), stage, &seen, check);
}

bool TakeReading(TraceCollector *collector, const SigkitTraceRecord &record)
{
    switch (record.point) {
    case SIGKIT_TRACE_LENGTH_INDEFINITE:
    case SIGKIT_TRACE_LENGTH_OVERFLOW:
    case SIGKIT_TRACE_MEMBER_REFUSED:
    case SIGKIT_TRACE_ELEMENT_REFUSED:
    case SIGKIT_TRACE_ELEMENT_TOO_MANY:
        TakeProblem(collector, record);
        return true;
    case SIGKIT_TRACE_BLOCK_SKIPPED:
        AddNote(collector->check, std::string("a PEM block of the file is skipped: ") +
                                      SigkitStatusText(static_cast<uint32_t>(record.value)));
        return true;
    case SIGKIT_TRACE_ARMOUR_REFUSED:
        collector->check->isArmourRefused = true;
        return true;
    case SIGKIT_TRACE_MESSAGE_CERT:
        collector->check->isCertificateRefused = true;
        return true;
    default:
        return false;
    }
}

bool TakeCandidate(TraceCollector *collector, const SigkitTraceRecord &record)
{
    switch (record.point) {
    case SIGKIT_TRACE_NAME_AGREES:
        collector->agreeingName = record.subject;
        collector->agreeing = collector->See(record.object);
        return true;
    case SIGKIT_TRACE_ISSUER_NO_CA:
    case SIGKIT_TRACE_ISSUER_NO_CERT_SIGN:
    case SIGKIT_TRACE_ISSUER_TRIED:
    case SIGKIT_TRACE_ISSUER_TAKEN:
        TakeCertCandidate(collector, record);
        return true;
    case SIGKIT_TRACE_CRL_NO_CRL_SIGN:
    case SIGKIT_TRACE_CRL_TRIED:
    case SIGKIT_TRACE_CRL_SIGNED_BY:
        TakeCrlCandidate(collector, record);
        return true;
    default:
        return false;
    }
}

} // namespace pkgsign
