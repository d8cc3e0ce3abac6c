// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// A timestamp authority from octets to octets.
#include "pkgsign/timestamp/authority.h"

#include <openssl/err.h>

#include "pkgsign/authority/certificates.h"
#include "pkgsign/files/objects.h"
#include "pkgsign/timestamp/signers.h"
#include "tests/pkgsign/support.h"
#include "tests/support/timestamp_requests.h"

namespace
{

using pkgsign::Answer;
using pkgsign::Failure;
using pkgsign::Moment;
using pkgsign::Status;
using TstInfoPtr = std::unique_ptr<TS_TST_INFO, pkgsign::Deleter<TS_TST_INFO_free>>;

constexpr int64_t TIME = 1769904000; // 2026-02-01

class TimestampAuthority : public InFolder
{
protected:
    void SetUp() override
    {
        InFolder::SetUp();
        pkgsign::Secrets none;
        pkgsign::Key key;
        ASSERT_TRUE(pkgsign::ReadCertificate(Path("pki/certificates/timestamp.pem"), &certificate).ok);
        ASSERT_TRUE(pkgsign::ReadCertificate(Path("pki/certificates/issuing-ca.pem"), &ca).ok);
        ASSERT_TRUE(pkgsign::LoadKey(Path("pki/private/timestamp.key"), "timestamp", &none, &key).ok);
        ASSERT_TRUE(pkgsign::PrepareAuthority(certificate, ca, timestamp_requests::POLICY, &authority).ok);
        ASSERT_TRUE(pkgsign::SignWithKey(key, &sign).ok);
        takeMoment = [](Moment *moment) {
            moment->time = TIME;
            moment->serial = pkgsign::Bytes(pkgsign::TOKEN_SERIAL_SIZE, 0xC1);
            return Status();
        };
    }

    Answer Ask(const pkgsign::Bytes &request) const
    {
        return pkgsign::AnswerRequest(authority, request, takeMoment, sign);
    }

    pkgsign::TsResponsePtr Read(const Answer &answer) const
    {
        const unsigned char *next = answer.octets.data();
        pkgsign::TsResponsePtr response(d2i_TS_RESP(nullptr, &next, static_cast<long>(answer.octets.size())));
        EXPECT_NE(nullptr, response);
        EXPECT_EQ(answer.octets.data() + answer.octets.size(), next);
        return response;
    }

    // The one bit of PKIFailureInfo in an answer that grants nothing.
    void ExpectFailure(const Answer &answer, int bit, const std::string &name) const
    {
        EXPECT_FALSE(answer.isGranted) << name;
        const pkgsign::TsResponsePtr response = Read(answer);
        ASSERT_NE(nullptr, response) << name;
        TS_STATUS_INFO *const info = TS_RESP_get_status_info(response.get());
        const ASN1_BIT_STRING *const bits = TS_STATUS_INFO_get0_failure_info(info);
        EXPECT_EQ(2, ASN1_INTEGER_get(TS_STATUS_INFO_get0_status(info))) << name; // rejection
        EXPECT_EQ(nullptr, TS_RESP_get_token(response.get())) << name;
        ASSERT_NE(nullptr, bits) << name;
        for (int i = 0; i < 32; ++i) {
            EXPECT_EQ(i == bit ? 1 : 0, ASN1_BIT_STRING_get_bit(bits, i)) << name << ", bit " << i;
        }
        EXPECT_EQ(1, sk_ASN1_UTF8STRING_num(TS_STATUS_INFO_get0_text(info))) << name;
    }

    // What libcrypto says of an answer to a request.
    bool Verifies(const Answer &answer, const pkgsign::Bytes &request, bool hasCertificates) const
    {
        const unsigned char *next = request.data();
        const pkgsign::TsRequestPtr asked(d2i_TS_REQ(nullptr, &next, static_cast<long>(request.size())));
        const std::unique_ptr<TS_VERIFY_CTX, pkgsign::Deleter<TS_VERIFY_CTX_free>> ctx(
            TS_REQ_to_TS_VERIFY_CTX(asked.get(), nullptr));
        X509_STORE *const store = X509_STORE_new(); // the context's
        pkgsign::Certificate root;
        EXPECT_TRUE(pkgsign::ReadCertificate(Path("pki/certificates/root.pem"), &root).ok);
        X509_STORE_add_cert(store, root.get());
        // At whatever time: the time_t of libcrypto may be another one on a 32-bit machine.
        X509_VERIFY_PARAM_set_flags(X509_STORE_get0_param(store), X509_V_FLAG_NO_CHECK_TIME);
        TS_VERIFY_CTX_set_store(ctx.get(), store);
        TS_VERIFY_CTX_add_flags(ctx.get(), TS_VFY_SIGNATURE);
        if (!hasCertificates) {
            STACK_OF(X509) *const known = sk_X509_new_null();
            for (const pkgsign::Certificate &each : {certificate, ca}) {
                X509_up_ref(each.get());
                sk_X509_push(known, each.get());
            }
            TS_VERIFY_CTX_set_certs(ctx.get(), known);
        }
        return TS_RESP_verify_response(ctx.get(), Read(answer).get()) == 1;
    }

    pkgsign::Certificate certificate;
    pkgsign::Certificate ca;
    pkgsign::Authority authority;
    pkgsign::TakeMoment takeMoment;
    pkgsign::SignDigest sign;
};

TEST_F(TimestampAuthority, GrantsTheRequestsOfTheFieldAndLibcryptoVerifiesEachToken)
{
    for (const timestamp_requests::Shape &shape : timestamp_requests::FieldShapes()) {
        const pkgsign::Bytes request = timestamp_requests::Encode(shape);
        const Answer answer = Ask(request);
        EXPECT_TRUE(answer.isGranted) << shape.name << ": " << answer.summary;
        EXPECT_TRUE(Verifies(answer, request, shape.wantsCertificates)) << shape.name;
        const pkgsign::TsResponsePtr response = Read(answer);
        EXPECT_EQ(shape.wantsCertificates ? 2 : 0,
                  std::max(0, sk_X509_num(TS_RESP_get_token(response.get())->d.sign->cert)))
            << shape.name;
    }
}

TEST_F(TimestampAuthority, SaysInATokenWhatWasAskedAndWholeSeconds)
{
    const pkgsign::Bytes request = timestamp_requests::Encode(timestamp_requests::FieldShapes()[0]);
    const pkgsign::TsResponsePtr response = Read(Ask(request));
    TS_TST_INFO *const info = TS_RESP_get_tst_info(response.get());
    ASSERT_NE(nullptr, info);
    const ASN1_GENERALIZEDTIME *const time = TS_TST_INFO_get_time(info);
    EXPECT_EQ("20260201000000Z", std::string(reinterpret_cast<const char *>(ASN1_STRING_get0_data(time)),
                                             static_cast<size_t>(ASN1_STRING_length(time))));
    EXPECT_EQ("C1C1C1C1C1C1C1C1C1C1C1C1C1C1C1C1", pkgsign::SerialText(TS_TST_INFO_get_serial(info)));
    EXPECT_EQ(nullptr, TS_TST_INFO_get_accuracy(info));
    EXPECT_EQ(0, TS_TST_INFO_get_ordering(info));
    EXPECT_EQ(8, ASN1_STRING_length(TS_TST_INFO_get_nonce(info)));
}

TEST_F(TimestampAuthority, EncodesItsAnswersByTheDistinguishedRules)
{
    const Answer answer = Ask(timestamp_requests::Encode(timestamp_requests::FieldShapes()[0]));
    const pkgsign::TsResponsePtr response = Read(answer);
    EXPECT_EQ(answer.octets, pkgsign::EncodeDer(i2d_TS_RESP, response.get()));
}

TEST_F(TimestampAuthority, NamesWhatIsWrongWithARequest)
{
    for (const timestamp_requests::Refusal &refusal : timestamp_requests::Refusals()) {
        ExpectFailure(Ask(refusal.octets), refusal.failure, refusal.name);
    }
}

TEST_F(TimestampAuthority, TakesNoTimeForARequestThatItRefuses)
{
    int taken = 0;
    takeMoment = [&](Moment *) {
        ++taken;
        return Status();
    };
    for (const timestamp_requests::Refusal &refusal : timestamp_requests::Refusals()) {
        (void)Ask(refusal.octets);
    }
    EXPECT_EQ(0, taken);
}

TEST_F(TimestampAuthority, AnswersThatThereIsNoTimeWhenThereIsNone)
{
    takeMoment = [](Moment *) { return pkgsign::Fail("the clock is late"); };
    const Answer answer = Ask(timestamp_requests::Encode(timestamp_requests::FieldShapes()[0]));
    ExpectFailure(answer, 14, "no time");
    EXPECT_EQ("timeNotAvailable: the clock is late", answer.summary);
}

TEST_F(TimestampAuthority, AnswersASystemFailureWhenItsKeyCannotSign)
{
    sign = [](const pkgsign::Bytes &, pkgsign::Bytes *) { return pkgsign::Fail("the token was pulled out"); };
    ExpectFailure(Ask(timestamp_requests::Encode(timestamp_requests::FieldShapes()[0])), 25, "no signature");
}

TEST_F(TimestampAuthority, StampsWithinTheLifeOfItsCertificateAlone)
{
    const pkgsign::Bytes request = timestamp_requests::Encode(timestamp_requests::FieldShapes()[0]);
    int64_t time = authority.notAfter;
    takeMoment = [&](Moment *moment) {
        *moment = {time, {1}};
        return Status();
    };
    EXPECT_TRUE(Ask(request).isGranted);
    ++time;
    ExpectFailure(Ask(request), 25, "after the end");
    time = authority.notBefore - 1;
    ExpectFailure(Ask(request), 25, "before the beginning");
}

TEST_F(TimestampAuthority, HandsOutNoTokenWhoseFieldsAreNotThoseAskedFor)
{
    takeMoment = [](Moment *moment) {
        *moment = {int64_t{300000000000}, {1}}; // a year of five digits, which a GeneralizedTime cannot say
        return Status();
    };
    authority.notAfter = int64_t{400000000000};
    ExpectFailure(Ask(timestamp_requests::Encode(timestamp_requests::FieldShapes()[0])), 25, "year");
}

TEST_F(TimestampAuthority, RefusesAPolicyThatIsNoObjectIdentifier)
{
    const Status status = pkgsign::PrepareAuthority(certificate, ca, "policy", &authority);
    EXPECT_FALSE(status.ok);
    EXPECT_TRUE(Contains(status.reason, "'policy' is no object identifier")) << status.reason;
}

TEST_F(TimestampAuthority, LeavesNoErrorsBehindInLibcrypto)
{
    for (const timestamp_requests::Refusal &refusal : timestamp_requests::Refusals()) {
        (void)Ask(refusal.octets);
        EXPECT_EQ(0u, ERR_peek_error()) << refusal.name;
    }
}

} // namespace
