// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// A good package that is changed where the verifier is lenient, and what such changes take.
#ifndef LENIENCY_FIXTURE_H
#define LENIENCY_FIXTURE_H

#include <algorithm>
#include <string>

#include "tests/verify/crafted_message.h"
#include "tests/verify/whole_message.h"

inline constexpr char SHA256[] = "2.16.840.1.101.3.4.2.1";
inline constexpr char SHA256_WITH_RSA[] = "1.2.840.113549.1.1.11";
inline constexpr char MD5_WITH_RSA[] = "1.2.840.113549.1.1.4"; // as long as the one above

class Leniency : public WholeMessageTest
{
protected:
    void ExpectAccepted(const forge::Bytes &message, const std::string &what)
    {
        EXPECT_STATUS(SIGKIT_OK, Verify(message)) << what;
        EXPECT_EQ(1u, verdict) << what;
    }

    // A context that holds the trust anchor and these CRLs and nothing else.
    void Renew(const forge::Bytes &crls)
    {
        TearDown();
        SetUp();
        LoadTrust(crls);
    }
};

inline forge::Bytes RootCrl()
{
    return MakeCrl(CrlRequest(AllParties().root));
}

// A CRL of the issuing CA that is newer than the good one and revokes the signer from the beginning.
inline forge::Bytes RevokingCrl()
{
    forge::CrlRequest request = CrlRequest(AllParties().issuingCa);
    forge::RevokedCertificate revoked;
    EXPECT_TRUE(forge::GetSerialNumber(AllParties().signer.certificate, &revoked.serialNumber).ok);
    revoked.revocationDate = PACKAGE_TIME - 300 * PACKAGE_DAY;
    request.revoked = {revoked};
    request.thisUpdate += 1;
    return MakeCrl(request);
}

inline forge::Bytes Replace(forge::Bytes in, const forge::Bytes &what, const forge::Bytes &with)
{
    EXPECT_EQ(what.size(), with.size());
    const auto place = std::search(in.begin(), in.end(), what.begin(), what.end());
    EXPECT_NE(in.end(), place);
    if (place != in.end()) {
        std::copy(with.begin(), with.end(), place);
    }
    return in;
}

#endif
