// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/timestamp/authority.h"

#include <algorithm>

#include <openssl/err.h>
#include <openssl/objects.h>

#include "pkgsign/authority/certificates.h"
#include "pkgsign/files/files.h"
#include "pkgsign/files/time.h"
#include "pkgsign/timestamp/der.h"

namespace pkgsign
{
namespace
{

using TstInfoPtr = std::unique_ptr<TS_TST_INFO, Deleter<TS_TST_INFO_free>>;
using ObjectPtr = std::unique_ptr<ASN1_OBJECT, Deleter<ASN1_OBJECT_free>>;

constexpr uint8_t REQUEST_VERSION = 1; // RFC 3161, 2.4.1
constexpr uint8_t GRANTED = 0;         // PKIStatus of RFC 3161, 2.4.2
constexpr uint8_t REJECTION = 2;

Bytes Oid(int nid)
{
    return EncodeDer(i2d_ASN1_OBJECT, OBJ_nid2obj(nid));
}

Bytes Small(uint8_t number)
{
    return DerElement(DER_INTEGER, {BytesView(&number, 1)});
}

const Bytes &Sha256Identifier()
{
    static const Bytes IDENTIFIER = DerElement(DER_SEQUENCE, {Oid(NID_sha256)}); // RFC 5754, 2: no parameters
    return IDENTIFIER;
}

const Bytes &RsaIdentifier()
{
    static const Bytes IDENTIFIER =
        DerElement(DER_SEQUENCE, {Oid(NID_rsaEncryption), Bytes{0x05, 0x00}}); // RFC 3370, 3.2
    return IDENTIFIER;
}

Bytes Attribute(int nid, const Bytes &value)
{
    return DerElement(DER_SEQUENCE, {Oid(nid), DerElement(DER_SET, {value})});
}

const Bytes &ContentTypeAttribute()
{
    static const Bytes ATTRIBUTE = Attribute(NID_pkcs9_contentType, Oid(NID_id_smime_ct_TSTInfo));
    return ATTRIBUTE;
}

// ---- The request ---------------------------------------------------------------------------------------------------

const EVP_MD *AcceptedDigest(const X509_ALGOR *algorithm)
{
    const ASN1_OBJECT *identifier = nullptr;
    int kind = V_ASN1_UNDEF;
    X509_ALGOR_get0(&identifier, &kind, nullptr, algorithm);
    if (kind != V_ASN1_UNDEF && kind != V_ASN1_NULL) { // RFC 5754, 2: both are in use
        return nullptr;
    }
    switch (OBJ_obj2nid(identifier)) {
    case NID_sha256:
        return EVP_sha256();
    case NID_sha384:
        return EVP_sha384();
    case NID_sha512:
        return EVP_sha512();
    default:
        return nullptr;
    }
}

struct Verdict {
    bool isAccepted = false;
    Failure failure = Failure::SystemFailure;
    std::string reason;
};

Verdict Refuse(Failure failure, const std::string &reason)
{
    return {false, failure, reason};
}

Verdict JudgeRequest(const Authority &authority, TS_REQ *request)
{
    TS_MSG_IMPRINT *const imprint = TS_REQ_get_msg_imprint(request);
    const EVP_MD *const digest = AcceptedDigest(TS_MSG_IMPRINT_get_algo(imprint));
    const ASN1_INTEGER *const nonce = TS_REQ_get_nonce(request);
    ASN1_OBJECT *const policy = TS_REQ_get_policy_id(request);
    if (TS_REQ_get_version(request) != REQUEST_VERSION) {
        return Refuse(Failure::BadRequest, "the version is not 1");
    }
    if (digest == nullptr) {
        return Refuse(Failure::BadAlg, "the imprint's digest is none of SHA-256, SHA-384 and SHA-512");
    }
    if (ASN1_STRING_length(TS_MSG_IMPRINT_get_msg(imprint)) != EVP_MD_size(digest)) {
        return Refuse(Failure::BadDataFormat, "the imprint is not as long as its digest");
    }
    if (nonce != nullptr && ASN1_STRING_length(nonce) > TIMESTAMP_NONCE_SIZE_MAX) {
        return Refuse(Failure::BadRequest,
                      "the nonce is longer than " + std::to_string(TIMESTAMP_NONCE_SIZE_MAX) + " octets");
    }
    if (policy != nullptr && EncodeDer(i2d_ASN1_OBJECT, policy) != authority.policy) {
        return Refuse(Failure::UnacceptedPolicy, "the policy is not that of this authority");
    }
    if (TS_REQ_get_ext_count(request) > 0) {
        return Refuse(Failure::UnacceptedExtension, "no extension is known here");
    }
    return {true, {}, {}};
}

TsRequestPtr ReadRequest(const Bytes &octets)
{
    const unsigned char *next = octets.data();
    TsRequestPtr request(octets.size() > TIMESTAMP_REQUEST_SIZE_MAX
                             ? nullptr
                             : d2i_TS_REQ(nullptr, &next, static_cast<long>(octets.size())));
    return next == octets.data() + octets.size() ? std::move(request) : nullptr;
}

// ---- The token -----------------------------------------------------------------------------------------------------

Bytes GeneralizedTime(int64_t seconds)
{
    Bytes text;
    for (const char character : FormatTime(seconds)) {
        if (character == 'Z' || (character >= '0' && character <= '9')) {
            text.push_back(static_cast<uint8_t>(character));
        }
    }
    return DerElement(DER_GENERALIZED_TIME, {text});
}

// TSTInfo of RFC 3161, 2.4.2. Imprint and nonce are the request's; accuracy, ordering, tsa and extensions are left out.
Bytes EncodeTstInfo(const Authority &authority, TS_REQ *request, const Moment &moment)
{
    const ASN1_INTEGER *const nonce = TS_REQ_get_nonce(request);
    return DerElement(DER_SEQUENCE,
                      {Small(1), authority.policy, EncodeDer(i2d_TS_MSG_IMPRINT, TS_REQ_get_msg_imprint(request)),
                       DerUnsigned(moment.serial), GeneralizedTime(moment.time),
                       nonce == nullptr ? Bytes() : EncodeDer(i2d_ASN1_INTEGER, const_cast<ASN1_INTEGER *>(nonce))});
}

bool SameImprint(TS_MSG_IMPRINT *a, TS_MSG_IMPRINT *b)
{
    return X509_ALGOR_cmp(TS_MSG_IMPRINT_get_algo(a), TS_MSG_IMPRINT_get_algo(b)) == 0 &&
           ASN1_OCTET_STRING_cmp(TS_MSG_IMPRINT_get_msg(a), TS_MSG_IMPRINT_get_msg(b)) == 0;
}

bool SameNonce(const ASN1_INTEGER *a, const ASN1_INTEGER *b)
{
    return a == nullptr || b == nullptr ? a == b : ASN1_INTEGER_cmp(a, b) == 0;
}

// Reads a token's fields back from their octets: what is signed is what was asked for.
bool HasFields(const Bytes &octets, const Authority &authority, TS_REQ *request, const Moment &moment)
{
    const unsigned char *next = octets.data();
    const TstInfoPtr info(d2i_TS_TST_INFO(nullptr, &next, static_cast<long>(octets.size())));
    if (info == nullptr || next != octets.data() + octets.size()) {
        return false;
    }
    const BnPtr serial(BN_bin2bn(moment.serial.data(), static_cast<int>(moment.serial.size()), nullptr));
    const BnPtr stated(ASN1_INTEGER_to_BN(TS_TST_INFO_get_serial(info.get()), nullptr));
    const ASN1_GENERALIZEDTIME *const time = TS_TST_INFO_get_time(info.get());
    return TS_TST_INFO_get_version(info.get()) == 1 && TimeSeconds(time) == moment.time &&
           ASN1_STRING_length(time) == static_cast<int>(sizeof("YYYYMMDDhhmmssZ") - 1) && serial != nullptr &&
           stated != nullptr && BN_cmp(serial.get(), stated.get()) == 0 &&
           EncodeDer(i2d_ASN1_OBJECT, TS_TST_INFO_get_policy_id(info.get())) == authority.policy &&
           SameImprint(TS_TST_INFO_get_msg_imprint(info.get()), TS_REQ_get_msg_imprint(request)) &&
           SameNonce(TS_TST_INFO_get_nonce(info.get()), TS_REQ_get_nonce(request));
}

// The signed attributes of RFC 3161, 2.4.2 and RFC 5652, 11.
Bytes EncodeAttributes(const Authority &authority, const Bytes &tstInfoDigest)
{
    return DerSetOf(DER_SET, {ContentTypeAttribute(),
                              Attribute(NID_pkcs9_messageDigest, DerElement(DER_OCTET_STRING, {tstInfoDigest})),
                              authority.signingCertificate});
}

// The ContentInfo of RFC 5652, 5 with one signer.
Bytes EncodeToken(const Authority &authority, const Bytes &tstInfo, const Bytes &attributes, const Bytes &signature,
                  bool hasCertificates)
{
    const Bytes content = DerElement(DER_CONTEXT_0, {DerElement(DER_OCTET_STRING, {tstInfo})});
    const Bytes signer = DerElement(DER_SEQUENCE, {Small(1), authority.issuerAndSerial, Sha256Identifier(), attributes,
                                                   RsaIdentifier(), DerElement(DER_OCTET_STRING, {signature})});
    const Bytes signedData =
        DerElement(DER_SEQUENCE,
                   {Small(3), DerElement(DER_SET, {Sha256Identifier()}),
                    DerElement(DER_SEQUENCE, {Oid(NID_id_smime_ct_TSTInfo), content}),
                    hasCertificates ? BytesView(authority.certificates) : BytesView(), DerElement(DER_SET, {signer})});
    return DerElement(DER_SEQUENCE, {Oid(NID_pkcs7_signed), DerElement(DER_CONTEXT_0, {signedData})});
}

Status SignToken(const Authority &authority, TS_REQ *request, const Moment &moment, const SignDigest &sign,
                 Bytes *tokenOut)
{
    const Bytes tstInfo = EncodeTstInfo(authority, request, moment);
    if (!HasFields(tstInfo, authority, request, moment)) {
        return Fail("the token's fields are not those that were asked for");
    }
    Bytes attributes = EncodeAttributes(authority, Digest(EVP_sha256(), tstInfo));
    Bytes signature;
    const Status status = sign(Digest(EVP_sha256(), attributes), &signature);
    if (status.ok) {
        attributes[0] = DER_CONTEXT_0; // RFC 5652, 5.4: signed as a SET, written with the field's tag
        *tokenOut = EncodeToken(authority, tstInfo, attributes, signature, TS_REQ_get_cert_req(request) != 0);
    }
    return status;
}

std::string Hexadecimal(const Bytes &octets)
{
    static constexpr char DIGITS[] = "0123456789abcdef";
    std::string text;
    for (const uint8_t octet : octets) {
        text += {DIGITS[octet >> 4], DIGITS[octet & 15]};
    }
    return text;
}

std::string DescribeToken(TS_REQ *request, const Moment &moment)
{
    const X509_ALGOR *const algorithm = TS_MSG_IMPRINT_get_algo(TS_REQ_get_msg_imprint(request));
    const ASN1_OBJECT *identifier = nullptr;
    X509_ALGOR_get0(&identifier, nullptr, nullptr, algorithm);
    return "granted " + FormatTime(moment.time) + " serial " + Hexadecimal(moment.serial) + " " +
           OBJ_nid2sn(OBJ_obj2nid(identifier));
}

const char *FailureName(Failure failure)
{
    const auto found = std::find_if(std::begin(FAILURES), std::end(FAILURES),
                                    [&](const FailureText &text) { return text.failure == failure; });
    return found == std::end(FAILURES) ? "" : found->name;
}

} // namespace

Status PrepareAuthority(const Certificate &certificate, const Certificate &ca, const std::string &policy,
                        Authority *authorityOut)
{
    const ObjectPtr identifier(OBJ_txt2obj(policy.c_str(), 1));
    if (identifier == nullptr) {
        ERR_clear_error();
        return Fail("'" + Printable(policy) + "' is no object identifier; a policy is written 1.3.6.1.4.1.99999.1");
    }
    const Bytes der = EncodeCertificate(certificate.get());
    const Bytes issuer = EncodeDer(i2d_X509_NAME, X509_get_issuer_name(certificate.get()));
    const Bytes serial = EncodeDer(i2d_ASN1_INTEGER, X509_get_serialNumber(certificate.get()));
    // RFC 5035, 3 and 4: of SHA-256, which is the default and therefore left out.
    const Bytes names = DerElement(DER_SEQUENCE, {DerElement(DER_CONTEXT_4, {issuer})});
    const Bytes pinned = DerElement(DER_SEQUENCE, {DerElement(DER_OCTET_STRING, {Digest(EVP_sha256(), der)}),
                                                   DerElement(DER_SEQUENCE, {names, serial})});
    authorityOut->certificates = DerSetOf(DER_CONTEXT_0, {der, EncodeCertificate(ca.get())});
    authorityOut->issuerAndSerial = DerElement(DER_SEQUENCE, {issuer, serial});
    authorityOut->signingCertificate =
        Attribute(NID_id_smime_aa_signingCertificateV2, DerElement(DER_SEQUENCE, {DerElement(DER_SEQUENCE, {pinned})}));
    authorityOut->policy = EncodeDer(i2d_ASN1_OBJECT, identifier.get());
    authorityOut->notBefore = NotBefore(certificate.get());
    authorityOut->notAfter = NotAfter(certificate.get());
    return {};
}

Answer AnswerRequest(const Authority &authority, const Bytes &octets, const TakeMoment &takeMoment,
                     const SignDigest &sign)
{
    const TsRequestPtr request = ReadRequest(octets);
    if (request == nullptr) {
        return RefuseRequest(Failure::BadDataFormat, "this is no timestamp request");
    }
    const Verdict verdict = JudgeRequest(authority, request.get());
    if (!verdict.isAccepted) {
        return RefuseRequest(verdict.failure, verdict.reason);
    }
    Moment moment;
    Status status = takeMoment(&moment);
    if (!status.ok) {
        return RefuseRequest(Failure::TimeNotAvailable, status.reason);
    }
    if (moment.time < authority.notBefore || moment.time > authority.notAfter) {
        return RefuseRequest(Failure::SystemFailure, "the authority's certificate is not valid at this time");
    }
    Bytes token;
    status = SignToken(authority, request.get(), moment, sign, &token);
    if (!status.ok) {
        return RefuseRequest(Failure::SystemFailure, status.reason);
    }
    const Bytes info = DerElement(DER_SEQUENCE, {Small(GRANTED)});
    return {DerElement(DER_SEQUENCE, {info, token}), true, DescribeToken(request.get(), moment)};
}

Answer RefuseRequest(Failure failure, const std::string &reason)
{
    ERR_clear_error();
    const unsigned bit = static_cast<unsigned>(failure);
    Bytes bits(2 + bit / 8); // X.690, 11.2.2: named bits end with the last that is set
    bits[0] = static_cast<uint8_t>(7 - bit % 8);
    bits.back() = static_cast<uint8_t>(0x80U >> (bit % 8));
    const Bytes text = DerElement(DER_UTF8_STRING, {Bytes(reason.begin(), reason.end())});
    const Bytes info = DerElement(
        DER_SEQUENCE, {Small(REJECTION), DerElement(DER_SEQUENCE, {text}), DerElement(DER_BIT_STRING, {bits})});
    return {DerElement(DER_SEQUENCE, {info}), false, std::string(FailureName(failure)) + ": " + Printable(reason)};
}

Status StampBy(const Authority &authority, const Bytes &stamped, int64_t time, const SignDigest &sign, Bytes *tokenOut)
{
    const Bytes imprint =
        DerElement(DER_SEQUENCE, {Sha256Identifier(), DerElement(DER_OCTET_STRING, {Digest(EVP_sha256(), stamped)})});
    const Bytes request =
        DerElement(DER_SEQUENCE, {Small(REQUEST_VERSION), imprint, DerElement(DER_BOOLEAN, {Bytes{0xFF}})});
    const TakeMoment takeMoment = [time](Moment *moment) {
        moment->time = time;
        return MakeSerial(TOKEN_SERIAL_SIZE, &moment->serial);
    };
    const Answer answer = AnswerRequest(authority, request, takeMoment, sign);
    if (!answer.isGranted) {
        return Fail(answer.summary);
    }
    const unsigned char *next = answer.octets.data();
    const TsResponsePtr response(d2i_TS_RESP(nullptr, &next, static_cast<long>(answer.octets.size())));
    if (response == nullptr) {
        return FailCrypto("the token cannot be read back");
    }
    *tokenOut = EncodeDer(i2d_PKCS7, TS_RESP_get_token(response.get()));
    return {};
}

} // namespace pkgsign
