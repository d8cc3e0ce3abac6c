#include "pkgsign/timestamp/token.h"

#include <openssl/objects.h>

#include "pkgsign/crypto/message.h"

namespace pkgsign
{
namespace
{

constexpr size_t SERIAL_SIZE = 16;
constexpr long REQUEST_VERSION = 1; // RFC 3161, 2.4.1

// libcrypto asks for time and serial number by callbacks.
int GiveTime(TS_RESP_CTX *, void *data, long *seconds, long *microseconds)
{
    *seconds = static_cast<long>(static_cast<const TokenFields *>(data)->genTime);
    *microseconds = 0; // devices take whole seconds only
    return 1;
}

ASN1_INTEGER *GiveSerial(TS_RESP_CTX *, void *data)
{
    const Bytes &serial = static_cast<const TokenFields *>(data)->serial;
    const BnPtr number(BN_bin2bn(serial.data(), static_cast<int>(serial.size()), nullptr));
    return number == nullptr ? nullptr : BN_to_ASN1_INTEGER(number.get(), nullptr);
}

Bytes Digest(const EVP_MD *digest, const Bytes &data)
{
    Bytes result(EVP_MAX_MD_SIZE);
    unsigned int size = 0;
    (void)EVP_Digest(data.data(), data.size(), result.data(), &size, digest, nullptr);
    result.resize(size);
    return result;
}

bool DescribeImprint(TS_REQ *request, const TokenFields &fields)
{
    Bytes hash = Digest(fields.digest, fields.signature);
    const std::unique_ptr<TS_MSG_IMPRINT, Deleter<TS_MSG_IMPRINT_free>> imprint(TS_MSG_IMPRINT_new());
    const std::unique_ptr<X509_ALGOR, Deleter<X509_ALGOR_free>> algorithm(X509_ALGOR_new());
    return imprint != nullptr && algorithm != nullptr &&
           X509_ALGOR_set0(algorithm.get(), OBJ_nid2obj(EVP_MD_type(fields.digest)), V_ASN1_NULL, nullptr) == 1 &&
           TS_MSG_IMPRINT_set_algo(imprint.get(), algorithm.get()) == 1 &&
           TS_MSG_IMPRINT_set_msg(imprint.get(), hash.data(), static_cast<int>(hash.size())) == 1 &&
           TS_REQ_set_msg_imprint(request, imprint.get()) == 1;
}

// The request that a client would send.
BioPtr MakeRequest(const TokenFields &fields)
{
    const TsRequestPtr request(TS_REQ_new());
    BioPtr memory(BIO_new(BIO_s_mem()));
    const bool made = request != nullptr && memory != nullptr &&
                      TS_REQ_set_version(request.get(), REQUEST_VERSION) == 1 &&
                      DescribeImprint(request.get(), fields) && TS_REQ_set_cert_req(request.get(), 1) == 1 &&
                      i2d_TS_REQ_bio(memory.get(), request.get()) == 1;
    return made ? std::move(memory) : nullptr;
}

bool Configure(TS_RESP_CTX *ctx, TokenFields *fields, X509 *authority, const Key &key)
{
    const std::unique_ptr<ASN1_OBJECT, Deleter<ASN1_OBJECT_free>> policy(OBJ_txt2obj(fields->policy.c_str(), 1));
    TS_RESP_CTX_set_time_cb(ctx, GiveTime, fields);
    TS_RESP_CTX_set_serial_cb(ctx, GiveSerial, fields);
    return policy != nullptr && TS_RESP_CTX_set_signer_cert(ctx, authority) == 1 &&
           TS_RESP_CTX_set_signer_key(ctx, key.get()) == 1 && TS_RESP_CTX_set_signer_digest(ctx, fields->digest) == 1 &&
           TS_RESP_CTX_set_ess_cert_id_digest(ctx, EVP_sha256()) == 1 &&
           TS_RESP_CTX_set_def_policy(ctx, policy.get()) == 1 && TS_RESP_CTX_add_md(ctx, fields->digest) == 1;
}

// Puts the certificates into a token that libcrypto has made: it carries the one that fits the key, which may be a
// throwaway one.
bool ReplaceCertificates(PKCS7 *token, const std::vector<Certificate> &certificates)
{
    STACK_OF(X509) *const carried = token->d.sign->cert;
    while (sk_X509_num(carried) > 0) {
        X509_free(sk_X509_pop(carried));
    }
    for (const Certificate &certificate : certificates) {
        if (PKCS7_add_certificate(token, certificate.get()) != 1) {
            return false;
        }
    }
    return true;
}

} // namespace

Status MakeToken(const TokenFields &asked, const Key &key, Bytes *tokenOut)
{
    TokenFields fields = asked;
    Certificate authority;
    const Status status = CertificateForKey(fields.authority, key, &authority);
    if (!status.ok) {
        return status;
    }
    const TsResponseCtxPtr ctx(TS_RESP_CTX_new());
    const BioPtr request = MakeRequest(fields);
    if (ctx == nullptr || request == nullptr || !Configure(ctx.get(), &fields, authority.get(), key)) {
        return FailCrypto("cannot make a timestamp token");
    }
    const TsResponsePtr response(TS_RESP_create_response(ctx.get(), request.get()));
    PKCS7 *const token = response == nullptr ? nullptr : TS_RESP_get_token(response.get());
    if (token == nullptr || !ReplaceCertificates(token, fields.certificates)) {
        return FailCrypto("cannot make a timestamp token");
    }
    *tokenOut = EncodeDer(i2d_PKCS7, token);
    return {};
}

Bytes TokenSerial(const Bytes &signature, int64_t genTime)
{
    Bytes input = signature;
    for (int shift = 0; shift < 64; shift += 8) {
        input.push_back(static_cast<uint8_t>(genTime >> shift));
    }
    Bytes serial = Digest(EVP_sha256(), input);
    serial.resize(SERIAL_SIZE);
    serial[0] = static_cast<uint8_t>((serial[0] & 0x7F) | 0x40); // positive, and of this length
    return serial;
}

} // namespace pkgsign
