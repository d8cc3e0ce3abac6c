// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/explain/check_trace.h"

#include "core/trace.h"
#include "pkgsign/crypto/digest.h"
#include "pkgsign/explain/check_collector.h"
#include "sigkit/sigkit.h"
#include "verify/content_check.h"

namespace pkgsign
{
namespace
{

void Pass(TraceCollector *collector, Step step, const std::string &detail = "")
{
    StepFinding &finding = collector->check->steps[static_cast<size_t>(step)];
    if (finding.state != StepState::Failed) {
        finding = {StepState::Passed, SIGKIT_OK, detail};
    }
    collector->last = step;
}

void Judge(TraceCollector *collector, Step step, int64_t outcome, const std::string &detail = "")
{
    const uint32_t status = static_cast<uint32_t>(outcome);
    if (status == SIGKIT_OK) {
        Pass(collector, step, detail);
        return;
    }
    collector->check->steps[static_cast<size_t>(step)] = {StepState::Failed, status, detail};
    collector->last = step;
}

std::string Count(size_t count, const char *what)
{
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

Step AdmissionStep(Step stage)
{
    return stage == Step::SignatureFile ? Step::MessageCertificates
           : stage == Step::Token       ? Step::TokenCertificates
                                        : stage;
}

void TakeAdmission(TraceCollector *collector, const SigkitTraceRecord &record)
{
    Check *const check = collector->check;
    if (record.point == SIGKIT_TRACE_CRL_ADMITTED) {
        (void)SeeCrl(*static_cast<const SigkitX509Crl *>(record.subject), &collector->seen, check);
        return;
    }
    const Step step = AdmissionStep(collector->stage);
    const size_t place = collector->See(record.subject);
    SeenCertificate &certificate = check->certificates[place];
    const uint32_t status = static_cast<uint32_t>(record.value);
    if (record.point == SIGKIT_TRACE_CERT_SELF_SIGNED) {
        certificate.isSelfSigned = true;
    } else if (status == SIGKIT_OK || status == SIGKIT_ERR_CERT_DUPLICATE) {
        certificate.isAdmitted = true;
    } else {
        AddNote(check, "the certificate '" + certificate.subject + "' is left out: " + SigkitStatusText(status));
    }
    if (step == Step::MessageCertificates || step == Step::TokenCertificates) {
        const bool isGood = certificate.isAdmitted || certificate.isSelfSigned;
        StepFinding &finding = check->steps[static_cast<size_t>(step)];
        const bool isFirst = finding.state == StepState::NotReached || !isGood;
        Judge(collector, step, isGood ? SIGKIT_OK : record.value,
              (isFirst ? "" : finding.detail + "; ") + certificate.subject +
                  (certificate.isSelfSigned ? ", left out as self-signed" : ""));
    }
}

void TakeMessage(TraceCollector *collector, const SigkitTraceRecord &record)
{
    Check *const check = collector->check;
    Judge(collector, Step::SignatureFile, record.value);
    if (record.subject == nullptr) {
        return;
    }
    const SigkitPkcs7SignedData &message = static_cast<const SigkitPkcs7Content *>(record.subject)->content;
    check->messageSigners = message.signerInfos.count;
    check->messageCertificates = message.certificates.count;
    check->steps[static_cast<size_t>(Step::SignatureFile)].detail =
        Count(message.signerInfos.count, "signer") + ", " + Count(message.certificates.count, "certificate");
    check->problem = {};
    collector->isContentNext = message.signerInfos.count == 0;
    if (message.certificates.count == 0) {
        Pass(collector, Step::MessageCertificates, "the message brings none");
    }
}

void TakeToken(TraceCollector *collector, const SigkitTraceRecord &record)
{
    collector->stage = Step::Token;
    Judge(collector, Step::Token, record.value);
    if (record.subject == nullptr) {
        const SigkitAsnOcts &encoded =
            static_cast<const SigkitPkcs7SignedInfo *>(record.object)->unsignedAttrs.timeStampToken;
        collector->check->steps[static_cast<size_t>(Step::Token)].detail =
            encoded.len == 0 ? "the signer has no token" : "";
        return;
    }
    const SigkitPkcs7SignedData &token = static_cast<const SigkitPkcs7Content *>(record.subject)->content;
    collector->tokenCertificates = token.certificates.count;
    collector->check->steps[static_cast<size_t>(Step::Token)].detail =
        Count(token.signerInfos.count, "signer") + ", " + Count(token.certificates.count, "certificate");
    collector->check->problem = {};
}

void TakeTime(TraceCollector *collector, const SigkitTraceRecord &record)
{
    collector->check->time = record.value;
    if (collector->tokenCertificates == 0) {
        Pass(collector, Step::TokenCertificates, "the token brings none");
    }
}

// The certificate of the authority or of the signer: what follows is about it.
void TakeParty(TraceCollector *collector, const SigkitTraceRecord &record)
{
    Check *const check = collector->check;
    const bool isAuthority = record.point == SIGKIT_TRACE_AUTHORITY;
    const size_t place = record.object == nullptr ? NONE : collector->See(record.object);
    (isAuthority ? check->authority : check->signer) = place;
    collector->path = isAuthority ? &check->authorityPath : &check->signerPath;
    collector->path->certificate = place;
    const SigkitPkcs7SignedInfo &party = *static_cast<const SigkitPkcs7SignedInfo *>(record.subject);
    Judge(collector, isAuthority ? Step::Authority : Step::Signer, record.value,
          place != NONE ? check->certificates[place].subject : "serial number " + SerialText(party.sid.serialNumber));
}

void TakeContentDigest(Check *check, const SigkitTraceRecord &record)
{
    if (record.value == 0) {
        return;
    }
    const SigkitMdInfo &expected = *static_cast<const SigkitMdInfo *>(record.subject);
    const uint8_t *const digest = static_cast<const uint8_t *>(record.object);
    const EVP_MD *const method = FindDigestBySize(static_cast<size_t>(record.value));
    check->content.isCompared = true;
    check->content.algorithm = method == nullptr ? "" : DigestName(method);
    check->content.expected =
        HexText(Bytes(expected.expectedDigest, expected.expectedDigest + expected.expectedDigestLen));
    check->content.found = HexText(Bytes(digest, digest + record.value));
}

void TakeContent(TraceCollector *collector, const SigkitTraceRecord &record)
{
    Check *const check = collector->check;
    const int64_t outcome = record.value == 1 ? SIGKIT_OK : UINT32_MAX;
    check->content.differs = record.value != 1;
    if (!check->content.isCompared) {
        Judge(collector, Step::Signature, outcome, "over the content itself");
    }
    if (check->content.isCompared || outcome == SIGKIT_OK) {
        Judge(collector, Step::Content, outcome);
    }
}

bool TakeMessageRecord(TraceCollector *collector, const SigkitTraceRecord &record)
{
    switch (record.point) {
    case SIGKIT_TRACE_CERT_ADMITTED:
    case SIGKIT_TRACE_CERT_SELF_SIGNED:
    case SIGKIT_TRACE_CRL_ADMITTED:
        TakeAdmission(collector, record);
        return true;
    case SIGKIT_TRACE_MESSAGE:
        TakeMessage(collector, record);
        return true;
    case SIGKIT_TRACE_TOKEN:
        TakeToken(collector, record);
        return true;
    case SIGKIT_TRACE_TST_INFO:
        Judge(collector, Step::TokenContent, record.value);
        return true;
    case SIGKIT_TRACE_IMPRINT:
        Judge(collector, Step::TokenImprint, record.value);
        return true;
    case SIGKIT_TRACE_TOKEN_TIME:
        Judge(collector, Step::TokenTime, record.value);
        return true;
    case SIGKIT_TRACE_VERIFY_TIME:
        TakeTime(collector, record);
        return true;
    default:
        return false;
    }
}

bool TakeSignerRecord(TraceCollector *collector, const SigkitTraceRecord &record)
{
    const bool isAuthority = collector->path == &collector->check->authorityPath;
    switch (record.point) {
    case SIGKIT_TRACE_AUTHORITY:
    case SIGKIT_TRACE_SIGNER:
        TakeParty(collector, record);
        return true;
    case SIGKIT_TRACE_USAGE:
        Judge(collector, isAuthority ? Step::AuthorityUsage : Step::SignerUsage, record.value);
        return true;
    case SIGKIT_TRACE_TOKEN_ATTRIBUTES:
    case SIGKIT_TRACE_TOKEN_DIGEST:
        collector->tokenDetail = record.point == SIGKIT_TRACE_TOKEN_DIGEST ? "it was made for another content"
                                 : record.value != SIGKIT_OK ? "the one over the token's attributes does not hold"
                                                             : "";
        return true;
    case SIGKIT_TRACE_TOKEN_SIGNATURE:
        Judge(collector, Step::TokenSignature, record.value, collector->tokenDetail);
        collector->check->isTimeProved = record.value == SIGKIT_OK;
        return true;
    case SIGKIT_TRACE_CONTENT_ATTRIBUTES:
        Judge(collector, Step::Signature, record.value);
        return true;
    case SIGKIT_TRACE_CHECK_OPENED:
        collector->isContentNext = record.value == SIGKIT_OK;
        if (record.value != SIGKIT_OK) {
            Judge(collector, Step::Signature, record.value);
        }
        return true;
    case SIGKIT_TRACE_CONTENT_DIGEST:
        TakeContentDigest(collector->check, record);
        return true;
    case SIGKIT_TRACE_CONTENT_MATCHES:
        TakeContent(collector, record);
        return true;
    default:
        return false;
    }
}

void Take(void *context, const SigkitTraceRecord &record)
{
    TraceCollector *const collector = static_cast<TraceCollector *>(context);
    if (!TakeMessageRecord(collector, record) && !TakeSignerRecord(collector, record) &&
        !TakeReading(collector, record) && !TakeCandidate(collector, record)) {
        TakePath(collector, record);
        if (record.point == SIGKIT_TRACE_PATH) {
            const bool isAuthority = collector->path == &collector->check->authorityPath;
            Judge(collector, isAuthority ? Step::AuthorityPath : Step::SignerPath, record.value);
        }
    }
    if (record.point != SIGKIT_TRACE_NAME_AGREES) {
        collector->agreeingName = nullptr;
    }
}

} // namespace

TraceScope::TraceScope(Check *check) : collector(std::make_unique<TraceCollector>())
{
    collector->check = check;
    g_traceSink = {Take, collector.get()};
}

TraceScope::~TraceScope()
{
    g_traceSink = {};
}

void TraceScope::Begin(Step stage)
{
    collector->stage = stage;
    collector->last = stage;
}

void TraceScope::End(uint32_t status)
{
    Check *const check = collector->check;
    if (collector->stage == Step::Root || collector->stage == Step::CrlFile) {
        Judge(collector.get(), collector->stage, status);
        return;
    }
    if (status == SIGKIT_OK || FailedStep(*check).has_value()) {
        return;
    }
    // A file that cannot be read, or the machine: no trace point sees it.
    const bool hasPassed = check->steps[static_cast<size_t>(collector->last)].state == StepState::Passed;
    const Step next = static_cast<Step>(static_cast<size_t>(collector->last) + (hasPassed ? 1 : 0));
    Judge(collector.get(), collector->isContentNext ? Step::Content : next, status);
}

} // namespace pkgsign
