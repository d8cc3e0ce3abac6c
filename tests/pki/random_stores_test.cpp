// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Random stores, judged by the library and by a literal model of path validation.
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "pki/path.h"
#include "pki/store.h"
#include "sigkit/sigkit.h"
#include "tests/pki/literal_model.h"
#include "tests/pki/store_generator.h"
#include "tests/pki/store_writer.h"
#include "tests/support/pretended_host.h"
#include "tests/support/status_names.h"

namespace
{

using Lines = std::vector<std::string>;

constexpr uint32_t SOME = 1000;
constexpr uint32_t MANY = MANY_STORES;

// Nested validations that the model carries out for one answer: the worst of the stores would take millions.
constexpr uint32_t NESTED_MAX = 5000;

struct Answer {
    uint32_t status = 0;
    uint32_t ok = 7;
    uint32_t pathError = 0;
    int32_t pathDepth = 7;
    Lines lines = {};
};

// A store as the model and two contexts have it: one as it comes, and one that remembers earlier or later.
struct JudgedStore {
    LiteralContext model;
    ContextGuard usual;
    ContextGuard remembering;
};

// What the answers were, to see that the comparison is worth something.
struct Tally {
    std::map<uint32_t, uint32_t> statuses;
    std::set<std::string> lines;
    uint32_t givenUp = 0;          // stores that the model did not finish
    uint32_t beyondLiteral = 0;    // answers after more nested validations than are always carried out
    uint32_t walkedPastDirect = 0; // answers for which another record had signed a direct CRL than the certificate
};

Answer AskModel(LiteralContext *model, const StoreQuestion &question)
{
    Answer answer;
    model->verifyTime = question.verifyTime;
    model->lines.clear();
    answer.status = LiteralVerifyCert(model, question.cert, 1, question.strictRevocation, &answer.ok);
    answer.pathError = model->pathError;
    answer.pathDepth = model->pathDepth;
    answer.lines = model->lines;
    return answer;
}

Answer AskLibrary(SigkitVerifyCtx *ctx, const StoreQuestion &question)
{
    Answer answer;
    ctx->verifyTime = question.verifyTime;
    g_pretendedHost.lines.clear();
    InternalRenewTrail(ctx);
    SigkitX509Cert *const cert = static_cast<SigkitX509Cert *>(ctx->pki->certs.items[question.cert]);
    answer.status = SigkitPkiVerifyCert(ctx, cert, 1, question.strictRevocation, &answer.ok);
    answer.pathError = ctx->pathError;
    answer.pathDepth = ctx->pathDepth;
    answer.lines = g_pretendedHost.lines;
    return answer;
}

std::set<std::string> WithoutRepeats(const Lines &lines)
{
    return {lines.begin(), lines.end()};
}

// Memory loses lines that were there before, and no other ones.
void ExpectSame(const Answer &expected, const Answer &answer, bool memoryHelped)
{
    EXPECT_STATUS(expected.status, answer.status);
    EXPECT_EQ(expected.ok, answer.ok);
    EXPECT_STATUS(expected.pathError, answer.pathError);
    EXPECT_EQ(expected.pathDepth, answer.pathDepth);
    if (memoryHelped) {
        EXPECT_EQ(WithoutRepeats(expected.lines), WithoutRepeats(answer.lines));
    } else {
        EXPECT_EQ(expected.lines, answer.lines);
    }
}

// Adds a stage to the model's store and to those of both contexts.
bool Grow(JudgedStore *judged, const StoreStage &stage)
{
    WrittenStore &store = judged->model.store;
    const WrittenFiles files = WriteFiles(stage.added, stage.anchors, store.certs.size(), store.crls.size());
    store.certs.insert(store.certs.end(), stage.added.certs.begin(), stage.added.certs.end());
    store.crls.insert(store.crls.end(), stage.added.crls.begin(), stage.added.crls.end());
    for (SigkitVerifyCtx *const ctx : {judged->usual.held, judged->remembering.held}) {
        if (ctx == nullptr || !AddFiles(ctx, files) || ctx->pki->certs.count != store.certs.size() ||
            ctx->pki->crls.count != store.crls.size()) {
            return false;
        }
    }
    return true;
}

// Asks once. Returns false when the model gave up.
bool CompareOnce(JudgedStore *judged, const StoreQuestion &question, Tally *tally)
{
    const uint32_t walkedBefore = judged->model.walkedPastDirect;
    const Answer expected = AskModel(&judged->model, question);
    if (LiteralGaveUp(judged->model)) {
        tally->givenUp += 1;
        return false;
    }
    const bool beyondLiteral = judged->model.nested >= SIGKIT_PATH_LITERAL_MAX;
    ExpectSame(expected, AskLibrary(judged->usual.held, question), beyondLiteral);
    uint32_t *const literal = &judged->remembering.held->pki->memory.literal;
    *literal = 0;
    ExpectSame(expected, AskLibrary(judged->remembering.held, question), true);
    if (!beyondLiteral) {
        *literal = judged->model.nested + 1; // just enough
        ExpectSame(expected, AskLibrary(judged->remembering.held, question), false);
    }
    tally->statuses[expected.status] += 1;
    tally->lines.insert(expected.lines.begin(), expected.lines.end());
    tally->beyondLiteral += beyondLiteral ? 1 : 0;
    tally->walkedPastDirect += judged->model.walkedPastDirect > walkedBefore ? 1 : 0;
    return true;
}

// What a store is made of, for the message of a failure.
std::string Describe(const WrittenStore &store)
{
    std::ostringstream text;
    for (const WrittenCert &cert : store.certs) {
        text << cert.subject << int(cert.subjectForm) << " key " << int(cert.key) << " by " << cert.issuer
             << int(cert.issuerForm) << " key " << int(cert.issuerKey) << " serial " << int(cert.serial) << " cA "
             << cert.cA << " usage " << cert.mayCertSign << cert.mayCrlSign << " " << cert.usageTail << " from "
             << cert.notBefore << cert.notBeforeText << " to " << cert.notAfter << cert.notAfterText << " "
             << cert.algorithm << "\n";
    }
    for (const WrittenCrl &crl : store.crls) {
        text << "CRL of " << crl.issuer << int(crl.issuerForm) << " key " << int(crl.issuerKey) << " indirect "
             << crl.indirect << " to " << crl.nextUpdate << crl.nextUpdateText << " " << crl.algorithm;
        for (const WrittenEntry &entry : crl.entries) {
            text << ", serial " << int(entry.serial) << " reason " << entry.reason << " from " << entry.date
                 << entry.dateText;
        }
        text << "\n";
    }
    return text.str();
}

void CompareStore(const std::vector<StoreStage> &stages, Tally *tally)
{
    JudgedStore judged = {{}, ContextGuard(NewContext()), ContextGuard(NewContext())};
    judged.model.nestedMax = NESTED_MAX;
    for (const StoreStage &stage : stages) {
        ASSERT_TRUE(Grow(&judged, stage)) << "the store does not load";
        for (const StoreQuestion &question : stage.questions) {
            if (!CompareOnce(&judged, question, tally)) {
                return;
            }
            ASSERT_FALSE(testing::Test::HasFailure())
                << "certificate " << question.cert << " at " << question.verifyTime << ", strictness "
                << question.strictRevocation << ", in\n"
                << Describe(judged.model.store);
        }
    }
}

// The comparison is worth something only when the stores come to every end.
void ExpectWorthIt(const Tally &tally, uint32_t stores)
{
    for (const uint32_t status :
         {SIGKIT_OK, SIGKIT_ERR_TIME_FORMAT, SIGKIT_ERR_CERT_REVOKED, SIGKIT_ERR_NO_ROOT, SIGKIT_ERR_NO_CRL,
          SIGKIT_ERR_CERT_NOT_YET_VALID, SIGKIT_ERR_CERT_EXPIRED, SIGKIT_ERR_PATH_TOO_DEEP, SIGKIT_ERR_ALGORITHM}) {
        const auto found = tally.statuses.find(status);
        EXPECT_LT(stores / 100, found == tally.statuses.end() ? 0 : found->second) << StatusName(status);
    }
    EXPECT_EQ(1u, tally.lines.count("E InternalFindCertRoot ffffffff find path too deep."));
    EXPECT_EQ(1u, tally.lines.count("W InternalCrlGetScore 88200103 Found an expired CRL, it most likely cause NO CRL "
                                    "error."));
    EXPECT_LT(stores / 20, tally.beyondLiteral);
    EXPECT_LT(stores / 10, tally.walkedPastDirect);
    EXPECT_GT(stores / 50, tally.givenUp);
}

void JudgeStores(uint32_t seed, uint32_t stores)
{
    Tally tally;
    Dice dice = {std::mt19937(seed)};
    for (uint32_t i = 0; i < stores && !testing::Test::HasFailure(); ++i) {
        SCOPED_TRACE("store " + std::to_string(i));
        CompareStore(RandomStages(&dice), &tally);
    }
    EXPECT_EQ(0, g_pretendedHost.liveBlocks);
    if (!testing::Test::HasFailure()) {
        ExpectWorthIt(tally, stores);
    }
}

} // namespace

TEST(RandomStores, AreJudgedAsTheLiteralModelJudgesThem)
{
    JudgeStores(20261121, SOME);
}

TEST(ManyRandomStores, AreJudgedAsTheLiteralModelJudgesThem)
{
    JudgeStores(20261122, MANY);
}
