#include "pkgsign/der.h"
#include "pkgsign/status.h"

#include <openssl/cms.h>
#include <openssl/err.h>
#include <openssl/pkcs7.h>
#include <openssl/ts.h>

namespace
{
using Response = std::unique_ptr<TS_RESP, decltype(&TS_RESP_free)>;
using ContentInfo = std::unique_ptr<CMS_ContentInfo, decltype(&CMS_ContentInfo_free)>;

constexpr int64_t STATUS_GRANTED = 0;

PkgsignStatus TakeBareToken(const PkgsignBytes &encoding, PkgsignBytes *tokenOut)
{
    const unsigned char *cursor = encoding.data();
    const ContentInfo token(d2i_CMS_ContentInfo(nullptr, &cursor, static_cast<long>(encoding.size())),
                            CMS_ContentInfo_free);
    if (token == nullptr || cursor != encoding.data() + encoding.size()) {
        return PkgsignFailCrypto("neither a timestamp token nor a timestamp response");
    }
    *tokenOut = encoding;
    return PkgsignOk();
}

} // namespace

PkgsignStatus PkgsignMakeTimestampResponse(const PkgsignBytes &token, PkgsignBytes *responseOut)
{
    // TimeStampResp ::= SEQUENCE { PKIStatusInfo ::= SEQUENCE { status INTEGER }, timeStampToken }
    *responseOut = PkgsignDerSequence({PkgsignDerSequence({PkgsignDerInteger(STATUS_GRANTED)}), token});
    return PkgsignOk();
}

PkgsignStatus PkgsignGetToken(const PkgsignBytes &encoding, PkgsignBytes *tokenOut)
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
        return PkgsignFail("the timestamp response carries no token: the request was not granted");
    }
    tokenOut->assign(octets, octets + length);
    OPENSSL_free(octets);
    return PkgsignOk();
}
