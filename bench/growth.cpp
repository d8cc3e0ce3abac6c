// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// How the cost of a verification grows: with the CRLs of the store, the length of the chain, the size of the content.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "sigkit/sigkit.h"
#include "tests/support/parties.h"

namespace
{

using benchmark::State;

constexpr size_t PIECE_SIZE = 4096;

struct Package {
    forge::Bytes crls;
    forge::Bytes message;
    size_t contentSize = 0;
};

uint32_t Size(const forge::Bytes &bytes)
{
    return static_cast<uint32_t>(bytes.size());
}

void Must(bool holds)
{
    if (!holds) {
        std::fputs("growth: a package that is measured is not accepted\n", stderr);
        std::abort();
    }
}

void Feed(SigkitVerifyCtx *ctx, size_t size)
{
    static const forge::Bytes piece(PIECE_SIZE, 'x');
    for (size_t fed = 0; fed < size; fed += PIECE_SIZE) {
        const size_t len = size - fed < PIECE_SIZE ? size - fed : PIECE_SIZE;
        Must(SigkitVerifyDetachSignatureUpdate(ctx, piece.data(), static_cast<uint32_t>(len)) == SIGKIT_OK);
    }
}

// One verification on a fresh context.
void Verify(const Package &package)
{
    const forge::Bytes &root = AllParties().root.certificate;
    SigkitVerifyCreateParam param = SIGKIT_VERIFY_CREATE_PARAM_INIT;
    SigkitVerifyCtx *ctx = nullptr;
    uint32_t verdict = 0;
    Must(SigkitVerifyCreateCtx(&ctx, &param) == SIGKIT_OK);
    Must(SigkitVerifyAddCert(ctx, root.data(), Size(root)) == SIGKIT_OK);
    Must(SigkitVerifyAddCrl(ctx, package.crls.data(), Size(package.crls)) == SIGKIT_OK);
    Must(SigkitVerifyDetachSignatureBegin(ctx, package.message.data(), Size(package.message)) == SIGKIT_OK);
    Feed(ctx, package.contentSize);
    Must(SigkitVerifyDetachSignatureFinal(ctx, &verdict) == SIGKIT_OK && verdict == 1);
    (void)SigkitVrfCtxFree(ctx);
}

void Measure(State &state, const Package &package)
{
    for (auto step : state) {
        Verify(package);
    }
}

Party Leaf(const std::string &name, const Party &issuer, const char *purpose)
{
    forge::CertificateRequest request = CertificateRequest(name, &issuer);
    request.basicConstraints = forge::BasicConstraints::NotCa;
    request.keyUsage = forge::DIGITAL_SIGNATURE;
    request.extendedKeyUsage = {purpose};
    return Certify(request);
}

// `range(0)` CRLs: one of the root, the others of the CA that issued signer and timestamp authority.
void Crls(State &state)
{
    std::vector<forge::Bytes> crls = {AllParties().issuingCa.certificate, MakeCrl(CrlRequest(AllParties().root))};
    for (int64_t i = 1; i < state.range(0); ++i) {
        forge::CrlRequest request = CrlRequest(AllParties().issuingCa);
        request.crlNumber = i;
        crls.push_back(MakeCrl(request));
    }
    Measure(state, {Join(crls), MakeMessage(MessageRequest("")), 0});
}

// `range(0)` certificates from the root to the signer, with a CRL of each CA.
void Chain(State &state)
{
    Party ca = AllParties().root;
    std::vector<forge::Bytes> crls = {MakeCrl(CrlRequest(ca))};
    for (int64_t i = 2; i < state.range(0); ++i) {
        ca = Certify(CertificateRequest("CA " + std::to_string(i), &ca));
        crls.push_back(ca.certificate);
        crls.push_back(MakeCrl(CrlRequest(ca)));
    }
    const Party signer = Leaf("Signer", ca, forge::PURPOSE_CODE_SIGNING);
    const Party timestamp = Leaf("Timestamp", ca, forge::PURPOSE_TIME_STAMPING);
    // Without a CA between there is none to come with the CRLs; its absence is logged.
    forge::MessageRequest request = MessageRequest("");
    request.signerCertificate = signer.certificate;
    request.signerKey = signer.key;
    request.certificates = {signer.certificate};
    request.tokenRequest.tsaCertificate = timestamp.certificate;
    request.tokenRequest.tsaKey = timestamp.key;
    request.tokenRequest.certificates = {timestamp.certificate};
    Measure(state, {Join(crls), MakeMessage(request), 0});
}

// Content of `range(0)` octets.
void Content(State &state)
{
    const size_t size = static_cast<size_t>(state.range(0));
    const forge::Bytes crls = Join({AllParties().issuingCa.certificate, GoodCrls()});
    Measure(state, {crls, MakeMessage(MessageRequest(std::string(size, 'x'))), size});
}

} // namespace

BENCHMARK(Crls)->DenseRange(2, 16)->Unit(benchmark::kMicrosecond);
BENCHMARK(Chain)->DenseRange(2, 11)->Unit(benchmark::kMicrosecond);
BENCHMARK(Content)->RangeMultiplier(10)->Range(1000, 1000000000)->Unit(benchmark::kMicrosecond);
BENCHMARK_MAIN();
