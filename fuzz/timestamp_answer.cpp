// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// What a timestamp authority answers, over HTTP or in a file.
#include <algorithm>

#include "fuzz/support/mutate.h"
#include "fuzz/target.h"
#include "fuzz/timestamp_answer.h"
#include "pkgsign/timestamp/request.h"

#include "asn1/decode.h"
#include "asn1/records.h"
#include "x509/pkcs7.h"

namespace
{

// The imprint and the time in a token, as the device's decoder reads them; false when that does not take the token.
bool ReadOnDevice(const pkgsign::Bytes &der, pkgsign::Bytes *imprintOut, size_t *timeSizeOut)
{
    SigkitPkcs7Content *token = nullptr;
    void *wrapped = nullptr;
    void *info = nullptr;
    uint32_t consumed = 0;
    uint32_t status = SigkitPkcs7DecodeSigned(der.data(), static_cast<uint32_t>(der.size()), &token, &consumed);
    if (status == SIGKIT_OK) {
        const SigkitAsnOcts &content = token->content.encapContentInfo.eContent;
        status = SigkitAsnDecode(content.data, content.len, &g_itemSigkitAsnOcts, 0, &wrapped, &consumed);
    }
    if (status == SIGKIT_OK) {
        const SigkitAsnOcts &octets = *static_cast<const SigkitAsnOcts *>(wrapped);
        status = SigkitAsnDecode(octets.data, octets.len, &g_itemSigkitTimestampInfo, 0, &info, &consumed);
    }
    if (status == SIGKIT_OK) {
        const SigkitTimestampInfo &decoded = *static_cast<const SigkitTimestampInfo *>(info);
        const SigkitAsnOcts &imprint = decoded.messageImprint.hashedMessage;
        *imprintOut = pkgsign::Bytes(imprint.data, imprint.data + imprint.len);
        *timeSizeOut = decoded.genTime.len;
    }
    if (info != nullptr) {
        SigkitAsnFree(info, &g_itemSigkitTimestampInfo);
    }
    if (wrapped != nullptr) {
        SigkitAsnFree(wrapped, &g_itemSigkitAsnOcts);
    }
    if (token != nullptr) {
        SigkitPkcs7FreeSigned(token);
    }
    return status == SIGKIT_OK;
}

// What was taken holds the nonce and, wherever the device reads it, the imprint and whole seconds.
void CheckTaken(const pkgsign::CheckedToken &token, const pkgsign::TimestampRequest &request)
{
    if (std::search(token.der.begin(), token.der.end(), request.nonce.begin(), request.nonce.end()) ==
        token.der.end()) {
        FuzzFail("a token without the nonce is taken");
    }
    pkgsign::Bytes imprint;
    size_t timeSize = 0;
    if (ReadOnDevice(token.der, &imprint, &timeSize)) {
        if (imprint != pkgsign::Digest(request.digest, request.signature)) {
            FuzzFail("a token over something else is taken");
        }
        if (timeSize != sizeof("20260201000000Z") - 1) {
            FuzzFail("a time of %zu octets is taken", timeSize);
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzBegin();
    const pkgsign::TimestampRequest request = {EVP_sha256(), FUZZ_STAMPED_SIGNATURE, FUZZ_NONCE};
    const pkgsign::Bytes answer(data, data + size);
    pkgsign::CheckedToken token;
    pkgsign::CheckedToken again;
    const pkgsign::Status status = pkgsign::ReadTimestampAnswer(answer, request, &token);
    if (status.ok) {
        CheckTaken(token, request);
    } else if (!token.der.empty() || status.reason.empty() || status.reason.find('\n') != std::string::npos) {
        FuzzFail("a refusal with a token, or without one line of reason");
    }
    // A file may hold the same or, besides, a token alone.
    const pkgsign::Status inFile = pkgsign::ReadTokenOrAnswer(answer, request, &again);
    if (status.ok && (!inFile.ok || again.der != token.der)) {
        FuzzFail("an answer is read in two ways");
    }
    if (inFile.ok) {
        CheckTaken(again, request);
    }
    FuzzTally(inFile.ok ? FUZZ_TALLY_AUTHENTIC : SIGKIT_OK);
    FuzzEnd();
    return 0;
}

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t *data, size_t size, size_t maxSize, unsigned int seed)
{
    return FuzzMutateObjects(data, size, maxSize, seed);
}
