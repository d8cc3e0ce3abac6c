// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// pki.json: what is written is read, and what is damaged is refused with its place.
#include "tests/pkgsign/support.h"

namespace
{

class PkiJson : public InFolder
{
protected:
    // The memory with one part of its text replaced.
    void Damage(const std::string &part, const std::string &replacement) const
    {
        std::string text = Read("pki/pki.json");
        const size_t at = text.find(part);
        ASSERT_NE(std::string::npos, at) << text;
        Write("pki/pki.json", text.replace(at, part.size(), replacement));
    }
};

TEST_F(PkiJson, IsReadAsItWasWritten)
{
    pkgsign::Pki pki = Memory();
    pki.organization = "Ä \"quoted\"\n";
    pki.revocations.push_back({"issuing-ca", "0A", "superseded", 1700000000, 1700000001});
    pki.crls.push_back({"root", "123456789012345678901234567890", 1700000000, 1800000000});
    const std::string text = pkgsign::EncodePki(pki);
    pkgsign::Pki read;
    const pkgsign::Status status = pkgsign::DecodePki(pkgsign::Bytes(text.begin(), text.end()), "here", &read);
    ASSERT_TRUE(status.ok) << status.reason;
    EXPECT_EQ(text, pkgsign::EncodePki(read));
    EXPECT_EQ(pki.organization, read.organization);
    EXPECT_EQ("123456789012345678901234567890", read.crls[0].number);
    EXPECT_EQ(pki.certificates.size(), read.certificates.size());
}

TEST_F(PkiJson, WithAKeyTwiceIsRefusedWithItsPlace)
{
    Damage("\"country\": \"DE\",", "\"country\": \"DE\",\n  \"country\": \"FR\",");
    ExpectRefused(Run({"list"}), "pki.json' is damaged: line 4, column 11: the key 'country' stands there twice");
}

TEST_F(PkiJson, ThatIsCutIsRefusedWithItsPlace)
{
    Write("pki/pki.json", "{\n  \"format\": \"1\",\n");
    ExpectRefused(Run({"list"}), "is damaged: line 3, column 1: this is not JSON");
}

TEST_F(PkiJson, WithAWrongValueIsRefusedWithItsPlace)
{
    Damage("\"role\": \"signer\"", "\"role\": \"boss\"");
    ExpectRefused(Run({"list"}), "is damaged: line 36, column 5: 'role': 'boss' is none of root, issuing-ca");
}

TEST_F(PkiJson, WithASerialThatIsNoTextIsRefused)
{
    Damage("\"notAfter\": \"2027-01-01T00:00:00Z\"", "\"notAfter\": 5");
    ExpectRefused(Run({"list"}), "'notAfter' is missing or no text");
}

TEST_F(PkiJson, WithANameThatLeavesTheFolderIsRefused)
{
    Damage("\"name\": \"signer\"", "\"name\": \"../signer\"");
    ExpectRefused(Run({"list"}), "'name' is no name of a certificate");
}

TEST_F(PkiJson, WithAnAuthorityThatLeavesTheFolderIsRefused)
{
    Damage("\"authority\": \"issuing-ca\"", "\"authority\": \"../issuing-ca\"");
    ExpectRefused(Run({"list"}), "line 24, column 5: 'authority' is no name of a certificate");
}

TEST_F(PkiJson, WithAKeyThatIsNotKnownIsRefused)
{
    Damage("\"key\": \"private/signer.key\"", "\"kye\": \"private/signer.key\"");
    ExpectRefused(Run({"list"}), "line 36, column 5: the key 'kye' is not known");
}

TEST_F(PkiJson, WithAReasonThatThereIsNotIsRefused)
{
    Damage("\"revocations\": []", "\"revocations\": [{\"issuer\": \"issuing-ca\", \"serial\": \"0A\", \"reason\": "
                                  "\"stolen\", \"date\": \"2026-01-01\", \"noted\": \"2026-01-01\"}]");
    ExpectRefused(Run({"list"}), "'reason': 'stolen' is no reason");
}

// What a merge or an editor can leave: a revocation that no CRL would list must not pass for one.
TEST_F(PkiJson, WithARevocationThatWouldNotReachACrlIsRefused)
{
    const std::string before = Read("pki/pki.json");
    const auto revocation = [](const std::string &issuer, const std::string &serial) {
        return "{\"issuer\": \"" + issuer + "\", \"serial\": \"" + serial +
               "\", \"reason\": \"superseded\", \"date\": \"2026-01-01\", \"noted\": \"2026-01-01\"}";
    };
    const std::vector<std::pair<std::string, std::string>> lists = {
        {revocation("issuing-cs", "0A"), "line 59, column 19: no CA of the folder is the 'issuer' 'issuing-cs'"},
        {revocation("signer", "0A"), "line 59, column 19: no CA of the folder is the 'issuer' 'signer'"},
        {revocation("issuing-ca", "A"), "line 59, column 19: 'serial' wants two digits for each octet"},
        {revocation("issuing-ca", "000A"), "line 59, column 19: 'serial' wants two digits for each octet"},
        {revocation("issuing-ca", "0A") + ",\n" + revocation("issuing-ca", "0A"),
         "line 60, column 1: this revocation stands there twice"},
    };
    for (const auto &[list, reason] : lists) {
        Write("pki/pki.json", before);
        Damage("\"revocations\": []", "\"revocations\": [" + list + "]");
        ExpectRefused(Run({"list"}), reason);
    }
    Write("pki/pki.json", before);
    Damage("\"revocations\": []", "\"revocations\": [" + revocation("issuing-ca", "0A") + "]");
    EXPECT_EQ(0, Run({"list"}).status);
}

TEST_F(PkiJson, WithTwoNumbersOfOneAuthorityOrOneThatIsNotComparableIsRefused)
{
    const std::string before = Read("pki/pki.json");
    const auto crl = [](const std::string &number) {
        return "{\"issuer\": \"root\", \"number\": \"" + number +
               "\", \"thisUpdate\": \"2026-01-01\", \"nextUpdate\": \"2026-05-01\"}";
    };
    Damage("\"crls\": []", "\"crls\": [" + crl("5") + "," + crl("6") + "]");
    ExpectRefused(Run({"list"}), "the CRL of 'root' stands there twice");
    Write("pki/pki.json", before);
    Damage("\"crls\": []", "\"crls\": [" + crl("05") + "]");
    ExpectRefused(Run({"list"}), "'number' begins with a zero");
}

TEST_F(PkiJson, WithACertificateOfACaThatItDoesNotKnowIsRefused)
{
    Damage("\"issuer\": \"issuing-ca\"", "\"issuer\": \"another\"");
    ExpectRefused(Run({"list"}), "no CA of the folder is the 'issuer' 'another'");
}

TEST_F(PkiJson, WithTwoCertificatesOfOneNameIsRefusedWithItsPlace)
{
    Damage("\"name\": \"timestamp\"", "\"name\": \"signer\"");
    ExpectRefused(Run({"list"}), "column 5: two certificates are named 'signer'");
}

// Tools that sort or indent JSON do no harm, and the place is still right.
TEST_F(PkiJson, InAnotherOrderIsRead)
{
    std::string text = Read("pki/pki.json");
    const size_t start = text.find("  \"lifetimes\"");
    const size_t end = text.find("  \"certificates\"");
    const std::string lifetimes = text.substr(start, end - start);
    text.erase(start, end - start);
    text.insert(text.find("  \"revocations\""), lifetimes);
    Write("pki/pki.json", text);
    EXPECT_EQ(0, Run({"list"}).status);
    Damage("\"role\": \"signer\"", "\"role\": \"boss\"");
    ExpectRefused(Run({"list"}), "is damaged: line 30, column 5: 'role'");
}

TEST_F(PkiJson, ThatIsNoJsonIsRefusedWithItsPlaceWhateverItIs)
{
    const std::vector<std::pair<std::string, std::string>> texts = {
        {"", "line 1, column 1: this is not JSON"},
        {"{\"format\": 1e999}", "line 1, column 17: this is not JSON"},
        {"{\"format\": \"1\"} x", "line 1, column 17: this is not JSON"},
        {"{\"format\": \"\xFF\"}", "line 1, column 13: this is not JSON"},
        {std::string(1, '\0'), "line 1, column 1: this is not JSON"},
        {"[1]", "line 1, column 1: this is no PKI of format 1"},
        {"null", "line 1, column 1: this is no PKI of format 1"},
        {"{\"format\": \"1\", \"\": 1}", "the key '' stands there twice"},
        {std::string(10000000, '['), "line 1, column 9: this nests too deep"},
        {"{\"a\": \"[[[[[[[[[[[[\"}", "line 1, column 1: 'format' is missing"},
    };
    for (const auto &[text, reason] : texts) {
        Write("pki/pki.json", text);
        ExpectRefused(Run({"list"}), reason);
    }
    Write("pki/pki.json", std::string(size_t{17} << 20, ' '));
    ExpectRefused(Run({"list"}), "is larger than 16777216 octets");
}

TEST_F(PkiJson, IsNotWrittenWithWhatCannotBeReadAgain)
{
    const std::string before = Read("pki/pki.json");
    const pkgsign::Status status = pkgsign::UpdatePki(Path("pki"), [](pkgsign::Pki *pki) {
        pki->certificates[0].name = "a/b";
        return pkgsign::Status();
    });
    EXPECT_TRUE(Contains(status.reason, "'name' is no name of a certificate")) << status.reason;
    EXPECT_EQ(before, Read("pki/pki.json"));
}

TEST_F(PkiJson, OfAnotherFormatIsRefused)
{
    Damage("\"format\": \"1\"", "\"format\": \"2\"");
    ExpectRefused(Run({"list"}), "line 1, column 1: this is no PKI of format 1");
}

TEST_F(PkiJson, ThatIsMissingIsSaid)
{
    ExpectRefused(Pkgsign({"list", "--pki", Path("nowhere")}), "name it with --pki or PKGSIGN_PKI, or make it with");
}

} // namespace
