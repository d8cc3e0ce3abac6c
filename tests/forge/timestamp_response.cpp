// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "tests/forge/der.h"
#include "tests/forge/status.h"

#include <openssl/cms.h>
#include <openssl/err.h>
#include <openssl/pkcs7.h>
#include <openssl/ts.h>

namespace forge
{
namespace
{
using Response = std::unique_ptr<TS_RESP, decltype(&TS_RESP_free)>;
using ContentInfo = std::unique_ptr<CMS_ContentInfo, decltype(&CMS_ContentInfo_free)>;

constexpr int64_t STATUS_GRANTED = 0;

Status TakeBareToken(const Bytes &encoding, Bytes *tokenOut)
{
    const unsigned char *cursor = encoding.data();
    const ContentInfo token(d2i_CMS_ContentInfo(nullptr, &cursor, static_cast<long>(encoding.size())),
                            CMS_ContentInfo_free);
    if (token == nullptr || cursor != encoding.data() + encoding.size()) {
        return FailCrypto("neither a timestamp token nor a timestamp response");
    }
    *tokenOut = encoding;
    return Ok();
}

} // namespace

Status MakeTimestampResponse(const Bytes &token, Bytes *responseOut)
{
    // TimeStampResp ::= SEQUENCE { PKIStatusInfo ::= SEQUENCE { status INTEGER }, timeStampToken }
    *responseOut = DerSequence({DerSequence({DerInteger(STATUS_GRANTED)}), token});
    return Ok();
}

Status GetToken(const Bytes &encoding, Bytes *tokenOut)
{
    const unsigned char *cursor = encoding.data();
    const Response response(d2i_TS_RESP(nullptr, &cursor, static_cast<long>(encoding.size())), TS_RESP_free);
    if (response == nullptr) {
        ERR_clear_error();
        return TakeBareToken(encoding, tokenOut);
    }
    PKCS7 *token = TS_RESP_get_token(response.get());
    unsigned char *octets = nullptr;
    const int length = token == nullptr ? 0 : i2d_PKCS7(token, &octets);
    if (length <= 0) {
        return Fail("the timestamp response carries no token: the request was not granted");
    }
    tokenOut->assign(octets, octets + length);
    OPENSSL_free(octets);
    return Ok();
}
} // namespace forge
