// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// What pkgsign check makes of a package: the records of the library's trace points, and the reports.
#include "fuzz/target.h"

#include "fuzz/support/mutate.h"
#include "fuzz/support/package_input.h"
#include "fuzz/support/pki.h"
#include "pkgsign/explain/check_cause.h"
#include "pkgsign/explain/check_trace.h"
#include "pkgsign/explain/report.h"

namespace
{

uint32_t Verify(SigkitVerifyCtx *ctx, const FuzzPackageInput &package, pkgsign::TraceScope *trace)
{
    const forge::Bytes &root = FuzzRootCertificate();
    const forge::Bytes crls = package.crls; // of its very size, so that a read behind it is seen
    const forge::Bytes message = package.message;
    uint32_t verdict = 0;
    trace->Begin(pkgsign::Step::Root);
    uint32_t status = SigkitVerifyAddCert(ctx, root.data(), static_cast<uint32_t>(root.size()));
    trace->End(status);
    if (status == SIGKIT_OK) {
        trace->Begin(pkgsign::Step::CrlFile);
        status = SigkitVerifyAddCrl(ctx, crls.data(), static_cast<uint32_t>(crls.size()));
        trace->End(status);
    }
    if (status != SIGKIT_OK) {
        return status;
    }
    trace->Begin(pkgsign::Step::SignatureFile);
    status = SigkitVerifyDetachSignatureBegin(ctx, message.data(), static_cast<uint32_t>(message.size()));
    if (status == SIGKIT_OK && !package.content.empty()) {
        status = FuzzFeed(ctx, package);
    }
    if (status == SIGKIT_OK) {
        status = SigkitVerifyDetachSignatureFinal(ctx, &verdict);
    }
    trace->End(status);
    return status == SIGKIT_OK && verdict != 1 ? UINT32_MAX : status;
}

// One step has failed and is the answer's, and none behind it was reached; or none has failed.
void CheckSteps(const pkgsign::Check &check)
{
    const std::optional<pkgsign::Step> failed = pkgsign::FailedStep(check);
    if (failed.has_value() == check.isAuthentic) {
        FuzzFail("%08x, and %s step has failed", check.status, failed.has_value() ? "a" : "no");
    }
    if (!failed.has_value()) {
        return;
    }
    const pkgsign::StepFinding &finding = check.steps[static_cast<size_t>(*failed)];
    if (finding.status != check.status) {
        FuzzFail("%08x, and the step %s has %08x", check.status, pkgsign::StepName(*failed), finding.status);
    }
    for (size_t i = static_cast<size_t>(*failed) + 1; i < pkgsign::STEP_COUNT; ++i) {
        if (check.steps[i].state != pkgsign::StepState::NotReached) {
            FuzzFail("a step behind %s was reached", pkgsign::StepName(*failed));
        }
    }
    if (check.cause.code.empty() || check.cause.text.empty()) {
        FuzzFail("%08x has no cause", check.status);
    }
}

// Names of certificates must not become anything but text.
void CheckReports(const pkgsign::Check &check)
{
    const std::string html = pkgsign::HtmlReport(check);
    if (html.find("<script") != std::string::npos || html.find("</html>") == std::string::npos) {
        FuzzFail("the page holds a script, or is not whole");
    }
    for (const char octet : pkgsign::TextReport(check)) {
        if (octet >= 0 && octet < ' ' && octet != '\n') {
            FuzzFail("the report holds a control character");
        }
    }
    if (pkgsign::JsonReport(check).empty()) {
        FuzzFail("there is no JSON");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const FuzzContainer container = FuzzUnpack(data, size);
    const FuzzPackageInput package = FuzzMakePackageInput(container);
    FuzzBegin();
    g_fuzzHost.failAt = FuzzFailAt(container);
    pkgsign::Check check;
    SigkitVerifyCtx *const ctx = FuzzCreateContext();
    if (ctx != nullptr) {
        {
            pkgsign::TraceScope trace(&check);
            check.status = Verify(ctx, package, &trace);
        }
        (void)SigkitVrfCtxFree(ctx);
        check.isAuthentic = check.status == SIGKIT_OK;
        pkgsign::FindCause(&check);
        FuzzTally(check.status);
        CheckSteps(check);
        CheckReports(check);
    }
    FuzzEnd();
    return 0;
}

FUZZ_CONTAINER_HOOKS(FuzzMutateDetached)
