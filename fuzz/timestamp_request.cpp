// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// A request to the timestamp server, from octets to octets.
#include "fuzz/target.h"

#include <openssl/err.h>

#include "fuzz/support/mutate.h"
#include "fuzz/support/pki.h"
#include "pkgsign/timestamp/authority.h"

namespace
{

using pkgsign::Answer;
using pkgsign::Bytes;
using pkgsign::Status;

constexpr size_t SIGNATURE_SIZE = 256;  // octets
constexpr size_t BESIDE_REQUEST = 2048; // octets of an answer beside certificates, imprint and nonce
constexpr uint32_t REFUSED = 0x100;     // for the tally: with the bit of PKIFailureInfo

pkgsign::Certificate Decode(const forge::Bytes &der)
{
    const unsigned char *next = der.data();
    return pkgsign::ShareCertificate(d2i_X509(nullptr, &next, static_cast<long>(der.size())));
}

const pkgsign::Authority &Authority()
{
    static const pkgsign::Authority AUTHORITY = [] {
        pkgsign::Authority made;
        const std::vector<forge::Bytes> &certificates = FuzzCertificates();
        const Status status =
            pkgsign::PrepareAuthority(Decode(certificates[FUZZ_CERT_TSA]), Decode(certificates[FUZZ_CERT_CA_A]),
                                      pkgsign::TIMESTAMP_POLICY, &made);
        if (!status.ok) {
            FuzzFail("authority: %s", status.reason.c_str());
        }
        return made;
    }();
    return AUTHORITY;
}

Status TakeMoment(pkgsign::Moment *moment)
{
    *moment = {FUZZ_GEN_TIME, Bytes(pkgsign::TOKEN_SERIAL_SIZE, 0x80)};
    return {};
}

Status Sign(const Bytes &digest, Bytes *signatureOut)
{
    if (digest.size() != 32) {
        FuzzFail("a digest of %zu octets is signed", digest.size());
    }
    *signatureOut = Bytes(SIGNATURE_SIZE, 0x5A);
    return {};
}

// What stands in a token is what stands in the request.
void CheckToken(TS_RESP *response, const Bytes &octets)
{
    const unsigned char *next = octets.data();
    const pkgsign::TsRequestPtr request(d2i_TS_REQ(nullptr, &next, static_cast<long>(octets.size())));
    TS_TST_INFO *const info = TS_RESP_get_tst_info(response);
    if (request == nullptr || next != octets.data() + octets.size() || info == nullptr ||
        octets.size() > pkgsign::TIMESTAMP_REQUEST_SIZE_MAX || TS_REQ_get_version(request.get()) != 1 ||
        TS_REQ_get_ext_count(request.get()) > 0) {
        FuzzFail("granted what is no request");
    }
    const ASN1_INTEGER *const asked = TS_REQ_get_nonce(request.get());
    const ASN1_INTEGER *const stated = TS_TST_INFO_get_nonce(info);
    const bool isSameNonce = asked == nullptr || stated == nullptr
                                 ? asked == stated
                                 : ASN1_INTEGER_cmp(asked, stated) == 0 && ASN1_STRING_length(asked) <= 32;
    TS_MSG_IMPRINT *const imprint = TS_REQ_get_msg_imprint(request.get());
    const int size = ASN1_STRING_length(TS_MSG_IMPRINT_get_msg(imprint));
    if (!isSameNonce || (size != 32 && size != 48 && size != 64) ||
        pkgsign::EncodeDer(i2d_TS_MSG_IMPRINT, imprint) !=
            pkgsign::EncodeDer(i2d_TS_MSG_IMPRINT, TS_TST_INFO_get_msg_imprint(info))) {
        FuzzFail("a token says something else than its request");
    }
}

// The one bit of PKIFailureInfo.
uint32_t CheckRefusal(TS_RESP *response)
{
    const ASN1_BIT_STRING *const bits = TS_STATUS_INFO_get0_failure_info(TS_RESP_get_status_info(response));
    uint32_t set = 0;
    uint32_t last = 0;
    for (int i = 0; bits != nullptr && i < 32; ++i) {
        const bool isSet = ASN1_BIT_STRING_get_bit(bits, i) == 1;
        set += isSet ? 1 : 0;
        last = isSet ? static_cast<uint32_t>(i) : last;
    }
    if (set != 1 || TS_RESP_get_token(response) != nullptr) {
        FuzzFail("a refusal with %u reasons, or with a token", set);
    }
    return REFUSED + last;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzBegin();
    const Bytes request(data, data + size);
    const Answer answer = pkgsign::AnswerRequest(Authority(), request, TakeMoment, Sign);
    const unsigned char *next = answer.octets.data();
    const pkgsign::TsResponsePtr response(d2i_TS_RESP(nullptr, &next, static_cast<long>(answer.octets.size())));
    if (response == nullptr || next != answer.octets.data() + answer.octets.size()) {
        FuzzFail("an answer that is none");
    }
    if (answer.octets.size() > Authority().certificates.size() + BESIDE_REQUEST) {
        FuzzFail("an answer of %zu octets", answer.octets.size());
    }
    if (answer.isGranted) {
        CheckToken(response.get(), request);
    }
    FuzzTally(answer.isGranted ? FUZZ_TALLY_AUTHENTIC : CheckRefusal(response.get()));
    if (ERR_peek_error() != 0) {
        FuzzFail("an error is left behind in libcrypto");
    }
    FuzzEnd();
    return 0;
}

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t *data, size_t size, size_t maxSize, unsigned int seed)
{
    return FuzzMutateObjects(data, size, maxSize, seed);
}
