// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Files that are made to fill the log.
#include <inttypes.h>

#include <gtest/gtest.h>

#include "pki/path.h"
#include "pki/store.h"
#include "sigkit/sigkit.h"
#include "tests/pki/store_writer.h"
#include "tests/support/pretended_host.h"

namespace
{

constexpr uint64_t VOLUME_MAX = 2000000;

// CRLs that have ended and revoke nothing yet: each of them is a candidate for every certificate, with a warning.
std::vector<WrittenCrl> EndedCrls(const std::string &issuer)
{
    WrittenCrl crl;
    crl.issuer = issuer;
    crl.nextUpdate = JUDGED_AT - YEAR - DAY;
    for (uint8_t serial = 1; serial <= 16; ++serial) {
        WrittenEntry entry;
        entry.serial = serial;
        entry.reason = 4; // superseded: from its date on
        entry.date = JUDGED_AT + YEAR;
        crl.entries.push_back(entry);
    }
    return std::vector<WrittenCrl>(16, crl);
}

// A CA whose key was rolled over, with CRLs that only their own issuer covers, behind forged certificates of its name
// whose keys are not supported.
WrittenStore Forged()
{
    WrittenStore store;
    store.certs.push_back({"Root", "Root", 1, 1});
    for (uint8_t i = 0; i < 13; ++i) {
        WrittenCert forged = {"CA", "Root", static_cast<uint8_t>(100 + i), 99};
        forged.longKey = true;
        store.certs.push_back(forged);
    }
    store.certs.push_back({"CA", "Root", 2, 1});
    store.certs.push_back({"CA", "CA", 3, 2});
    store.crls = EndedCrls("CA");
    for (WrittenCrl &crl : store.crls) {
        crl.issuerKey = 3;
    }
    return store;
}

// CAs of one name, each with a CRL of its own, which covers all of them.
WrittenStore Namesakes()
{
    WrittenStore store;
    store.crls = EndedCrls("CA");
    for (uint8_t i = 1; i <= 16; ++i) {
        store.certs.push_back({"CA", "CA", i, 1, i});
        store.crls[i - 1U].issuerKey = i;
    }
    store.crls[0].issuerKey = 16;
    return store;
}

// A chain of CAs with indirect CRLs, so that each validation walks up to the root.
WrittenStore Chain(uint8_t length)
{
    WrittenStore store;
    store.certs.push_back({"Root", "Root", 1, 1, 1});
    store.crls = EndedCrls("Root");
    for (uint8_t i = 2; i <= length; ++i) {
        const std::string issuer = store.certs.back().subject;
        store.certs.push_back({"CA" + std::to_string(i), issuer, i, static_cast<uint8_t>(i - 1), i});
    }
    for (size_t i = 0; i < store.crls.size(); ++i) {
        WrittenCrl &crl = store.crls[i];
        crl.indirect = true;
        const WrittenCert &by = store.certs[i == 15 ? 0 : store.certs.size() - 1 - i % (store.certs.size() - 1)];
        crl.issuer = by.subject;
        crl.issuerKey = by.key;
    }
    return store;
}

// Octets that the log prints while `work` runs on a context.
template <typename Work>
uint64_t PrintedBy(SigkitVerifyCtx *ctx, const Work &work)
{
    const ContextGuard guard(ctx);
    if (ctx == nullptr) {
        ADD_FAILURE() << "the store does not load";
        return UINT64_MAX;
    }
    g_pretendedHost.lines.clear();
    g_pretendedHost.keepsLines = false;
    g_pretendedHost.printedOctets = 0;
    work(ctx);
    g_pretendedHost.keepsLines = true;
    return g_pretendedHost.printedOctets;
}

// Judges a certificate twice, as a signature's verification does with the timestamp authority's and the signer's.
uint64_t PrintedByVerification(const WrittenStore &store)
{
    return PrintedBy(LoadStore(store), [](SigkitVerifyCtx *ctx) {
        InternalRenewTrail(ctx);
        SigkitX509Cert *const last = static_cast<SigkitX509Cert *>(ctx->pki->certs.items[ctx->pki->certs.count - 1]);
        for (int i = 0; i < 2; ++i) {
            uint32_t ok = 0;
            (void)SigkitPkiVerifyCert(ctx, last, 1, 0, &ok);
        }
    });
}

// Summarises the store's file, which judges the issuer of each CRL at its own time.
uint64_t PrintedBySummary(const WrittenStore &store)
{
    const WrittenFiles files = WriteFiles(store, 1);
    return PrintedBy(NewContext(), [&files](SigkitVerifyCtx *ctx) {
        ASSERT_TRUE(AddFiles(ctx, {files.anchors, {}}));
        const der::Bytes &file = files.others;
        SigkitCrlBundle *bundle = nullptr;
        ASSERT_EQ(SIGKIT_OK, SigkitDecodeCrl(ctx, file.data(), static_cast<uint32_t>(file.size()), &bundle));
        EXPECT_EQ(16, bundle->count);
        EXPECT_EQ(SIGKIT_OK, SigkitCrlFree(ctx, bundle));
    });
}

} // namespace

TEST(LogVolume, OfOneOperationStaysBelowTwoMegabytesWhateverTheStoreHolds)
{
    const struct {
        const char *name;
        WrittenStore store;
    } rows[] = {{"forged", Forged()}, {"namesakes", Namesakes()}, {"chain", Chain(11)}};
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        const uint64_t verification = PrintedByVerification(row.store);
        const uint64_t summary = PrintedBySummary(row.store);
        EXPECT_LT(VOLUME_MAX / 10, summary) << "the store is worth the comparison";
        EXPECT_GT(VOLUME_MAX, verification);
        EXPECT_GT(VOLUME_MAX, summary);
        printf("%s: %" PRIu64 " and %" PRIu64 " octets of log\n", row.name, verification, summary);
    }
}
