// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "tests/support/timestamp_requests.h"

#include "tests/support/der_writer.h"

namespace timestamp_requests
{
namespace
{

constexpr char SHA1[] = "1.3.14.3.2.26";
constexpr char SHA256[] = "2.16.840.1.101.3.4.2.1";
constexpr char SHA384[] = "2.16.840.1.101.3.4.2.2";
constexpr char SHA512[] = "2.16.840.1.101.3.4.2.3";
constexpr int BAD_ALG = 0; // RFC 3161, 2.4.2
constexpr int BAD_REQUEST = 2;
constexpr int BAD_DATA_FORMAT = 5;
constexpr int UNACCEPTED_POLICY = 15;
constexpr int UNACCEPTED_EXTENSION = 16;

der::Bytes Imprint(const char *digest, const der::Bytes &parameters, size_t size)
{
    return der::Sequence({der::Sequence({der::Oid(digest), parameters}), der::OctetString(der::Fill(size, 0x5A))});
}

der::Bytes Sha256Imprint()
{
    return Imprint(SHA256, der::Null(), 32);
}

// A number of so many octets whose highest bit is set: one more stands before them.
der::Bytes Nonce(size_t size)
{
    der::Bytes content = der::Fill(size, 0xA7);
    content.insert(content.begin(), 0);
    return der::IntegerRaw(content);
}

} // namespace

std::vector<uint8_t> Encode(const Shape &shape)
{
    const char *const digest = shape.digestSize == 32 ? SHA256 : shape.digestSize == 48 ? SHA384 : SHA512;
    const der::Bytes nothing;
    return der::Sequence({der::Integer(1), Imprint(digest, shape.hasNull ? der::Null() : nothing, shape.digestSize),
                          shape.policy.empty() ? nothing : der::Oid(shape.policy),
                          shape.nonceSize == 0 ? nothing : Nonce(shape.nonceSize),
                          shape.wantsCertificates ? der::Boolean()
                          : shape.statesFalse     ? der::Boolean(0)
                                                  : nothing});
}

const std::vector<Shape> &FieldShapes()
{
    static const std::vector<Shape> SHAPES = {
        // openssl ts -query: NULL behind the digest, a nonce of 64 bits unless -no_nonce, certReq with -cert only.
        {"openssl_sha256", 32, true, "", 8, true, false},
        {"openssl_sha384", 48, true, "", 8, true, false},
        {"openssl_sha512", 64, true, "", 8, true, false},
        {"openssl_no_certificates", 32, true, "", 8, false, false},
        {"openssl_no_nonce", 32, true, "", 0, true, false},
        {"openssl_policy", 32, true, POLICY, 8, true, false},
        // c2pa: the digest without parameters.
        {"c2pa_sha256", 32, false, "", 8, true, false},
        {"c2pa_sha512", 64, false, "", 8, true, false},
        // BouncyCastle: NULL or no parameters by its release; the nonce is the caller's, often short.
        {"bouncycastle_null", 32, true, "", 8, true, false},
        {"bouncycastle_short_nonce", 32, true, "", 1, true, false},
        {"bouncycastle_no_parameters", 48, false, "", 12, true, false},
        {"bouncycastle_no_certificates", 64, true, "", 0, false, false},
        // .NET: NULL; package signing takes a nonce of 32 octets.
        {"dotnet_sha256", 32, true, "", 32, true, false},
        {"dotnet_sha384", 48, true, "", 32, true, false},
        {"dotnet_sha512", 64, true, "", 32, true, false},
        {"states_the_default", 32, true, "", 8, false, true},
    };
    return SHAPES;
}

std::vector<Refusal> Refusals()
{
    const der::Bytes one = der::Integer(1);
    const der::Bytes good = Encode(FieldShapes()[0]);
    const der::Bytes extension = der::Sequence({der::Oid("1.2.3.4"), der::OctetString({0x05, 0x00})});
    return {
        {"empty", {}, BAD_DATA_FORMAT},
        {"text", der::Text("this is no request"), BAD_DATA_FORMAT},
        {"cut", der::Truncate(good, 1), BAD_DATA_FORMAT},
        {"with_tail", der::Concatenate({good, {0x00}}), BAD_DATA_FORMAT},
        {"token_in_its_place", der::Sequence({der::Oid("1.2.840.113549.1.7.2"), der::Explicit(0, good)}),
         BAD_DATA_FORMAT},
        {"version_2", der::Sequence({der::Integer(2), Sha256Imprint()}), BAD_REQUEST},
        {"version_of_many_octets", der::Sequence({der::IntegerRaw(der::Fill(40, 0x7F)), Sha256Imprint()}), BAD_REQUEST},
        {"sha1", der::Sequence({one, Imprint(SHA1, der::Null(), 20)}), BAD_ALG},
        {"unknown_digest", der::Sequence({one, Imprint("1.2.3.4", der::Null(), 32)}), BAD_ALG},
        {"digest_with_parameters", der::Sequence({one, Imprint(SHA256, der::Integer(1), 32)}), BAD_ALG},
        {"imprint_too_short", der::Sequence({one, Imprint(SHA256, der::Null(), 31)}), BAD_DATA_FORMAT},
        {"imprint_too_long", der::Sequence({one, Imprint(SHA256, der::Null(), 33)}), BAD_DATA_FORMAT},
        {"imprint_of_another_digest", der::Sequence({one, Imprint(SHA512, der::Null(), 32)}), BAD_DATA_FORMAT},
        {"imprint_empty", der::Sequence({one, Imprint(SHA256, der::Null(), 0)}), BAD_DATA_FORMAT},
        {"nonce_of_33_octets", der::Sequence({one, Sha256Imprint(), Nonce(33)}), BAD_REQUEST},
        {"nonce_of_3000_octets", der::Sequence({one, Sha256Imprint(), Nonce(3000)}), BAD_REQUEST},
        {"another_policy", der::Sequence({one, Sha256Imprint(), der::Oid("1.3.6.1.4.1.99999.2")}), UNACCEPTED_POLICY},
        {"extension", der::Sequence({one, Sha256Imprint(), der::Implicit(0, true, extension)}), UNACCEPTED_EXTENSION},
        {"over_4096_octets", der::Sequence({one, Sha256Imprint(), Nonce(4100)}), BAD_DATA_FORMAT},
    };
}

} // namespace timestamp_requests
