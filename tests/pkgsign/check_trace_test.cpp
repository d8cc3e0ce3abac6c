// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// What pkgsign check makes of the library's trace records where the machine fails, and where memory is used again.
#include "pkgsign/explain/check_trace.h"

#include <nlohmann/json.hpp>

#include "asn1/records.h"
#include "core/trace.h"
#include "sigkit/sigkit.h"
#include "sigkit/sigkit_host.h"
#include "tests/pkgsign/support.h"

namespace
{

using Json = nlohmann::json;

// Whether the digest of the content fails, and no other.
bool g_failsContentDigest = false;

} // namespace

extern "C" {

// The linker's option --wrap gives these names.
// NOLINTNEXTLINE(bugprone-reserved-identifier)
int32_t __real_SigkitMdFinal(SigkitMdCtx *ctx, uint8_t *digest, uint32_t *digestLen, void *reserved);

// NOLINTNEXTLINE(bugprone-reserved-identifier)
int32_t __wrap_SigkitMdFinal(SigkitMdCtx *ctx, uint8_t *digest, uint32_t *digestLen, void *reserved)
{
    const bool isContent = reserved != digestLen;
    return g_failsContentDigest && isContent ? -1 : __real_SigkitMdFinal(ctx, digest, digestLen, reserved);
}
}

TEST(CheckTrace, DoesNotSayThatTheContentDiffersWhereItsDigestCannotBeComputed)
{
    const std::string good = std::string(PKGSIGN_SOURCES) + "/vectors/files/signature/good.";
    g_failsContentDigest = true;
    const Outcome outcome =
        Pkgsign({"check", good + "content", "--root", std::string(PKGSIGN_SOURCES) + "/vectors/files/root", "--crl",
                 good + "crls", "--signature", good + "signature", "--no-input", "--json"});
    g_failsContentDigest = false;
    EXPECT_EQ(1, outcome.status);
    const Json json = Json::parse(outcome.out);
    EXPECT_EQ("ffffffff", json["status"]);
    EXPECT_EQ("content", json["failedStep"]);
    EXPECT_EQ("machine", json["causeCode"]);
    EXPECT_TRUE(json["content"]["digest"].is_null());
}

TEST(CheckTrace, DoesNotTakeOneRecordForAnotherThatHadItsMemory)
{
    pkgsign::Check check;
    pkgsign::TraceScope trace(&check);
    const uint8_t octets[] = {1, 2, 3};
    SigkitX509Cert candidate = {};
    SigkitX509Cert record = {};
    candidate.encoded = {1, 0, 0, 0, octets};
    record.encoded = {1, 0, 0, 0, octets + 1};
    InternalTrace({SIGKIT_TRACE_NAME_AGREES, &record.tbsCertificate.issuer, &candidate, 0});
    InternalTrace({SIGKIT_TRACE_CERT_SELF_SIGNED, &record, nullptr, 0});
    record.encoded = {1, 0, 0, 0, octets + 2};
    InternalTrace({SIGKIT_TRACE_ISSUER_TRIED, &record, &candidate, SIGKIT_OK});
    ASSERT_EQ(3u, check.rejected.size());
    ASSERT_EQ(1u, check.rejected[2].size());
    EXPECT_TRUE(check.rejected[2][0].isOtherName) << check.rejected[2][0].why;

    InternalTrace({SIGKIT_TRACE_NAME_AGREES, &record.tbsCertificate.issuer, &record, 0});
    record.encoded = {2, 0, 0, 0, octets};
    InternalTrace({SIGKIT_TRACE_NAME_AGREES, &record.tbsCertificate.issuer, &candidate, 0});
    InternalTrace({SIGKIT_TRACE_ISSUER_TRIED, &record, &candidate, SIGKIT_OK});
    ASSERT_EQ(4u, check.rejected.size());
    ASSERT_EQ(1u, check.rejected[3].size());
    EXPECT_FALSE(check.rejected[3][0].isOtherName) << check.rejected[3][0].why;
}
