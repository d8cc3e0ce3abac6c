// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "tests/pki/literal_model.h"

#include <stdio.h>

#include <algorithm>
#include <array>
#include <string_view>

#include "sigkit/sigkit.h"

namespace
{

constexpr uint32_t DEPTH_MAX = 10;

struct Candidate {
    uint32_t score;
    const WrittenCrl *crl;
};

void Log(LiteralContext *ctx, char level, const std::string &function, uint32_t code, const std::string &text)
{
    std::array<char, 16> digits = {};
    (void)snprintf(digits.data(), digits.size(), "%x", code);
    ctx->lines.push_back(std::string(1, level) + " " + function + " " + digits.data() + " " + text);
}

// ---- Names ---------------------------------------------------------------------------------------------------------

// A name as written.
struct Name {
    const std::string *text;
    NameForm form;
};

// The form with the same first attribute in each RelativeDistinguishedName, octet for octet: string types and further
// attributes do not count.
NameForm ComparedForm(NameForm form)
{
    return form == NameForm::PRINTABLE || form == NameForm::SECOND_ATTRIBUTE ? NameForm::PLAIN : form;
}

bool operator==(const Name &a, const Name &b)
{
    const NameForm form = ComparedForm(a.form);
    const bool hasText = form != NameForm::EMPTY && form != NameForm::SHORTER;
    return form == ComparedForm(b.form) && (!hasText || *a.text == *b.text);
}

Name SubjectOf(const WrittenCert &cert)
{
    return {&cert.subject, cert.subjectForm};
}

Name IssuerOf(const WrittenCert &cert)
{
    return {&cert.issuer, cert.issuerForm};
}

Name IssuerOf(const WrittenCrl &crl)
{
    return {&crl.issuer, crl.issuerForm};
}

// ---- Times ---------------------------------------------------------------------------------------------------------

// Two characters as a number of eight bits, digits or not.
uint8_t TwoDigits(const std::string &text, size_t at)
{
    return static_cast<uint8_t>(10 * (text[at] - '0') + (text[at + 1] - '0'));
}

// Seconds since 1970 by Gauss's count of days; `rest` holds month, day, hour, minute and second, of any value.
int64_t SecondsOf(int64_t year, const std::string &rest)
{
    int64_t y = year < 1901 ? year + 1900 : year;
    int64_t m = TwoDigits(rest, 0) - 2;
    if (m < 1) {
        m += 12;
        y -= 1;
    }
    const int64_t days = y / 4 - y / 100 + y / 400 + 367 * m / 12 + TwoDigits(rest, 2) + 365 * y - 719499;
    return ((days * 24 + TwoDigits(rest, 4)) * 60 + TwoDigits(rest, 6)) * 60 + TwoDigits(rest, 8);
}

// The instant that was written: `seconds`, or `text` when there is one. Returns false when nobody can read it.
bool ReadTime(int64_t seconds, const std::string &text, int64_t *instant)
{
    const bool generalized = !text.empty() && text[0] == 'G';
    const std::string digits = generalized ? text.substr(1) : text;
    if (text.empty()) {
        *instant = seconds;
    } else if (generalized && digits.size() == 15) {
        *instant = SecondsOf(100 * TwoDigits(digits, 0) + TwoDigits(digits, 2), digits.substr(4));
    } else if (!generalized && digits.size() == 13) {
        const int64_t year = TwoDigits(digits, 0);
        *instant = SecondsOf(year < 50 ? 2000 + year : 1900 + year, digits.substr(2));
    } else {
        return false;
    }
    return true;
}

// ---- Keys and usages -----------------------------------------------------------------------------------------------

// Signature algorithms, RSA with SHA-256, SHA-384 and SHA-512, and their digests, which stand for them.
constexpr std::array<std::string_view, 6> g_supported = {"1.2.840.113549.1.1.11",  "1.2.840.113549.1.1.12",
                                                         "1.2.840.113549.1.1.13",  "2.16.840.1.101.3.4.2.1",
                                                         "2.16.840.1.101.3.4.2.2", "2.16.840.1.101.3.4.2.3"};

// Verifies a signature. Returns SIGKIT_OK with the answer in `holds`, or SIGKIT_ERR_ALGORITHM, logged.
uint32_t VerifySignature(LiteralContext *ctx, uint8_t signedBy, uint8_t key, const std::string &algorithm, bool *holds)
{
    *holds = false;
    if (std::find(g_supported.begin(), g_supported.end(), algorithm) == g_supported.end()) {
        Log(ctx, 'E', "SigkitX509PubKeyVerify", SIGKIT_ERR_ALGORITHM, "-");
        return SIGKIT_ERR_ALGORITHM;
    }
    *holds = signedBy == key;
    return SIGKIT_OK;
}

// The key usage as a number: one octet, or two of which the first weighs 256 times as much.
uint32_t KeyUsageOf(const WrittenCert &cert)
{
    const uint32_t first = 0x80U + (cert.mayCertSign ? 4U : 0U) + (cert.mayCrlSign ? 2U : 0U);
    return cert.usageTail < 0 ? first : 256 * first + static_cast<uint32_t>(cert.usageTail);
}

// ---- Who issued whom -----------------------------------------------------------------------------------------------

uint32_t IsSelfSigned(LiteralContext *ctx, size_t place, bool *selfSigned)
{
    const WrittenCert &cert = ctx->store.certs[place];
    *selfSigned = ctx->issuerCert[place] == place;
    if (*selfSigned || !(SubjectOf(cert) == IssuerOf(cert))) {
        return SIGKIT_OK;
    }
    const uint32_t status = VerifySignature(ctx, cert.issuerKey, cert.key, cert.algorithm, selfSigned);
    if (*selfSigned) {
        ctx->issuerCert[place] = place;
    }
    return status;
}

// Returns whether the certificate at `place` bears the issuer's name, may sign certificates and made this signature.
bool HasIssued(LiteralContext *ctx, size_t place, const WrittenCert &cert)
{
    const WrittenCert &issuer = ctx->store.certs[place];
    bool holds = false;
    return SubjectOf(issuer) == IssuerOf(cert) && (KeyUsageOf(issuer) & 4) != 0 &&
           VerifySignature(ctx, cert.issuerKey, issuer.key, cert.algorithm, &holds) == SIGKIT_OK && holds;
}

size_t FindCertIssuer(LiteralContext *ctx, size_t place)
{
    size_t &known = ctx->issuerCert[place];
    for (size_t i = 0; i < ctx->store.certs.size(); ++i) {
        if (!ctx->store.certs[i].cA || (known != LITERAL_NONE && known != i)) {
            continue;
        }
        if (known == i) {
            return i;
        }
        if (HasIssued(ctx, i, ctx->store.certs[place])) {
            known = i;
            return i;
        }
    }
    return LITERAL_NONE;
}

size_t FindCertRoot(LiteralContext *ctx, size_t place, uint32_t depth)
{
    if (depth > DEPTH_MAX) {
        Log(ctx, 'E', "InternalFindCertRoot", SIGKIT_ERR_UNKNOWN, "find path too deep.");
        return LITERAL_NONE;
    }
    bool selfSigned = false;
    if (IsSelfSigned(ctx, place, &selfSigned) != SIGKIT_OK) {
        return LITERAL_NONE;
    }
    if (selfSigned) {
        return place;
    }
    const size_t issuer = FindCertIssuer(ctx, place);
    return issuer == LITERAL_NONE ? LITERAL_NONE : FindCertRoot(ctx, issuer, depth + 1);
}

size_t FindCrlIssuer(LiteralContext *ctx, const WrittenCrl &crl)
{
    for (size_t i = 0; i < ctx->store.certs.size(); ++i) {
        const WrittenCert &issuer = ctx->store.certs[i];
        bool holds = false;
        if (SubjectOf(issuer) == IssuerOf(crl) && (KeyUsageOf(issuer) & 2) != 0 &&
            VerifySignature(ctx, crl.issuerKey, issuer.key, crl.algorithm, &holds) == SIGKIT_OK && holds) {
            return i;
        }
    }
    return LITERAL_NONE;
}

// ---- Choice of a CRL -----------------------------------------------------------------------------------------------

bool Lists(const WrittenCrl &crl, uint8_t serial)
{
    return std::any_of(crl.entries.begin(), crl.entries.end(),
                       [serial](const WrittenEntry &entry) { return entry.serial == serial; });
}

// The part of a score that says whose CRL it is: 0 for one that says nothing about the certificate.
uint32_t ScoreOfNames(const WrittenCrl &crl, const WrittenCert &cert)
{
    if (IssuerOf(crl) == IssuerOf(cert)) {
        return crl.indirect ? 0x30 : 0x20;
    }
    return crl.indirect ? 0x10 : 0;
}

bool IsUnderRoot(LiteralContext *ctx, const WrittenCrl &crl, size_t root)
{
    const size_t issuer = FindCrlIssuer(ctx, crl);
    return issuer != LITERAL_NONE && FindCertRoot(ctx, issuer, 0) == root;
}

// The whole score of a CRL, or 0 when it is no candidate.
uint32_t Score(LiteralContext *ctx, const WrittenCrl &crl, const WrittenCert &cert, size_t root)
{
    const uint32_t names = ScoreOfNames(crl, cert);
    if (cert.issuerForm == NameForm::EMPTY || names == 0 || !IsUnderRoot(ctx, crl, root)) {
        return 0;
    }
    const uint32_t listed = Lists(crl, cert.serial) ? 0x80 : 0;
    int64_t nextUpdate = 0;
    if (!ReadTime(crl.nextUpdate, crl.nextUpdateText, &nextUpdate)) {
        return 0;
    }
    if (ctx->verifyTime <= nextUpdate) {
        return names + listed + 0x40;
    }
    Log(ctx, 'W', "InternalCrlGetScore", SIGKIT_ERR_CRL_EXPIRED,
        "Found an expired CRL, it most likely cause NO CRL error.");
    return listed == 0 ? 0 : names + listed;
}

// The candidates, each behind all that score as high or higher.
std::vector<Candidate> SortedCandidates(LiteralContext *ctx, const WrittenCert &cert, size_t root)
{
    std::vector<Candidate> candidates;
    for (const WrittenCrl &crl : ctx->store.crls) {
        const uint32_t score = Score(ctx, crl, cert, root);
        if (score == 0) {
            continue;
        }
        size_t at = candidates.size();
        while (at > 0 && candidates[at - 1].score < score) {
            at -= 1;
        }
        candidates.insert(candidates.begin() + static_cast<ptrdiff_t>(at), {score, &crl});
    }
    return candidates;
}

// Takes the first candidate whose issuer validates.
uint32_t TakeFirstVerified(LiteralContext *ctx, const std::vector<Candidate> &candidates, uint32_t strictRevocation,
                           const WrittenCrl **best)
{
    if (candidates.empty()) {
        Log(ctx, 'E', "InternalFindBestCrlOfCert", 0, "Can't find CRL for certificate.");
        return SIGKIT_ERR_NO_CRL;
    }
    uint32_t last = SIGKIT_OK;
    for (const Candidate &candidate : candidates) {
        const size_t issuer = FindCrlIssuer(ctx, *candidate.crl);
        if (issuer == LITERAL_NONE) {
            continue;
        }
        uint32_t ok = 0;
        last = LiteralVerifyCert(ctx, issuer, 0, strictRevocation, &ok);
        if (last == SIGKIT_OK && ok == 1) {
            *best = candidate.crl;
            return SIGKIT_OK;
        }
    }
    Log(ctx, 'E', "InternalFindBestCrlOfCert", last, "Verify CRL failed.");
    return last == SIGKIT_OK ? SIGKIT_ERR_CRL_UNVERIFIED : last;
}

// ---- The steps of a validation -------------------------------------------------------------------------------------

uint32_t CheckDates(const LiteralContext &ctx, const WrittenCert &cert)
{
    int64_t notBefore = 0;
    int64_t notAfter = 0;
    if (!ReadTime(cert.notBefore, cert.notBeforeText, &notBefore) ||
        !ReadTime(cert.notAfter, cert.notAfterText, &notAfter)) {
        return SIGKIT_ERR_TIME_FORMAT;
    }
    if (ctx.verifyTime < notBefore) {
        return SIGKIT_ERR_CERT_NOT_YET_VALID;
    }
    return ctx.verifyTime > notAfter ? SIGKIT_ERR_CERT_EXPIRED : SIGKIT_OK;
}

// Returns whether a reason is affiliationChanged, superseded or cessationOfOperation.
bool IsOrdinaryEnd(int64_t reason)
{
    return reason == 3 || reason == 4 || reason == 5;
}

uint32_t CheckRevocation(LiteralContext *ctx, const WrittenCert &cert, const WrittenCrl &crl, uint32_t strictRevocation)
{
    for (const WrittenEntry &entry : crl.entries) {
        if (entry.serial != cert.serial) {
            continue;
        }
        const bool whateverTheDate = (strictRevocation == 1 || cert.cA) && !IsOrdinaryEnd(entry.reason);
        int64_t date = 0;
        if (!whateverTheDate && !ReadTime(entry.date, entry.dateText, &date)) {
            return SIGKIT_ERR_TIME_FORMAT;
        }
        if (whateverTheDate || ctx->verifyTime >= date) {
            Log(ctx, 'E', "InternalCheckCrlOfCert", SIGKIT_ERR_CERT_REVOKED, "The certificate was revoked.\r\n");
            return SIGKIT_ERR_CERT_REVOKED;
        }
    }
    return SIGKIT_OK;
}

// Returns whether a CRL that does not revoke a certificate ends its path: it is direct, and the very record that issued
// the certificate has signed it, so that one has been validated. Any other CRL says nothing about who issued the
// certificate.
bool EndsPath(LiteralContext *ctx, size_t place, const WrittenCrl &crl)
{
    if (crl.indirect) {
        return false;
    }
    const bool byItsIssuer = FindCrlIssuer(ctx, crl) == FindCertIssuer(ctx, place);
    ctx->walkedPastDirect += byItsIssuer ? 0 : 1;
    return byItsIssuer;
}

// Judges a certificate that is within its dates and not self-signed. SIGKIT_OK with `ok` 0: its issuer decides.
uint32_t JudgeByCrl(LiteralContext *ctx, size_t place, uint32_t strictRevocation, uint32_t *ok)
{
    const WrittenCert &cert = ctx->store.certs[place];
    const size_t root = FindCertRoot(ctx, place, 0);
    if (root == LITERAL_NONE) {
        ctx->pathError = SIGKIT_ERR_NO_ROOT;
        return SIGKIT_ERR_NO_ROOT;
    }
    const WrittenCrl *best = nullptr;
    uint32_t status = TakeFirstVerified(ctx, SortedCandidates(ctx, cert, root), strictRevocation, &best);
    if (status != SIGKIT_OK) {
        ctx->pathError = status;
        return status;
    }
    status = CheckRevocation(ctx, cert, *best, strictRevocation);
    *ok = status == SIGKIT_OK && EndsPath(ctx, place, *best) ? 1 : 0;
    return status;
}

// Judges one certificate of a walk. SIGKIT_OK with `ok` 0: its issuer decides.
uint32_t JudgeOne(LiteralContext *ctx, size_t place, uint32_t strictRevocation, uint32_t *ok)
{
    uint32_t status = CheckDates(*ctx, ctx->store.certs[place]);
    if (status != SIGKIT_OK) {
        Log(ctx, 'W', "InternalVerifyCertificate", status, "Check date for certificate failed, verify may fail.");
        return status;
    }
    bool selfSigned = false;
    status = IsSelfSigned(ctx, place, &selfSigned);
    if (status != SIGKIT_OK) {
        return status;
    }
    if (selfSigned) {
        *ok = 1;
        return SIGKIT_OK;
    }
    return JudgeByCrl(ctx, place, strictRevocation, ok);
}

uint32_t Walk(LiteralContext *ctx, size_t place, uint32_t strictRevocation, uint32_t *ok)
{
    uint32_t status = JudgeOne(ctx, place, strictRevocation, ok);
    while (status == SIGKIT_OK && *ok == 0) {
        place = FindCertIssuer(ctx, place);
        if (place == LITERAL_NONE) {
            return SIGKIT_ERR_NO_ROOT;
        }
        status = JudgeOne(ctx, place, strictRevocation, ok);
    }
    return status;
}

// Counts a validation. Returns false for a nested one that is too deep, logged, or that the model gives up on.
bool Enter(LiteralContext *ctx, int32_t isTopLevel)
{
    if (isTopLevel != 0) {
        ctx->issuerCert.resize(ctx->store.certs.size(), LITERAL_NONE);
        ctx->nested = 0;
        ctx->pathDepth = 1;
        return true;
    }
    if (ctx->pathDepth > static_cast<int32_t>(DEPTH_MAX)) {
        Log(ctx, 'E', "SigkitPkiVerifyCert", 0, "The path of certificate is too deep.");
        return false;
    }
    ctx->nested += 1;
    if (LiteralGaveUp(*ctx)) {
        return false;
    }
    ctx->pathDepth += 1;
    return true;
}

} // namespace

uint32_t LiteralVerifyCert(LiteralContext *ctx, size_t cert, int32_t isTopLevel, uint32_t strictRevocation,
                           uint32_t *ok)
{
    *ok = 0;
    if (!Enter(ctx, isTopLevel)) {
        return SIGKIT_ERR_PATH_TOO_DEEP;
    }
    const uint32_t status = Walk(ctx, cert, strictRevocation, ok);
    ctx->pathDepth -= 1;
    return status;
}

bool LiteralGaveUp(const LiteralContext &ctx)
{
    return ctx.nested > ctx.nestedMax;
}
