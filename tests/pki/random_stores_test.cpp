// What is remembered must never change an answer.
#include <map>
#include <random>
#include <set>

#include <gtest/gtest.h>

#include "pki/path.h"
#include "pki/store.h"
#include "sigkit/sigkit.h"
#include "tests/pki/store_writer.h"
#include "tests/support/pretended_host.h"

namespace
{

constexpr uint32_t STORES = RANDOM_STORES;

struct Outcome {
    uint32_t status;
    uint32_t ok;
    uint32_t pathError;
    int32_t pathDepth;

    bool operator==(const Outcome &) const = default;
};

struct Judgement {
    std::vector<Outcome> outcomes;
    std::set<std::string> lines;
};

struct Dice {
    std::mt19937 generator;

    bool Chance(uint32_t percent)
    {
        return generator() % 100 < percent;
    }
    uint8_t UpTo(uint32_t most)
    {
        return static_cast<uint8_t>(generator() % (most + 1));
    }
};

std::string RandomName(Dice *dice)
{
    return std::string(1, static_cast<char>('A' + dice->UpTo(2)));
}

WrittenCert RandomCert(Dice *dice, const std::vector<WrittenCert> &others)
{
    const WrittenCert &issuer = others[dice->UpTo(static_cast<uint32_t>(others.size()) - 1)];
    WrittenCert cert;
    cert.subject = RandomName(dice);
    cert.key = static_cast<uint8_t>(1 + dice->UpTo(3));
    cert.issuer = dice->Chance(85) ? issuer.subject : RandomName(dice);
    cert.issuerKey = dice->Chance(90) ? issuer.key : static_cast<uint8_t>(1 + dice->UpTo(3));
    cert.serial = static_cast<uint8_t>(1 + dice->UpTo(5));
    cert.cA = dice->Chance(85);
    cert.mayCertSign = dice->Chance(90);
    cert.mayCrlSign = dice->Chance(90);
    cert.notAfter = dice->Chance(7) ? JUDGED_AT - 1 : cert.notAfter;
    return cert;
}

WrittenCrl RandomCrl(Dice *dice, const std::vector<WrittenCert> &certs)
{
    const WrittenCert &issuer = certs[dice->UpTo(static_cast<uint32_t>(certs.size()) - 1)];
    WrittenCrl crl;
    crl.issuer = dice->Chance(95) ? issuer.subject : RandomName(dice);
    crl.issuerKey = dice->Chance(95) ? issuer.key : static_cast<uint8_t>(1 + dice->UpTo(3));
    crl.indirect = dice->Chance(25);
    crl.nextUpdate = dice->Chance(10) ? JUDGED_AT - 1 : crl.nextUpdate;
    const uint32_t entries = dice->UpTo(2);
    for (uint32_t i = 0; i < entries; ++i) {
        WrittenEntry entry;
        entry.serial = static_cast<uint8_t>(1 + dice->UpTo(7));
        entry.reason = dice->UpTo(6);
        entry.date = dice->Chance(50) ? JUDGED_AT + DAY : JUDGED_AT - DAY;
        crl.entries.push_back(entry);
    }
    return crl;
}

WrittenStore RandomStore(Dice *dice)
{
    WrittenStore store;
    store.certs.push_back({"A", "A"});
    const uint32_t certs = 1U + dice->UpTo(5);
    for (uint32_t i = 0; i < certs; ++i) {
        store.certs.push_back(RandomCert(dice, store.certs));
    }
    const uint32_t crls = 1U + dice->UpTo(1) + (dice->Chance(10) ? 1 : 0); // three can cost 3^10 validations
    for (uint32_t i = 0; i < crls; ++i) {
        store.crls.push_back(RandomCrl(dice, store.certs));
    }
    return store;
}

// Nothing is remembered about records that do not know their place in the store.
void ForgetPlaces(const SigkitVerifyCtx &ctx)
{
    for (uint32_t i = 0; i < ctx.pki->certs.count; ++i) {
        static_cast<SigkitX509Cert *>(ctx.pki->certs.items[i])->storeIndex = 0;
    }
}

// Judges each certificate of a store, leniently and strictly.
Judgement Judge(const WrittenStore &store, bool remember)
{
    const ContextGuard ctx(LoadStore(store));
    if (ctx.held == nullptr) {
        ADD_FAILURE() << "the store does not load";
        return {};
    }
    ctx.held->pki->memory.literal = 0;
    if (!remember) {
        ForgetPlaces(*ctx.held);
    }
    g_pretendedHost.lines.clear();
    Judgement judgement;
    const SigkitList &certs = ctx.held->pki->certs;
    for (uint32_t i = 0; i < 2 * certs.count; ++i) {
        Outcome outcome = {};
        ctx.held->pathError = 0;
        SigkitX509Cert *const cert = static_cast<SigkitX509Cert *>(certs.items[i / 2]);
        outcome.status = SigkitPkiVerifyCert(ctx.held, cert, 1, i % 2, &outcome.ok);
        outcome.pathError = ctx.held->pathError;
        outcome.pathDepth = ctx.held->pathDepth;
        judgement.outcomes.push_back(outcome);
    }
    judgement.lines.insert(g_pretendedHost.lines.begin(), g_pretendedHost.lines.end());
    return judgement;
}

} // namespace

TEST(RandomStores, AreJudgedAlikeWithAndWithoutMemory)
{
    std::map<uint32_t, uint32_t> statuses;
    Dice dice = {std::mt19937(20261121)};
    for (uint32_t i = 0; i < STORES && !testing::Test::HasFailure(); ++i) {
        SCOPED_TRACE("store " + std::to_string(i));
        const WrittenStore store = RandomStore(&dice);
        const Judgement literal = Judge(store, false);
        const Judgement remembered = Judge(store, true);
        EXPECT_EQ(literal.outcomes, remembered.outcomes);
        EXPECT_EQ(literal.lines, remembered.lines); // lines may be fewer, but none is missing or new
        for (const Outcome &outcome : literal.outcomes) {
            statuses[outcome.status] += 1;
        }
    }
    EXPECT_EQ(0, g_pretendedHost.liveBlocks);
    // The stores are worth the comparison only when they come to every end.
    for (const uint32_t status : {SIGKIT_OK, SIGKIT_ERR_CERT_REVOKED, SIGKIT_ERR_NO_ROOT, SIGKIT_ERR_NO_CRL,
                                  SIGKIT_ERR_CERT_EXPIRED, SIGKIT_ERR_PATH_TOO_DEEP}) {
        EXPECT_LT(STORES / 100, statuses[status]) << std::hex << status;
    }
}
