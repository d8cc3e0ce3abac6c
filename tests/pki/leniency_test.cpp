// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// What path validation is lenient about by design, where no other test shows it.
#include "tests/pki/pki_fixture.h"
#include "x509/crl.h"

namespace
{

class PathLeniency : public PkiTest
{
protected:
    // Puts a certificate below the root that is no CA and may sign CRLs and nothing else, and a CRL of its own in the
    // place of the CA's.
    void PutCrlSigner(const std::string &name, bool indirect)
    {
        WrittenCert crlSigner = {name, "Root", 9, 1, 9};
        crlSigner.cA = false;
        crlSigner.mayCertSign = false;
        store.certs.push_back(crlSigner);
        store.crls[1].issuer = name;
        store.crls[1].issuerKey = 9;
        store.crls[1].indirect = indirect;
    }
};

} // namespace

TEST_F(PathLeniency, AnIndirectCrlIsTakenFromWhoeverMaySignCrls)
{
    PutCrlSigner("Nobody", true);
    EXPECT_STATUS(SIGKIT_OK, Judge(SIGNER));
    store.certs.back().mayCrlSign = false;
    EXPECT_STATUS(SIGKIT_ERR_NO_CRL, Judge(SIGNER));
}

TEST_F(PathLeniency, EntriesOfAnIndirectCrlCountBySerialNumberAlone)
{
    PutCrlSigner("Nobody", true);
    store.crls[1].entries = {{3, 1, JUDGED_AT - DAY}}; // the signer's, and perhaps that of others
    EXPECT_STATUS(SIGKIT_ERR_CERT_REVOKED, Judge(SIGNER));
    store.certs[SIGNER].serial = 4;
    EXPECT_STATUS(SIGKIT_OK, Judge(SIGNER));
}

TEST_F(PathLeniency, ANamesakeThatMaySignCrlsSpeaksForTheCasCertificates)
{
    PutCrlSigner("CA", false);
    EXPECT_STATUS(SIGKIT_OK, Judge(SIGNER));
    store.crls[1].entries = {{3, 1, JUDGED_AT - DAY}};
    EXPECT_STATUS(SIGKIT_ERR_CERT_REVOKED, Judge(SIGNER));
}

TEST_F(PathLeniency, OfTwoCrlsOfOneIssuerTheOlderOneMayDecide)
{
    // The newer one dates the revocation back; both list the signer.
    WrittenCrl newer = store.crls[1];
    store.crls[1].entries = {{3, 1, JUDGED_AT + DAY}};
    newer.entries = {{3, 1, JUDGED_AT - DAY}};
    newer.nextUpdate += DAY;
    store.crls.push_back(newer);
    EXPECT_STATUS(SIGKIT_OK, Judge(SIGNER)) << "the first of the store decides";
    std::swap(store.crls[1], store.crls[2]);
    EXPECT_STATUS(SIGKIT_ERR_CERT_REVOKED, Judge(SIGNER));
}

TEST_F(PathLeniency, ACrlThatDatesARevocationLaterMayOutrankTheCasOwn)
{
    // The CA's own CRL revokes the signer, and is there. Whoever may sign CRLs says that it was superseded later.
    WrittenCrl own = store.crls[1];
    own.entries = {{3, 1, JUDGED_AT - DAY}};
    for (const bool indirect : {true, false}) {
        SetUp();
        PutCrlSigner("CA", indirect);
        store.crls[1].entries = {{3, SIGKIT_REASON_SUPERSEDED, JUDGED_AT + DAY}};
        store.crls.push_back(own);
        EXPECT_STATUS(SIGKIT_OK, Judge(SIGNER)) << "in front of the own";
        std::swap(store.crls[1], store.crls[2]);
        EXPECT_STATUS(indirect ? SIGKIT_OK : SIGKIT_ERR_CERT_REVOKED, Judge(SIGNER)) << "behind it";
    }
    // One of another name outranks an own one that has expired, and no other.
    SetUp();
    PutCrlSigner("Nobody", true);
    store.crls[1].entries = {{3, SIGKIT_REASON_SUPERSEDED, JUDGED_AT + DAY}};
    store.crls.push_back(own);
    EXPECT_STATUS(SIGKIT_ERR_CERT_REVOKED, Judge(SIGNER));
    store.crls[2].nextUpdate = JUDGED_AT - 1;
    EXPECT_STATUS(SIGKIT_OK, Judge(SIGNER));
}

TEST_F(PathLeniency, ACrlWhoseIssuersCertificateIsLeftOutRevokesNothing)
{
    // The CA has changed its key, and the CRL under the new one revokes what the old one has issued.
    store.certs.push_back({"CA", "Root", 4, 1, 4});
    store.crls.push_back(store.crls[1]);
    store.crls[2].issuerKey = 4;
    store.crls[2].entries = {{3, 1, JUDGED_AT - DAY}};
    EXPECT_STATUS(SIGKIT_ERR_CERT_REVOKED, Judge(SIGNER));
    store.certs.pop_back();
    EXPECT_STATUS(SIGKIT_OK, Judge(SIGNER));
}

TEST_F(PathLeniency, ADecoyOfACrlsIssuerThatComesFirstHidesWhatTheCrlRevokes)
{
    // The CA has changed its key; its CRL under the old one revokes the signer, that under the new one does not.
    store.certs.push_back({"CA", "Root", 4, 1, 4});
    store.crls.push_back(store.crls[1]);
    store.crls[2].issuerKey = 4;
    store.crls[1].entries = {{3, 1, JUDGED_AT - DAY}};
    EXPECT_STATUS(SIGKIT_ERR_CERT_REVOKED, Judge(SIGNER));
    WrittenCert decoy = {"CA", "Nobody", 2, 9, 9};
    decoy.cA = false;
    decoy.mayCertSign = false;
    store.certs.push_back(decoy);
    EXPECT_STATUS(SIGKIT_ERR_CERT_REVOKED, Judge(SIGNER)) << "behind the true one";
    std::swap(store.certs[CA], store.certs.back());
    std::swap(store.certs[SIGNER], store.certs.back());
    EXPECT_STATUS(SIGKIT_OK, Judge(store.certs.size() - 1));
}
