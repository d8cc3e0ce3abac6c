// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/explain/check_cause.h"

#include <algorithm>

#include "pkgsign/explain/cause_rows.h"
#include "pkgsign/explain/check_words.h"
#include "pkgsign/explain/text_variant.h"
#include "sigkit/sigkit.h"

namespace pkgsign
{
namespace
{

void Set(Check *check, const char *code, const std::string &text)
{
    const CauseRow &row = FindCauseRow(code);
    check->cause = {row.code, text, RemedyOf(row), FillPaths(row.next, *check)};
}

std::string Quoted(const std::string &text)
{
    return "'" + text + "'";
}

// ---- Files and messages --------------------------------------------------------------------------------------------

void CauseOfCrlFile(Check *check)
{
    const uint32_t status = check->status;
    const std::string file = "the CRL file " + Quoted(check->crlPath);
    if (status != SIGKIT_ERR_CRL_LOAD) {
        Set(check, status == SIGKIT_ERR_LIST_FULL ? "store-full" : "file-unreadable",
            file + " cannot be used: " + SigkitStatusText(status));
    } else if (check->problem.kind == ReadProblem::Kind::TooManyEntries) {
        Set(check, "crl-too-long", file + " has a CRL with more entries than devices read");
    } else {
        Set(check, "crl-file-malformed", file + " holds no CRL that devices read" + WhereItStopped(check->problem));
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
        Set(check, check->status == SIGKIT_ERR_ARMOUR ? "message-short" : "file-unreadable",
            file + " cannot be used: " + SigkitStatusText(check->status));
    } else if (!isToken && check->isArmourRefused) {
        Set(check, "message-armour", file + " is PEM of another kind, or its end is missing");
    } else if (!isToken && StartsLikeText(check->signaturePath)) {
        Set(check, "message-armour", file + " has text before its armour, or is text of another kind");
    } else if (code == "message-streamed") {
        Set(check, "message-streamed",
            file + " is written in the streamed encoding (BER), with a length that is not known before its end");
    } else if (code == "message-key-identifier") {
        Set(check, "message-key-identifier", file + " names the signer by a key identifier, not by issuer and serial");
    } else if (code == "message-certificates") {
        Set(check, isToken ? "token-certificates" : "message-certificates",
            file + " carries more than two certificates");
    } else if (code == "message-signers") {
        Set(check, "message-signers", file + " has more than one signer");
    } else if (code == "message-certificate") {
        Set(check, "message-certificate",
            file + " carries a certificate that devices do not read" + WhereItStopped(check->problem));
    } else if (code == "message-cut" && !isToken) {
        Set(check, "message-cut", file + " ends before its own lengths say so");
    } else if (isToken) {
        Set(check, "token-malformed", file + " cannot be read" + WhereItStopped(check->problem));
    } else {
        Set(check, code.c_str(), file + " is not a message that devices read" + WhereItStopped(check->problem));
    }
}

// ---- Certificates --------------------------------------------------------------------------------------------------

std::string PartyText(const Check &check, bool isAuthority, size_t certificate)
{
    const size_t party = isAuthority ? check.authority : check.signer;
    const SeenCertificate &seen = check.certificates[certificate];
    const char *const role =
        certificate == party ? (isAuthority ? "the timestamp authority's certificate " : "the signer's certificate ")
        : seen.isCa          ? "the CA certificate "
                             : "the certificate ";
    return role + Quoted(seen.subject);
}

void CauseOfValidity(Check *check, const Judgement &judgement, const std::string &who)
{
    const SeenCertificate &seen = check->certificates[judgement.certificate];
    const std::string at = ", and the token's time is " + TimeText(check->time);
    if (judgement.rulingStatus == SIGKIT_ERR_CERT_EXPIRED) {
        Set(check, "certificate-expired", who + " ended at " + TimeText(seen.notAfter) + at);
    } else if (judgement.rulingStatus == SIGKIT_ERR_CERT_NOT_YET_VALID) {
        Set(check, "certificate-not-yet-valid", who + " begins at " + TimeText(seen.notBefore) + at);
    } else {
        Set(check, "certificate-dates", who + " has dates that cannot be read");
    }
}

void CauseOfNoRoot(Check *check, const Judgement &judgement, const std::string &who)
{
    size_t place = judgement.certificate; // as far up as issuers are known
    for (size_t i = 0;
         i < check->certificates.size() && check->issuers[place] != NONE && check->issuers[place] != place; ++i) {
        place = check->issuers[place];
    }
    std::string text =
        who + " does not lead to the root: no issuer '" + check->certificates[place].issuer + "' is at hand";
    for (const RejectedCandidate &candidate : check->rejected[place]) {
        const SeenCertificate &seen = check->certificates[candidate.certificate];
        if (seen.subject == check->certificates[place].issuer) {
            text += "; " + Quoted(seen.subject) + " will not do: " + candidate.why;
        }
    }
    Set(check, "certificate-without-root", text);
}

void CauseOfNoCrl(Check *check, const Judgement &judgement, const std::string &who)
{
    const SeenCertificate &seen = check->certificates[judgement.certificate];
    const CrlFinding *expired = nullptr;
    const CrlFinding *unusable = nullptr;
    for (const CrlFinding &finding : judgement.crls) {
        const bool isLater =
            expired == nullptr || check->crls[expired->crl].nextUpdate < check->crls[finding.crl].nextUpdate;
        expired = finding.isExpired && isLater ? &finding : expired;
        unusable = !finding.isOtherIssuers ? &finding : unusable;
    }
    if (expired != nullptr) {
        Set(check, "crl-expired",
            "the CRL of '" + check->crls[expired->crl].issuer + "' ended at " +
                TimeText(check->crls[expired->crl].nextUpdate) + ", before the token's time, " + TimeText(check->time) +
                ": it cannot clear " + who);
    } else if (unusable != nullptr) {
        Set(check, "crl-unusable",
            "the CRL of '" + check->crls[unusable->crl].issuer + "' is not usable for " + who + ": " + unusable->why);
    } else {
        const size_t issuer = check->issuers[judgement.certificate];
        const bool isRoot = issuer != NONE && check->certificates[issuer].source == Step::Root;
        Set(check, isRoot ? "crl-of-root-missing" : "crl-missing",
            std::string("the CRL file has no CRL of ") + (isRoot ? "the root '" : "'") + seen.issuer +
                "', which has issued " + who);
    }
}

void CauseOfEntry(Check *check, const Judgement &judgement, const std::string &who)
{
    const auto entry = std::find_if(judgement.entries.begin(), judgement.entries.end(),
                                    [](const EntryFinding &finding) { return finding.revokes; });
    if (entry == judgement.entries.end()) {
        Set(check, "crl-entry", who + " is listed with a date that cannot be read");
        return;
    }
    Set(check, "certificate-revoked",
        who + " was revoked at " + TimeText(entry->date) + " (" + ReasonText(entry->reason) +
            (entry->dateCounts ? "), not after the token's time, " + TimeText(check->time)
                               : "); its date does not count"));
}

void CauseOfPath(Check *check, bool isAuthority)
{
    const PathFinding &path = isAuthority ? check->authorityPath : check->signerPath;
    const Judgement *const judgement = FailedJudgement(path);
    if (judgement == nullptr) {
        Set(check, "machine", std::string("the machine failed: ") + SigkitStatusText(path.status));
        return;
    }
    const std::string who = PartyText(*check, isAuthority, judgement->certificate);
    switch (judgement->ruling) {
    case Ruling::Validity:
        CauseOfValidity(check, *judgement, who);
        return;
    case Ruling::SelfSignedTest:
        Set(check, "certificate-algorithm", who + " cannot be checked: " + SigkitStatusText(judgement->rulingStatus));
        return;
    case Ruling::NoRoot:
        CauseOfNoRoot(check, *judgement, who);
        return;
    case Ruling::NoCrl:
        if (judgement->rulingStatus == SIGKIT_ERR_NO_CRL) {
            CauseOfNoCrl(check, *judgement, who);
            return;
        }
        Set(check, judgement->rulingStatus == SIGKIT_ERR_PATH_TOO_DEEP ? "path-too-deep" : "machine",
            "no CRL could be chosen for " + who + ": " + SigkitStatusText(judgement->rulingStatus));
        return;
    case Ruling::Entry:
        CauseOfEntry(check, *judgement, who);
        return;
    default:
        Set(check, "machine", std::string("the machine failed: ") + SigkitStatusText(path.status));
    }
}

void CauseOfUsage(Check *check, bool isAuthority)
{
    const SeenCertificate &seen = check->certificates[isAuthority ? check->authority : check->signer];
    if (!isAuthority && seen.stampsTime) {
        Set(check, "signer-is-authority",
            "the package is signed with " + Quoted(seen.subject) +
                ", a timestamp authority's certificate: its purpose is timeStamping, not codeSigning");
        return;
    }
    Set(check, isAuthority ? "authority-usage" : "signer-usage",
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
        Set(check, "message-unsigned", "the message has no signer, so that nothing vouches for the content");
    } else if (!content.differs && check->status == SIGKIT_ERR_UNKNOWN) {
        Set(check, "machine", "the machine failed: it could not compute what the content " + file + " is compared by");
    } else if (!content.differs) {
        Set(check, "file-unreadable", "the content " + file + " cannot be read: " + SigkitStatusText(check->status));
    } else if (!content.candidates.empty()) {
        Set(check, "content-other-file",
            file + " is not what was signed: the signature fits " + Quoted(content.candidates.front()));
    } else if (!content.fits.empty()) {
        Set(check, "content-converted", file + " was changed on its way: " + content.fits + " it is what was signed");
        SuggestLineEnds(check);
    } else {
        Set(check, "content-differs", file + " is not what was signed: its digest is another one");
    }
}

void CauseOfSignature(Check *check)
{
    const uint32_t status = check->steps[static_cast<size_t>(Step::Signature)].status;
    if (IsSignedWithPss(check->signaturePath)) {
        Set(check, "signature-pss", "the signature is of the kind RSA-PSS; devices read RSASSA-PKCS1-v1_5 alone");
    } else if (status == SIGKIT_ERR_SIGNED_DATA) {
        Set(check, "signature-attributes", "the message has a digest, and no signed attributes that hold it");
    } else if (check->content.differs && (!check->content.fits.empty() || !check->content.candidates.empty())) {
        CauseOfContent(check);
    } else if (check->content.differs) {
        Set(check, "signature-wrong",
            "the signature, which is over the content itself, does not hold for " + Quoted(check->contentPath) +
                ": one of the two was altered");
    } else if (status == SIGKIT_ERR_SIGNATURE) {
        Set(check, "signature-wrong",
            "the signature does not hold under the key of the signer's certificate " +
                Quoted(check->certificates[check->signer].subject));
    } else {
        Set(check, "signature-unsupported",
            std::string("the signature cannot be checked: ") + SigkitStatusText(status));
    }
}

void CauseOfMissingSigner(Check *check)
{
    if (check->messageCertificates == 0) {
        Set(check, "message-without-certificates",
            "the signature file " + Quoted(check->signaturePath) +
                " carries no certificates, so the signer's is not at hand");
    } else {
        Set(check, "signer-missing", "no certificate at hand has the signer's issuer and serial number");
    }
}

void CauseOfToken(Check *check, Step step)
{
    const uint32_t status = check->steps[static_cast<size_t>(step)].status;
    switch (step) {
    case Step::Token:
        if (status == SIGKIT_ERR_PARAM) {
            Set(check, "token-missing", "the signature has no timestamp token");
        } else {
            CauseOfMessage(check, true);
        }
        return;
    case Step::TokenContent:
        Set(check, "token-malformed",
            "the content of the timestamp token cannot be read" + WhereItStopped(check->problem));
        return;
    case Step::TokenImprint:
        if (status == SIGKIT_ERR_TIMESTAMP_IMPRINT) {
            Set(check, "token-of-another-signature", "the timestamp token was made for another signature");
        } else {
            Set(check, "token-digest", std::string("the token's imprint cannot be used: ") + SigkitStatusText(status));
        }
        return;
    case Step::TokenTime:
        Set(check, "token-time", "the token's time is not in whole seconds, or cannot be read");
        return;
    default:
        Set(check, "token-signature",
            std::string("the token's own signature does not hold: ") + SigkitStatusText(status));
    }
}

} // namespace

const Judgement *FailedJudgement(const PathFinding &path)
{
    const Judgement *failed = nullptr;
    for (const Judgement &judgement : path.judgements) {
        failed = judgement.depth == 1 && judgement.status != SIGKIT_OK ? &judgement : failed;
    }
    for (size_t i = 0; failed != nullptr && i < path.judgements.size(); ++i) {
        const Judgement *below = nullptr;
        for (const CrlFinding &finding : failed->crls) {
            for (const Judgement &judgement : path.judgements) {
                const bool isCause = failed->ruling == Ruling::NoCrl && finding.failedIssuer == judgement.certificate &&
                                     finding.issuerStatus == failed->status && judgement.status == failed->status &&
                                     &judgement != failed;
                below = isCause ? &judgement : below;
            }
        }
        if (below == nullptr) {
            break;
        }
        failed = below;
    }
    return failed;
}

void FindCause(Check *check)
{
    const std::optional<Step> step = FailedStep(*check);
    if (!step.has_value()) {
        return;
    }
    switch (*step) {
    case Step::Root:
        Set(check, "root-unusable",
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
        Set(check, check->status == SIGKIT_ERR_LIST_FULL ? "store-full" : "certificate-algorithm",
            "the certificate " + Quoted(check->steps[static_cast<size_t>(*step)].detail) +
                " cannot be taken: " + SigkitStatusText(check->status));
        return;
    case Step::Authority:
        Set(check, "authority-missing",
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
