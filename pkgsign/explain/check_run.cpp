// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/explain/check_run.h"

#include "pkgsign/authority/device.h"
#include "pkgsign/authority/horizon.h"
#include "pkgsign/explain/check_cause.h"
#include "pkgsign/explain/check_content.h"
#include "pkgsign/explain/check_trace.h"
#include "pkgsign/files/files.h"
#include "sigkit/sigkit.h"

namespace pkgsign
{
namespace
{

// What the device's tool does, in its order.
uint32_t Verify(const CheckOrder &order, VerifyContext *context, TraceScope *trace)
{
    trace->Begin(Step::Root);
    uint32_t status = OpenContext(order, context);
    trace->End(status);
    if (status != SIGKIT_OK) {
        return status;
    }
    trace->Begin(Step::CrlFile);
    status = SigkitVerifyAddCrlFile(context->held, order.crls.c_str());
    trace->End(status);
    if (status != SIGKIT_OK) {
        return status;
    }
    trace->Begin(Step::SignatureFile);
    uint32_t verdict = 0;
    status = SigkitVerifyDetachSignatureQuick(context->held, order.content.c_str(), order.signature.c_str(), &verdict);
    trace->End(status);
    return status == SIGKIT_OK && verdict != 1 ? UINT32_MAX : status; // as the tool has it
}

// The certificates that judged the package, from the signer's up. The root stands for itself.
void CollectParties(const Check &check, std::vector<Party> *parties, std::vector<Certificate> *authorities)
{
    for (const PathFinding *const path : {&check.signerPath, &check.authorityPath}) {
        for (const size_t place : PathUp(check, path->certificate)) {
            const SeenCertificate &seen = check.certificates[place];
            if (seen.decoded != nullptr && place == path->certificate) {
                Party party;
                party.entry.name = seen.subject;
                party.certificate = seen.decoded;
                parties->push_back(party);
            } else if (seen.decoded != nullptr) {
                authorities->push_back(seen.decoded);
            }
        }
    }
}

void FindEnd(const CheckOrder &order, Check *check)
{
    std::vector<Party> parties;
    std::vector<Certificate> authorities;
    CollectParties(*check, &parties, &authorities);
    Bytes crlFile;
    if (parties.empty() || !ReadWhole(order.crls, &crlFile, DEVICE_FILE_SIZE_MAX).ok) {
        return;
    }
    const Horizon horizon = FindHorizon(parties, authorities, crlFile);
    check->endsWhat = horizon.what;
    check->endsTime = horizon.time;
    check->endsSoon = check->isAuthentic && order.horizon != 0 && horizon.time - order.now < order.horizon;
}

} // namespace

void RunCheck(const CheckOrder &order, Check *check)
{
    check->contentPath = order.content;
    check->rootPath = order.rootPath;
    check->crlPath = order.crls;
    check->signaturePath = order.signature;
    check->now = order.now;
    const std::vector<StandIn> noStandIns;
    std::string log;
    {
        const HostScope host(noStandIns, &log);
        VerifyContext context;
        TraceScope trace(check);
        check->status = Verify(order, &context, &trace);
    }
    check->isAuthentic = check->status == SIGKIT_OK;
    FindFittingContent(order, check);
    FindEnd(order, check);
    FindCause(check);
}

} // namespace pkgsign
