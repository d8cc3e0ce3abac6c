// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// What pkgsign check makes of the library's trace records where the machine fails.
#include <nlohmann/json.hpp>

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
