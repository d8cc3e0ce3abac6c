// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "tests/pki/store_generator.h"

#include <algorithm>
#include <array>
#include <string>

#include "core/list.h"

namespace
{

constexpr std::array<int64_t, 7> g_instants = {JUDGED_AT - YEAR, JUDGED_AT - DAY, JUDGED_AT - 1,   JUDGED_AT,
                                               JUDGED_AT + 1,    JUDGED_AT + DAY, JUDGED_AT + YEAR};

// Dates that the library's lenient reader reads somehow, and some that it cannot read.
constexpr std::array<const char *, 14> g_dateTexts = {
    "2203010000Z",      // without seconds
    "20220301000000Z",  // a GeneralizedTime's length
    "G220301000000Z",   // a UTCTime's length
    "G20220101000000Z", // JUDGED_AT
    "21123123595:Z",    // JUDGED_AT: the colon counts ten
    "220101000000+",    // JUDGED_AT
    "221301000000Z",    // a thirteenth month
    "220001000000Z",    // a month 0
    "500101000000Z",    // the first UTCTime
    "491231235959Z",    // the last UTCTime
    "G00220101000000Z", // 1922
    "G19000101000000Z", // 3800
    "G19700101000000Z", // the epoch
    "G99991231235959Z", // no end (RFC 5280, 4.1.2.5)
};

// A number below `count`.
uint32_t Below(Dice *dice, size_t count)
{
    return static_cast<uint32_t>(dice->generator() % count);
}

bool Chance(Dice *dice, uint32_t percent)
{
    return Below(dice, 100) < percent;
}

bool Noise(Dice *dice)
{
    return Chance(dice, dice->noise);
}

template <typename Choices>
auto Choose(Dice *dice, const Choices &choices)
{
    return choices[Below(dice, choices.size())];
}

uint8_t RandomKey(Dice *dice)
{
    return static_cast<uint8_t>(1 + Below(dice, 6));
}

uint8_t RandomSerial(Dice *dice)
{
    return Chance(dice, 3) ? 200 : static_cast<uint8_t>(Below(dice, 7));
}

std::string RandomName(Dice *dice)
{
    return std::string(1, "AABBCCDDa"[Below(dice, 9)]);
}

NameForm RandomForm(Dice *dice)
{
    constexpr std::array<NameForm, 6> forms = {NameForm::PRINTABLE, NameForm::SECOND_ATTRIBUTE, NameForm::UNIT,
                                               NameForm::LONGER,    NameForm::SHORTER,          NameForm::EMPTY};
    return Choose(dice, forms);
}

std::string RandomAlgorithm(Dice *dice)
{
    constexpr std::array<const char *, 4> algorithms = {"1.2.840.113549.1.1.5", // with SHA-1, which is not supported
                                                        "1.2.840.113549.1.1.12", "1.2.840.113549.1.1.13",
                                                        "2.16.840.1.101.3.4.2.3"};
    return Choose(dice, algorithms);
}

// ---- Certificates --------------------------------------------------------------------------------------------------

WrittenCert Child(Dice *dice, const WrittenCert &issuer, const std::string &subject)
{
    WrittenCert cert;
    cert.subject = subject;
    cert.issuer = issuer.subject;
    cert.issuerForm = issuer.subjectForm;
    cert.key = RandomKey(dice);
    cert.issuerKey = issuer.key;
    cert.cA = Chance(dice, 75);
    cert.mayCertSign = cert.cA;
    cert.mayCrlSign = cert.cA;
    return cert;
}

// Another certificate of the same name and issuer, with the same key or a new one.
WrittenCert Renewed(Dice *dice, const WrittenCert &cert, uint32_t newKeyPercent)
{
    WrittenCert renewed = cert;
    renewed.key = Chance(dice, newKeyPercent) ? RandomKey(dice) : cert.key;
    return renewed;
}

// New-with-old or old-with-new: an authority certifies its own name under another key (RFC 4210, 4.4).
WrittenCert SelfIssued(Dice *dice, const WrittenCert &cert)
{
    WrittenCert issued = cert;
    issued.issuer = cert.subject;
    issued.issuerForm = cert.subjectForm;
    issued.issuerKey = cert.key;
    issued.key = RandomKey(dice);
    if (Chance(dice, 50)) {
        std::swap(issued.key, issued.issuerKey);
    }
    return issued;
}

WrittenCert CrlSigner(Dice *dice, const WrittenCert &cert)
{
    WrittenCert signer = Renewed(dice, cert, 40);
    signer.cA = false;
    signer.mayCertSign = false;
    signer.mayCrlSign = true;
    return signer;
}

WrittenCert CrossSigned(const WrittenCert &cert, const WrittenCert &issuer)
{
    WrittenCert crossed = cert;
    crossed.issuer = issuer.subject;
    crossed.issuerForm = issuer.subjectForm;
    crossed.issuerKey = issuer.key;
    return crossed;
}

void AddNoise(Dice *dice, WrittenCert *cert)
{
    cert->issuer = Noise(dice) ? RandomName(dice) : cert->issuer;
    cert->issuerKey = Noise(dice) ? RandomKey(dice) : cert->issuerKey;
    cert->cA = Noise(dice) ? !cert->cA : cert->cA;
    cert->mayCertSign = Noise(dice) ? !cert->mayCertSign : cert->mayCertSign;
    cert->mayCrlSign = Noise(dice) ? !cert->mayCrlSign : cert->mayCrlSign;
    cert->notBefore = Noise(dice) ? Choose(dice, g_instants) : cert->notBefore;
    cert->notAfter = Noise(dice) ? Choose(dice, g_instants) : cert->notAfter;
    if (!Noise(dice)) {
        return; // the rest is rarer
    }
    cert->notBeforeText = Chance(dice, 20) ? Choose(dice, g_dateTexts) : "";
    cert->notAfterText = Chance(dice, 20) ? Choose(dice, g_dateTexts) : "";
    cert->subjectForm = Chance(dice, 30) ? RandomForm(dice) : cert->subjectForm;
    cert->issuerForm = Chance(dice, 30) ? RandomForm(dice) : cert->issuerForm;
    cert->usageTail = Chance(dice, 20) ? static_cast<int32_t>(Below(dice, 8)) : -1;
    cert->algorithm = Chance(dice, 40) ? RandomAlgorithm(dice) : cert->algorithm;
}

WrittenCert RandomCert(Dice *dice, const std::vector<WrittenCert> &there)
{
    const WrittenCert other = Choose(dice, there);
    const WrittenCert issuer = Choose(dice, there);
    WrittenCert cert;
    switch (Below(dice, 10)) {
    case 0:
        cert = Renewed(dice, other, 50);
        break;
    case 1:
        cert = SelfIssued(dice, other);
        break;
    case 2:
        cert = CrlSigner(dice, other);
        break;
    case 3:
        cert = CrossSigned(other, issuer);
        break;
    case 4:
        cert = Child(dice, issuer, there[0].subject); // a namesake of the root
        break;
    default:
        cert = Child(dice, issuer, RandomName(dice));
        break;
    }
    cert.serial = RandomSerial(dice);
    AddNoise(dice, &cert);
    return cert;
}

WrittenCert RandomAnchor(Dice *dice)
{
    WrittenCert anchor;
    anchor.subject = Chance(dice, 60) ? "A" : RandomName(dice);
    anchor.issuer = anchor.subject;
    anchor.key = Chance(dice, 60) ? 1 : RandomKey(dice);
    anchor.issuerKey = anchor.key;
    anchor.algorithm = Chance(dice, 3) ? RandomAlgorithm(dice) : anchor.algorithm;
    anchor.notAfter = Noise(dice) ? Choose(dice, g_instants) : anchor.notAfter;
    return anchor;
}

// A certificate that is self-signed, or whose self-signed test fails, does not get into a store beside CRLs.
bool GoesInAsAnchor(const WrittenCert &cert)
{
    return cert.key == cert.issuerKey || cert.algorithm != SHA256_WITH_RSA;
}

// ---- CRLs ----------------------------------------------------------------------------------------------------------

WrittenEntry RandomEntry(Dice *dice, const std::vector<WrittenCert> &certs)
{
    WrittenEntry entry;
    entry.serial = Chance(dice, 70) ? Choose(dice, certs).serial : RandomSerial(dice);
    entry.reason = static_cast<int64_t>(Below(dice, 12)) - 1;
    entry.date = Choose(dice, g_instants);
    entry.dateText = Chance(dice, 5) ? Choose(dice, g_dateTexts) : "";
    return entry;
}

WrittenCrl RandomCrl(Dice *dice, const std::vector<WrittenCert> &certs, const WrittenCert &issuer)
{
    WrittenCrl crl;
    crl.issuer = Noise(dice) ? RandomName(dice) : issuer.subject;
    crl.issuerForm = Noise(dice) ? RandomForm(dice) : issuer.subjectForm;
    crl.issuerKey = Noise(dice) ? RandomKey(dice) : issuer.key;
    crl.indirect = Chance(dice, 15);
    crl.nextUpdate = Chance(dice, 15) ? Choose(dice, g_instants) : crl.nextUpdate;
    crl.nextUpdateText = Noise(dice) ? Choose(dice, g_dateTexts) : "";
    crl.algorithm = Chance(dice, 1) ? RandomAlgorithm(dice) : crl.algorithm;
    const uint32_t entries = Chance(dice, 60) ? 0 : 1 + Below(dice, 3);
    for (uint32_t i = 0; i < entries; ++i) {
        crl.entries.push_back(RandomEntry(dice, certs));
    }
    return crl;
}

// ---- Stages --------------------------------------------------------------------------------------------------------

// Anchors go in first, whatever the order was.
void PutAnchorsFirst(StoreStage *stage)
{
    std::vector<WrittenCert> &added = stage->added.certs;
    const auto end = std::stable_partition(added.begin(), added.end(), GoesInAsAnchor);
    stage->anchors = static_cast<size_t>(end - added.begin());
}

void AddCerts(Dice *dice, const std::vector<WrittenCert> &there, StoreStage *stage)
{
    std::vector<WrittenCert> known = there;
    std::vector<WrittenCert> &added = stage->added.certs;
    const size_t room = SIGKIT_LIST_CAPACITY - there.size();
    const size_t count = std::min<size_t>(room, there.empty() ? 3 + Below(dice, 5) : Below(dice, 4));
    for (size_t i = 0; i < count; ++i) {
        const bool anchor = i == 0 && (there.empty() || Chance(dice, 10));
        added.push_back(anchor ? RandomAnchor(dice) : RandomCert(dice, known));
        known.push_back(added.back());
    }
    if (Chance(dice, 50)) {
        std::shuffle(added.begin(), added.end(), dice->generator);
    }
    PutAnchorsFirst(stage);
}

// A chain about as long as one may be, with the CRL of each issuer.
void AddChain(Dice *dice, StoreStage *stage)
{
    std::vector<WrittenCert> &added = stage->added.certs;
    added.push_back(RandomAnchor(dice));
    const size_t length = 10 + Below(dice, 4);
    while (added.size() < length) {
        const WrittenCert issuer = added.back();
        added.push_back(Child(dice, issuer, "Link " + std::to_string(added.size())));
        added.back().key = static_cast<uint8_t>(10 + added.size());
        added.back().cA = true;
        added.back().mayCertSign = true;
        added.back().mayCrlSign = true;
        added.back().serial = RandomSerial(dice);
        stage->added.crls.push_back(RandomCrl(dice, {issuer}, issuer));
        stage->added.crls.back().indirect = false; // indirect ones cover each other's issuers, at any cost
    }
    PutAnchorsFirst(stage);
}

void AddCrls(Dice *dice, const WrittenStore &there, StoreStage *stage)
{
    constexpr size_t most = 4; // more cost too much to be judged without memory
    const size_t room = std::min<size_t>(2, most - std::min(most, there.crls.size()));
    const std::vector<WrittenCert> &certs = there.certs;
    for (const WrittenCert &issuer : certs) {
        if (stage->added.crls.size() < room && issuer.mayCrlSign && Chance(dice, 60)) {
            stage->added.crls.push_back(RandomCrl(dice, certs, issuer));
        }
    }
    if (stage->added.crls.size() < room && Chance(dice, 20)) {
        stage->added.crls.push_back(RandomCrl(dice, certs, Choose(dice, certs)));
    }
}

void AddQuestions(Dice *dice, size_t certs, StoreStage *stage)
{
    for (uint32_t i = 0; i < 5; ++i) {
        const int64_t time = Chance(dice, 60) ? JUDGED_AT : Choose(dice, g_instants);
        const uint32_t strictRevocation = Chance(dice, 5) ? 2 : Below(dice, 2); // only 1 is strict
        stage->questions.push_back({Below(dice, certs), time, strictRevocation});
    }
}

} // namespace

std::vector<StoreStage> RandomStages(Dice *dice)
{
    constexpr std::array<uint32_t, 3> noises = {0, 3, 10};
    dice->noise = Choose(dice, noises);
    std::vector<StoreStage> stages(1 + Below(dice, 3));
    WrittenStore whole;
    for (StoreStage &stage : stages) {
        if (whole.certs.empty() && Chance(dice, 5)) {
            AddChain(dice, &stage);
            whole.certs = stage.added.certs;
        } else {
            AddCerts(dice, whole.certs, &stage);
            whole.certs.insert(whole.certs.end(), stage.added.certs.begin(), stage.added.certs.end());
            AddCrls(dice, whole, &stage);
        }
        whole.crls.insert(whole.crls.end(), stage.added.crls.begin(), stage.added.crls.end());
        AddQuestions(dice, whole.certs.size(), &stage);
    }
    return stages;
}
