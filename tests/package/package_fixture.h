// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// A package that the tool accepts, to be changed in one thing by a test, and the tool as a process on it.
#ifndef PACKAGE_FIXTURE_H
#define PACKAGE_FIXTURE_H

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/forge/forge.h"
#include "tests/support/process.h"

// The development PKI whose root is built into the tool under test.
inline const forge::Pki &Pki()
{
    static const forge::Pki pki = [] {
        forge::Pki read;
        const forge::Status status = forge::ReadPki(DEVELOPMENT_PKI, &read);
        EXPECT_TRUE(status.ok) << status.reason;
        return read;
    }();
    return pki;
}

inline constexpr int64_t SIGNING_TIME = 1768478400; // 2026-01-15 12:00:00 UTC
inline constexpr int64_t DAY = 86400;

inline forge::Bytes Bytes(const std::string &text)
{
    return forge::Bytes(text.begin(), text.end());
}

class Package : public testing::Test
{
protected:
    void SetUp() override
    {
        Write("checksums", Bytes("f4d1b0 firmware.bin\n"));
        crlRequests[0].issuerCertificate = Pki().root.certificate;
        crlRequests[0].issuerKey = Pki().root.key;
        crlRequests[1].issuerCertificate = Pki().issuingCa.certificate;
        crlRequests[1].issuerKey = Pki().issuingCa.key;
        for (forge::CrlRequest &request : crlRequests) {
            request.thisUpdate = SIGNING_TIME - DAY;
            request.nextUpdate = SIGNING_TIME + 30 * DAY;
        }
        message.content = Bytes("f4d1b0 firmware.bin\n");
        message.signerCertificate = Pki().signer.certificate;
        message.signerKey = Pki().signer.key;
        message.certificates = {Pki().signer.certificate, Pki().issuingCa.certificate};
        message.timestamp = forge::Timestamp::Request;
        message.tokenRequest.genTime = SIGNING_TIME;
        message.tokenRequest.tsaCertificate = Pki().timestamp.certificate;
        message.tokenRequest.tsaKey = Pki().timestamp.key;
        message.tokenRequest.certificates = {Pki().timestamp.certificate};
    }

    void Write(const std::string &name, const forge::Bytes &data)
    {
        const forge::Status status = forge::WriteFile(directory.File(name), data);
        ASSERT_TRUE(status.ok) << status.reason;
    }

    // Writes CRL file and signature from the requests.
    void Make()
    {
        std::string crls;
        for (const forge::CrlRequest &request : crlRequests) {
            forge::Bytes crl;
            const forge::Status status = forge::MakeCrl(request, &crl);
            ASSERT_TRUE(status.ok) << status.reason;
            crls += forge::Armour(forge::LABEL_CRL, crl);
        }
        Write("crls", Bytes(crls));
        forge::Bytes signature;
        const forge::Status status = forge::SignDetached(message, &signature);
        ASSERT_TRUE(status.ok) << status.reason;
        Write("signature", signature);
    }

    ProcessResult RunTool(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), VERIFY_TOOL);
        return RunProcess(arguments, {"QZLOG=" + directory.File("log")});
    }

    ProcessResult Verify()
    {
        return RunTool({"-f", "CHECK_PKG_INTEGRITY", "-h", directory.File("signature"), "-e",
                        directory.File("checksums"), "-c", directory.File("crls")});
    }

    std::string Log()
    {
        forge::Bytes text;
        const forge::Status status = forge::ReadFile(directory.File("log"), &text);
        EXPECT_TRUE(status.ok) << status.reason;
        return std::string(text.begin(), text.end());
    }

    TemporaryDirectory directory;
    forge::CrlRequest crlRequests[2];
    forge::MessageRequest message;
};

inline bool Contains(const std::string &text, const std::string &part)
{
    return text.find(part) != std::string::npos;
}

#endif
