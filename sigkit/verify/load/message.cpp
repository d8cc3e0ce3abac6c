// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "verify/load/message.h"

#include "core/guard.h"
#include "core/log.h"
#include "core/memory.h"
#include "core/trace.h"
#include "sigkit/sigkit.h"
#include "sigkit/sigkit_host.h"
#include "verify/load/armour.h"
#include "verify/load/base64.h"
#include "verify/load/message_copy.h"

namespace
{

// One kind of armour of a signature message.
struct Armour {
    const char *begin;
    uint32_t beginLen;
    const char *end;
    uint32_t endMissing; // what is logged when the end marker is missing
};

constexpr char CMS_BEGIN[] = "-----BEGIN CMS-----";
constexpr char PKCS7_BEGIN[] = "-----BEGIN PKCS7-----";

// Deliberate: the two log a missing end marker by different codes.
constexpr Armour ARMOURS[] = {
    {CMS_BEGIN, InternalTextLen(CMS_BEGIN), "-----END CMS-----", SIGKIT_ERR_ARMOUR},
    {PKCS7_BEGIN, InternalTextLen(PKCS7_BEGIN), "-----END PKCS7-----", SIGKIT_ERR_UNKNOWN},
};

const Armour *FindArmour(const char *text)
{
    for (const Armour &armour : ARMOURS) {
        if (SigkitStrNCmp(text, armour.begin, armour.beginLen) == 0) {
            return &armour;
        }
    }
    return nullptr;
}

// Decodes an armoured message. The context keeps the DER that its certificates point into.
uint32_t InternalPemDecodeCms(SigkitVerifyCtx *ctx, const uint8_t *data, uint32_t len, SigkitPkcs7Content **message)
{
    InternalBytesGuard text;
    uint32_t status = InternalCopyBytes(&text.held, data, len, 1);
    if (status != SIGKIT_OK) {
        return SIGKIT_TRAIL(status);
    }
    const char *const start = reinterpret_cast<const char *>(text.held);
    const Armour *const armour = FindArmour(start);
    if (armour == nullptr) {
        SIGKIT_TRACE(ARMOUR_REFUSED, start, nullptr, SIGKIT_ERR_ARMOUR);
        return SIGKIT_TRAIL(SIGKIT_ERR_ARMOUR);
    }
    const char *const body = start + armour->beginLen;
    const char *const end = SigkitStrStr(body, armour->end);
    if (end == nullptr) {
        SIGKIT_TRACE(ARMOUR_REFUSED, start, nullptr, armour->endMissing);
        return SIGKIT_TRAIL(armour->endMissing);
    }
    InternalBytesGuard der;
    InternalMessageGuard decoded;
    uint32_t derLen = 0;
    uint32_t consumed = 0;
    status = InternalBase64Decode(body, end, &der.held, &derLen);
    if (status == SIGKIT_OK) {
        status = SigkitPkcs7DecodeSigned(der.held, derLen, &decoded.held, &consumed);
    }
    if (status == SIGKIT_OK) {
        status = SigkitListAdd(&ctx->buffers, der.held);
    }
    if (status != SIGKIT_OK) {
        return SIGKIT_TRAIL(status);
    }
    (void)der.Take(); // the context's
    *message = decoded.Take();
    return SIGKIT_OK;
}

// Decodes a DER message from a copy that the context keeps.
uint32_t DecodeDerMessage(SigkitVerifyCtx *ctx, const uint8_t *data, uint32_t len, SigkitPkcs7Content **message)
{
    InternalMessageCopy *copy = nullptr;
    uint32_t status = InternalNewImage(data, len, &copy);
    if (status != SIGKIT_OK) {
        return status;
    }
    uint32_t consumed = 0;
    status = SigkitPkcs7DecodeSigned(InternalMessageCopyBytes(copy), len, message, &consumed);
    if (status != SIGKIT_OK) {
        SigkitFree(copy);
        return status;
    }
    InternalKeepMessageCopy(ctx, copy);
    return SIGKIT_OK;
}

} // namespace

uint32_t InternalDecodeMessage(SigkitVerifyCtx *ctx, const uint8_t *data, uint32_t len, SigkitPkcs7Content **message)
{
    return InternalIsPem(data) ? InternalPemDecodeCms(ctx, data, len, message)
                               : DecodeDerMessage(ctx, data, len, message);
}
