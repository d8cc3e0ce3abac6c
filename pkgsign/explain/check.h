// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// What a check of a package has found: the device's answer, and what the library came to at each step. Plain data,
// filled in from the library's trace records (check_trace.h); nothing here is decided a second time.
#ifndef PKGSIGN_EXPLAIN_CHECK_H
#define PKGSIGN_EXPLAIN_CHECK_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "pkgsign/crypto/types.h"
#include "pkgsign/status.h"

namespace pkgsign
{

// The steps of a verification, in its order.
enum class Step {
    Root,
    CrlFile,
    SignatureFile,
    MessageCertificates,
    Token,
    TokenContent,
    TokenImprint,
    TokenTime,
    TokenCertificates,
    Authority,
    AuthorityUsage,
    AuthorityPath,
    TokenSignature,
    Signer,
    SignerUsage,
    SignerPath,
    Signature,
    Content,
};
inline constexpr size_t STEP_COUNT = static_cast<size_t>(Step::Content) + 1;

enum class StepState { NotReached, Passed, Failed };

struct StepFinding {
    StepState state = StepState::NotReached;
    uint32_t status = 0; // of a failed step: as the library has it there
    std::string detail;
};

// No certificate, or no CRL.
inline constexpr size_t NONE = SIZE_MAX;

// A time as the library reads it; nothing where it cannot.
using MaybeTime = std::optional<int64_t>;

// A certificate that the library has met. Not verified, unless a judgement says so. Names are fit to be shown, and cut.
struct SeenCertificate {
    std::string subject;
    std::string issuer;
    std::string serial; // hexadecimal
    MaybeTime notBefore;
    MaybeTime notAfter;
    Step source = Step::Root; // with what it came
    bool isAdmitted = false;
    bool isSelfSigned = false; // and left out for it
    bool isCa = false;
    bool stampsTime = false; // by its purpose
    bool signsCode = false;
    Certificate decoded; // null where libcrypto does not read it; its signature is not the real one
};

// Why a certificate is not the issuer of another one, or of a CRL.
struct RejectedCandidate {
    size_t certificate = NONE;
    std::string why;
    bool isOtherName = false; // no more than one of the certificates at hand

    bool operator==(const RejectedCandidate &) const = default;
};

struct SeenCrl {
    std::string issuer;
    MaybeTime thisUpdate;
    MaybeTime nextUpdate;
    size_t entries = 0;
    bool isIndirect = false;
    size_t signedBy = NONE; // certificate
    std::vector<RejectedCandidate> rejected;
};

enum class CrlUse { Taken, Outranked, NotUsable };

// What became of one CRL for one certificate.
struct CrlFinding {
    size_t crl = NONE;
    CrlUse use = CrlUse::NotUsable;
    uint32_t score = 0;
    std::string why; // in words
    bool isExpired = false;
    bool isOtherIssuers = false;
    size_t failedIssuer = NONE; // certificate that has signed it, and does not validate
    uint32_t issuerStatus = 0;
};

// An entry that lists a certificate.
struct EntryFinding {
    uint32_t reason = 0;
    MaybeTime date;
    bool dateCounts = false;
    bool revokes = false;
};

// What decided about a certificate.
enum class Ruling {
    None, // nothing did: the operation was ended by the machine
    Validity,
    SelfSignedTest,
    Anchor,
    NoRoot,
    NoCrl, // none could be chosen
    Entry, // an entry of its CRL
    Good,
};

// One certificate, judged on a path.
struct Judgement {
    size_t certificate = NONE;
    int64_t depth = 0; // 1: on the path itself; deeper: as the issuer of a CRL
    size_t order = 0;  // in which it was begun
    uint32_t status = 0;
    Ruling ruling = Ruling::None;
    uint32_t rulingStatus = 0;
    std::vector<CrlFinding> crls;
    std::vector<EntryFinding> entries;
    bool coversIssuer = false;
};

// The validation of a signer's or an authority's certificate.
struct PathFinding {
    size_t certificate = NONE;
    uint32_t status = 0;
    std::vector<Judgement> judgements; // in the order in which they were begun
};

// Where the decoder stopped.
struct ReadProblem {
    enum class Kind {
        None,
        Indefinite,
        Overflow,
        Member,
        TooManyCertificates,
        TooManySigners,
        TooManyEntries,
        TooMany
    };
    Kind kind = Kind::None;
    uint32_t offset = 0;
    int octet = -1;          // that stands there; -1: the end
    bool isSignerId = false; // a member: the signer's identifier
};

// Content that fits the signature, where the given one does not.
struct ContentFinding {
    bool isCompared = false; // a digest was compared; else a signature over the content
    bool differs = false;    // the library's verdict; else the machine may have failed with the same status
    std::string algorithm;
    std::string expected; // digests, hexadecimal
    std::string found;
    std::string fits;                    // how it would: "with LF line ends"
    std::vector<std::string> candidates; // files that fit
    bool isBinary = false;               // has a zero octet, so that nothing was tried
};

// What happened, in one sentence, and what to do.
struct RefusalCause {
    std::string code; // stable, for programs
    std::string text;
    std::string remedy;
    std::string next; // a command
};

struct Check {
    std::string contentPath;
    std::string rootPath;
    std::string crlPath;
    std::string signaturePath;

    uint32_t status = 0xFFFFFFFF; // as the device's tool has it
    bool isAuthentic = false;
    StepFinding steps[STEP_COUNT];
    MaybeTime time; // of the token
    bool isTimeProved = false;

    std::vector<SeenCertificate> certificates;
    std::vector<SeenCrl> crls;
    std::vector<std::vector<RejectedCandidate>> rejected; // by certificate: who is not its issuer
    std::vector<size_t> issuers;                          // by certificate: who is; NONE: nobody
    size_t signer = NONE;
    size_t authority = NONE;
    PathFinding signerPath;
    PathFinding authorityPath;
    size_t messageSigners = 0;
    size_t messageCertificates = 0;
    std::vector<std::string> notes;
    ReadProblem problem; // of the file that could not be read
    bool isArmourRefused = false;
    bool isCertificateRefused = false; // in the message or the token
    ContentFinding content;
    RefusalCause cause;

    // --horizon
    int64_t now = 0;
    std::string endsWhat; // of what new packages need, what ends first; empty: not known
    int64_t endsTime = 0;
    bool endsSoon = false;
};

// Name and title of a step: "signer-path", "the signer's certificate is valid".
const char *StepName(Step step);
const char *StepTitle(Step step);

// Adds a note that is not there yet: a file of broken blocks has thousands of one kind.
void AddNote(Check *check, const std::string &note);

// `certificate` and those above it, as far as issuers are known; nothing for NONE.
std::vector<size_t> PathUp(const Check &check, size_t certificate);

// The first step that failed.
std::optional<Step> FailedStep(const Check &check);

// Exit status of the device's tool.
inline int DeviceExitStatus(const Check &check)
{
    return static_cast<int>(check.status & 0xFFU);
}

} // namespace pkgsign

#endif
