// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/explain/check_cause.h"

#include "pkgsign/explain/cause_rows.h"
#include "pkgsign/explain/check_cause_path.h"
#include "pkgsign/explain/check_words.h"
#include "pkgsign/explain/text_variant.h"
#include "sigkit/sigkit.h"

namespace pkgsign
{
namespace
{

// ---- Files and messages --------------------------------------------------------------------------------------------

void CauseOfCrlFile(Check *check)
{
    const uint32_t status = check->status;
    const std::string file = "the CRL file " + Quoted(check->crlPath);
    if (status != SIGKIT_ERR_CRL_LOAD) {
        SetCause(check, status == SIGKIT_ERR_LIST_FULL ? "store-full" : "file-unreadable",
                 file + " cannot be used: " + SigkitStatusText(status));
    } else if (check->problem.kind == ReadProblem::Kind::TooManyEntries) {
        SetCause(check, "crl-too-long", file + " has a CRL with more entries than devices read");
    } else {
        SetCause(check, "crl-file-malformed",
                 file + " holds no CRL that devices read" + WhereItStopped(check->problem));
    }
}

const char *MessageCode(const Check &check)
{
    switch (check.problem.kind) {
    case ReadProblem::Kind::Indefinite:
        return "message-streamed";
    case ReadProblem::Kind::Overflow:
        return check.isCertificateRefused ? "message-certificate" : "message-cut";
    case ReadProblem::Kind::TooManyCertificates:
        return "message-certificates";
    case ReadProblem::Kind::TooManySigners:
        return "message-signers";
    default:
        return check.isCertificateRefused ? "message-certificate"
               : check.problem.isSignerId ? "message-key-identifier"
                                          : "message-malformed";
    }
}

void CauseOfMessage(Check *check, bool isToken)
{
    const std::string file =
        isToken ? std::string("the timestamp token") : "the signature file " + Quoted(check->signaturePath);
    const std::string code = MessageCode(*check);
    if (!isToken && check->status != SIGKIT_ERR_CMS_DECODE) {
        SetCause(check, check->status == SIGKIT_ERR_ARMOUR ? "message-short" : "file-unreadable",
                 file + " cannot be used: " + SigkitStatusText(check->status));
    } else if (!isToken && check->isArmourRefused) {
        SetCause(check, "message-armour", file + " is PEM of another kind, or its end is missing");
    } else if (!isToken && StartsLikeText(check->signaturePath)) {
        SetCause(check, "message-armour", file + " has text before its armour, or is text of another kind");
    } else if (code == "message-streamed") {
        SetCause(check, "message-streamed",
                 file + " is written in the streamed encoding (BER), with a length that is not known before its end");
    } else if (code == "message-key-identifier") {
        SetCause(check, "message-key-identifier",
                 file + " names the signer by a key identifier, not by issuer and serial");
    } else if (code == "message-certificates") {
        SetCause(check, isToken ? "token-certificates" : "message-certificates",
                 file + " carries more than two certificates");
    } else if (code == "message-signers") {
        SetCause(check, "message-signers", file + " has more than one signer");
    } else if (code == "message-certificate") {
        SetCause(check, "message-certificate",
                 file + " carries a certificate that devices do not read" + WhereItStopped(check->problem));
    } else if (code == "message-cut" && !isToken) {
        SetCause(check, "message-cut", file + " ends before its own lengths say so");
    } else if (isToken) {
        SetCause(check, "token-malformed", file + " cannot be read" + WhereItStopped(check->problem));
    } else {
        SetCause(check, code.c_str(), file + " is not a message that devices read" + WhereItStopped(check->problem));
    }
}

void CauseOfUsage(Check *check, bool isAuthority)
{
    const SeenCertificate &seen = check->certificates[isAuthority ? check->authority : check->signer];
    if (!isAuthority && seen.stampsTime) {
        SetCause(check, "signer-is-authority",
                 "the package is signed with " + Quoted(seen.subject) +
                     ", a timestamp authority's certificate: its purpose is timeStamping, not codeSigning");
        return;
    }
    SetCause(check, isAuthority ? "authority-usage" : "signer-usage",
             std::string(isAuthority ? "the timestamp authority's certificate " : "the signer's certificate ") +
                 Quoted(seen.subject) + " lacks the key usage digitalSignature, or its first purpose is not " +
                 (isAuthority ? "timeStamping" : "codeSigning"));
}

// Line ends that a copy in text mode has made are turned back by one command, and what comes out is checked.
void SuggestLineEnds(Check *check)
{
    TextVariant variant;
    variant.lineEnds = LineEnds::Lf;
    if (check->content.fits == variant.Describe()) {
        check->cause.next =
            FillPaths("sed 's/\\r$//' %f >fixed && pkgsign check fixed --root %r --crl %c --signature %s", *check);
    }
}

void CauseOfContent(Check *check)
{
    const ContentFinding &content = check->content;
    const std::string file = Quoted(check->contentPath);
    if (check->status == SIGKIT_ERR_NOT_BEGUN) {
        SetCause(check, "message-unsigned", "the message has no signer, so that nothing vouches for the content");
    } else if (!content.differs && check->status == SIGKIT_ERR_UNKNOWN) {
        SetCause(check, "machine",
                 "the machine failed: it could not compute what the content " + file + " is compared by");
    } else if (!content.differs) {
        SetCause(check, "file-unreadable",
                 "the content " + file + " cannot be read: " + SigkitStatusText(check->status));
    } else if (!content.candidates.empty()) {
        SetCause(check, "content-other-file",
                 file + " is not what was signed: the signature fits " + Quoted(content.candidates.front()));
    } else if (!content.fits.empty()) {
        SetCause(check, "content-converted",
                 file + " was changed on its way: " + content.fits + " it is what was signed");
        SuggestLineEnds(check);
    } else {
        SetCause(check, "content-differs", file + " is not what was signed: its digest is another one");
    }
}

void CauseOfSignature(Check *check)
{
    const uint32_t status = check->steps[static_cast<size_t>(Step::Signature)].status;
    if (IsSignedWithPss(check->signaturePath)) {
        SetCause(check, "signature-pss", "the signature is of the kind RSA-PSS; devices read RSASSA-PKCS1-v1_5 alone");
    } else if (status == SIGKIT_ERR_SIGNED_DATA) {
        SetCause(check, "signature-attributes", "the message has a digest, and no signed attributes that hold it");
    } else if (check->content.differs && (!check->content.fits.empty() || !check->content.candidates.empty())) {
        CauseOfContent(check);
    } else if (check->content.differs) {
        SetCause(check, "signature-wrong",
                 "the signature, which is over the content itself, does not hold for " + Quoted(check->contentPath) +
                     ": one of the two was altered");
    } else if (status == SIGKIT_ERR_SIGNATURE) {
        SetCause(check, "signature-wrong",
                 "the signature does not hold under the key of the signer's certificate " +
                     Quoted(check->certificates[check->signer].subject));
    } else {
        SetCause(check, "signature-unsupported",
                 std::string("the signature cannot be checked: ") + SigkitStatusText(status));
    }
}

void CauseOfMissingSigner(Check *check)
{
    if (check->messageCertificates == 0) {
        SetCause(check, "message-without-certificates",
                 "the signature file " + Quoted(check->signaturePath) +
                     " carries no certificates, so the signer's is not at hand");
    } else {
        SetCause(check, "signer-missing", "no certificate at hand has the signer's issuer and serial number");
    }
}

void CauseOfToken(Check *check, Step step)
{
    const uint32_t status = check->steps[static_cast<size_t>(step)].status;
    switch (step) {
    case Step::Token:
        if (status == SIGKIT_ERR_PARAM) {
            SetCause(check, "token-missing", "the signature has no timestamp token");
        } else {
            CauseOfMessage(check, true);
        }
        return;
    case Step::TokenContent:
        SetCause(check, "token-malformed",
                 "the content of the timestamp token cannot be read" + WhereItStopped(check->problem));
        return;
    case Step::TokenImprint:
        if (status == SIGKIT_ERR_TIMESTAMP_IMPRINT) {
            SetCause(check, "token-of-another-signature", "the timestamp token was made for another signature");
        } else {
            SetCause(check, "token-digest",
                     std::string("the token's imprint cannot be used: ") + SigkitStatusText(status));
        }
        return;
    case Step::TokenTime:
        SetCause(check, "token-time", "the token's time is not in whole seconds, or cannot be read");
        return;
    default:
        SetCause(check, "token-signature",
                 std::string("the token's own signature does not hold: ") + SigkitStatusText(status));
    }
}

} // namespace

void FindCause(Check *check)
{
    const std::optional<Step> step = FailedStep(*check);
    if (!step.has_value()) {
        return;
    }
    switch (*step) {
    case Step::Root:
        SetCause(check, "root-unusable",
                 "the root " + Quoted(check->rootPath) + " cannot be used: " + SigkitStatusText(check->status));
        return;
    case Step::CrlFile:
        CauseOfCrlFile(check);
        return;
    case Step::SignatureFile:
        CauseOfMessage(check, false);
        return;
    case Step::MessageCertificates:
    case Step::TokenCertificates:
        SetCause(check, check->status == SIGKIT_ERR_LIST_FULL ? "store-full" : "certificate-algorithm",
                 "the certificate " + Quoted(check->steps[static_cast<size_t>(*step)].detail) +
                     " cannot be taken: " + SigkitStatusText(check->status));
        return;
    case Step::Authority:
        SetCause(check, "authority-missing",
                 "no certificate at hand has the issuer and serial number of the token's signer");
        return;
    case Step::AuthorityUsage:
    case Step::SignerUsage:
        CauseOfUsage(check, *step == Step::AuthorityUsage);
        return;
    case Step::AuthorityPath:
    case Step::SignerPath:
        CauseOfPath(check, *step == Step::AuthorityPath);
        return;
    case Step::Signer:
        CauseOfMissingSigner(check);
        return;
    case Step::Signature:
        CauseOfSignature(check);
        return;
    case Step::Content:
        CauseOfContent(check);
        return;
    default:
        CauseOfToken(check, *step);
    }
}

} // namespace pkgsign
