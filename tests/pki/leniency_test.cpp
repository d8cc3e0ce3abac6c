// What path validation is lenient about by design, where no other test shows it.
#include "tests/pki/pki_fixture.h"

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
