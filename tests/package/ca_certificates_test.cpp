// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Certificates from the wild: every root that Debian's ca-certificates package brings is either taken or refused for a
// reason that is known beforehand.
#include <gtest/gtest.h>

#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

#include <filesystem>

#include "sigkit/sigkit.h"
#include "tests/forge/forge.h"
#include "tests/support/recording_host.h"
#include "tests/support/status_names.h"

namespace
{

// Why a certificate cannot be decoded; empty when it can.
std::string ReasonToRefuse(const forge::Bytes &pem)
{
    BIO *const input = BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size()));
    X509 *const certificate = PEM_read_bio_X509(input, nullptr, nullptr, nullptr);
    BIO_free(input);
    EXPECT_NE(nullptr, certificate);
    std::string reason;
    if (X509_get_version(certificate) != 2) {
        reason = "not of version 3";
    } else if (EVP_PKEY_base_id(X509_get0_pubkey(certificate)) != EVP_PKEY_RSA) {
        reason = "not an RSA key";
    }
    X509_free(certificate);
    return reason;
}

uint32_t AddToFreshContext(const forge::Bytes &data)
{
    SigkitVerifyCreateParam param = SIGKIT_VERIFY_CREATE_PARAM_INIT;
    SigkitVerifyCtx *ctx = nullptr;
    EXPECT_EQ(SIGKIT_OK, SigkitVerifyCreateCtx(&ctx, &param));
    const uint32_t status = SigkitVerifyAddCert(ctx, data.data(), static_cast<uint32_t>(data.size()));
    EXPECT_EQ(SIGKIT_OK, SigkitVrfCtxFree(ctx));
    return status;
}

TEST(CaCertificates, AreTakenWhenTheyAreRsaOfVersion3AndRefusedOtherwise)
{
    size_t taken = 0;
    size_t refused = 0;
    for (const auto &entry : std::filesystem::recursive_directory_iterator("/usr/share/ca-certificates")) {
        if (entry.path().extension() != ".crt") {
            continue;
        }
        SCOPED_TRACE(entry.path().filename().string());
        ResetRecordingHost();
        forge::Bytes pem;
        ASSERT_TRUE(forge::ReadFile(entry.path().string(), &pem).ok);
        const std::string reason = ReasonToRefuse(pem);
        EXPECT_EQ(reason.empty() ? SIGKIT_OK : SIGKIT_ERR_UNKNOWN, AddToFreshContext(pem)) << reason;
        ++(reason.empty() ? taken : refused);

        forge::Bytes der;
        ASSERT_TRUE(forge::Unarmour(pem, &der).ok);
        EXPECT_EQ(reason.empty(), AddToFreshContext(der) == SIGKIT_OK) << reason;
    }
    EXPECT_GT(taken, 50U);
    EXPECT_GT(refused, 10U); // elliptic curve roots
    RecordProperty("taken", static_cast<int>(taken));
    RecordProperty("refused", static_cast<int>(refused));
}

} // namespace
