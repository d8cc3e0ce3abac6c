// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// CRL files under the root of the parties, and crl_compare as a process on them.
#ifndef COMPARE_FIXTURE_H
#define COMPARE_FIXTURE_H

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "sigkit/sigkit.h"
#include "tests/support/parties.h"
#include "tests/support/process.h"

using Words = std::vector<std::string>;

inline bool EndsWith(const std::string &text, const std::string &end)
{
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

inline bool Contains(const std::string &text, const std::string &part)
{
    return text.find(part) != std::string::npos;
}

inline forge::Bytes CaCertificate(const std::string &name)
{
    return Certify(CertificateRequest(name, &AllParties().root)).certificate;
}

// What a verifier with this CRL file says to a package that brings as many certificates as one can, in PEM.
inline uint32_t VerifyFullPackage(const forge::Bytes &crls)
{
    forge::MessageRequest request = MessageRequest("content");
    request.certificates = {AllParties().signer.certificate, CaCertificate("in the message")};
    request.tokenRequest.certificates = {AllParties().timestamp.certificate, CaCertificate("in the token")};
    const forge::Bytes message = Pem(forge::LABEL_CMS, MakeMessage(request));
    const forge::Bytes &root = AllParties().root.certificate;
    SigkitVerifyCreateParam param = SIGKIT_VERIFY_CREATE_PARAM_INIT;
    SigkitVerifyCtx *ctx = nullptr;
    uint32_t status = SigkitVerifyCreateCtx(&ctx, &param);
    if (status == SIGKIT_OK) {
        status = SigkitVerifyAddCert(ctx, root.data(), static_cast<uint32_t>(root.size()));
    }
    if (status == SIGKIT_OK) {
        status = SigkitVerifyAddCrl(ctx, crls.data(), static_cast<uint32_t>(crls.size()));
    }
    if (status == SIGKIT_OK) {
        status = SigkitVerifyDetachSignatureBegin(ctx, message.data(), static_cast<uint32_t>(message.size()));
    }
    (void)SigkitVrfCtxFree(ctx);
    return status;
}

struct Compare : testing::Test {
    TemporaryDirectory directory;

    std::string Write(const std::string &name, const forge::Bytes &bytes)
    {
        EXPECT_TRUE(forge::WriteFile(directory.File(name), bytes).ok);
        return directory.File(name);
    }

    std::string Root()
    {
        return Write("root.der", AllParties().root.certificate);
    }

    // A file with the CRLs of both issuers, the root's `later` than the other's.
    std::string WriteCrls(const std::string &name, int64_t rootLater, int64_t caLater = 0)
    {
        forge::CrlRequest root = CrlRequest(AllParties().root);
        root.thisUpdate += rootLater;
        forge::CrlRequest ca = CrlRequest(AllParties().issuingCa);
        ca.thisUpdate += caLater;
        return Write(name, Join({AllParties().issuingCa.certificate, MakeCrl(root), MakeCrl(ca)}));
    }

    static ProcessResult Run(const Words &arguments)
    {
        Words command = {CRL_COMPARE};
        command.insert(command.end(), arguments.begin(), arguments.end());
        return RunProcess(command, {"QZLOG=/dev/null"});
    }

    // Expects that two files, whichever comes first, cannot be compared for this reason.
    void ExpectRefused(const std::string &one, const std::string &other, const std::string &reason)
    {
        for (const Words &files : {Words{one, other}, Words{other, one}}) {
            const ProcessResult result = Run({"--root", Root(), files[0], files[1]});
            const std::string both = files[0] + " and " + files[1];
            EXPECT_EQ(2, result.exitStatus);
            EXPECT_TRUE(EndsWith(result.output, "\n" + both + " cannot be compared: " + reason + ".\n"))
                << result.output;
        }
    }
};

// A JSON document, as Python reads it: strictly, and no member of an object twice.
struct Json {
    TemporaryDirectory directory;

    explicit Json(const std::string &document)
    {
        EXPECT_TRUE(forge::WriteFile(directory.File("document"), forge::Bytes(document.begin(), document.end())).ok);
    }

    // The value of an expression in Python over `json`, the document, and `text`, the arguments with U+FFFD for each
    // octet that is no UTF-8: a string in UTF-8, and what Python writes for any other value. Says what is wrong when
    // the document is none.
    std::string Get(const std::string &expression, const Words &arguments = {}) const
    {
        const char script[] = R"(
import codecs, json, os, sys
codecs.register_error("each", lambda error: ("\N{REPLACEMENT CHARACTER}" * (error.end - error.start), error.end))
def members(pairs):
    assert len(dict(pairs)) == len(pairs), pairs
    return dict(pairs)
with open(sys.argv[1], encoding="ascii") as file:
    document = json.load(file, object_pairs_hook=members)
arguments = [os.fsencode(word) for word in sys.argv[3:]]
text = [octets.decode("utf-8", "each") for octets in arguments]
value = eval(sys.argv[2], {"json": document, "text": text})
sys.stdout.buffer.write(str(value).encode("utf-8", "surrogatepass"))
)";
        Words command = {"python3", "-c", script, directory.File("document"), expression};
        command.insert(command.end(), arguments.begin(), arguments.end());
        const ProcessResult result = RunProcess(command, {"LC_ALL=C.UTF-8"});
        return result.exitStatus == 0 ? result.output : "not JSON: " + result.errors;
    }
};

#endif
