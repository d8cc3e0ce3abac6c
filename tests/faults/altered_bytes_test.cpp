// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Files that lost their end or had a bit turned over on the way. What nobody signed may change, and nothing else.
#include <gtest/gtest.h>

#include <map>
#include <set>

#include "sigkit/sigkit.h"
#include "tests/support/parties.h"

namespace
{

const char CONTENT[] = "f4d1b0 firmware.bin\n";

struct Package {
    forge::Bytes root = AllParties().root.certificate;
    forge::Bytes crls = GoodCrls();
    forge::Bytes message = MakeMessage(MessageRequest(CONTENT));
    forge::Bytes content = Octets(CONTENT);
};

uint32_t Size(const forge::Bytes &bytes)
{
    return static_cast<uint32_t>(bytes.size());
}

uint32_t Verify(SigkitVerifyCtx *ctx, const Package &package, uint32_t *verdict)
{
    uint32_t status = SigkitVerifyAddCert(ctx, package.root.data(), Size(package.root));
    if (status == SIGKIT_OK) {
        status = SigkitVerifyAddCrl(ctx, package.crls.data(), Size(package.crls));
    }
    if (status == SIGKIT_OK) {
        status = SigkitVerifyDetachSignatureBegin(ctx, package.message.data(), Size(package.message));
    }
    if (status == SIGKIT_OK && !package.content.empty()) {
        status = SigkitVerifyDetachSignatureUpdate(ctx, package.content.data(), Size(package.content));
    }
    return status == SIGKIT_OK ? SigkitVerifyDetachSignatureFinal(ctx, verdict) : status;
}

bool IsAccepted(const Package &package)
{
    SigkitVerifyCreateParam param = SIGKIT_VERIFY_CREATE_PARAM_INIT;
    SigkitVerifyCtx *ctx = nullptr;
    if (SigkitVerifyCreateCtx(&ctx, &param) != SIGKIT_OK) {
        return false;
    }
    uint32_t verdict = 0;
    const uint32_t status = Verify(ctx, package, &verdict);
    (void)SigkitVrfCtxFree(ctx);
    return status == SIGKIT_OK && verdict == 1;
}

// Where each element of a DER message begins.
void FindElements(const forge::Bytes &der, const std::vector<std::string> &places, std::vector<size_t> *elements)
{
    for (size_t i = 0; i < der.size(); ++i) {
        if (places[i].find(" tag") != std::string::npos) {
            elements->push_back(i);
        }
    }
}

// The place of each octet of a DER message: a path of positions from the outside in, such as "/0/1", with " tag" or
// " len" behind it for the octets of a header.
void NamePlaces(const forge::Bytes &der, size_t from, size_t to, const std::string &path,
                std::vector<std::string> *places)
{
    for (uint32_t position = 0; from < to; ++position) {
        size_t header = 2;
        size_t length = der[from + 1];
        if (length >= 0x80) {
            const size_t octets = length & 0x7F;
            length = 0;
            for (size_t i = 0; i < octets; ++i) {
                length = length * 256 + der[from + 2 + i];
            }
            header += octets;
        }
        const std::string place = path + "/" + std::to_string(position);
        (*places)[from] = place + " tag";
        std::fill_n(places->begin() + static_cast<ptrdiff_t>(from) + 1, header - 1, place + " len");
        std::fill_n(places->begin() + static_cast<ptrdiff_t>(from + header), length, place);
        if ((der[from] & 0x20) != 0) {
            NamePlaces(der, from + header, from + header + length, place, places);
        }
        from += header + length;
    }
}

const char TOKEN[] = "/0/1/0/4/0/6/0/1/0"; // the token's ContentInfo, in the signer's unsigned attribute
const char SIGNED_DATA[] = "/1/0";         // below a ContentInfo
const char SIGNER[] = "/1/0/4/0";

// Places that no signature covers and that decide nothing. The tags among them are those of members that are taken
// whatever their type is.
std::set<std::string> FreePlaces(const std::string &contentInfo)
{
    const std::string data = contentInfo + SIGNED_DATA;
    const std::string signer = contentInfo + SIGNER;
    std::set<std::string> places = {
        contentInfo + "/0",
        contentInfo + "/0 tag", // contentType: that it decodes as SignedData says as much
        contentInfo + "/1 len", // of an explicit wrapper: its content has its own end
        data + "/0",            // version: no version changes how the rest is read
        data + "/2/0",
        data + "/2/0 tag",   // eContentType: whoever verifies knows what was signed
        signer + "/0",       // version of the signer
        signer + "/2/0 tag", // digestAlgorithm: its identifier's octets count
        signer + "/5 tag",   // signature: its octets count
    };
    for (const char *const part : {"/1/0", "/1/0/0"}) { // digestAlgorithms: each signer names its own digest
        places.insert({data + part + " tag", data + part + " len"});
    }
    for (const char *const part : {"/4/0", "/4/1"}) { // signatureAlgorithm: RSA is the only one
        places.insert({signer + part + " tag", signer + part + " len"});
    }
    places.insert({data + "/1/0/0", signer + "/4/0"});
    for (const char *const name : {"0", "1", "2"}) { // of the issuer: attributes are compared by their octets
        places.insert(signer + "/1/0/" + name + "/0/0 tag");
        places.insert(signer + "/1/0/" + name + "/0/1 tag");
    }
    return places;
}

// The same of an embedded certificate: the algorithm's octets count, and the count of unused bits does not.
std::set<std::string> FreePlacesOfCertificate(const std::string &certificate)
{
    return {certificate + "/1/0 tag", certificate + "/1/1 tag", certificate + "/2"};
}

std::set<std::string> AllFreePlaces()
{
    std::set<std::string> expected = FreePlaces("/0");
    // The unsigned attribute around the token, and the wrappers around the token's content: what they hold counts.
    expected.insert({"/0/1/0/4/0/6/0/0 tag", "/0/1/0/4/0/6/0/1 tag"});
    expected.insert({std::string(TOKEN) + "/1/0/2/1 tag", std::string(TOKEN) + "/1/0/2/1/0 tag"});
    expected.merge(FreePlaces(TOKEN));
    expected.merge(FreePlacesOfCertificate("/0/1/0/3/0"));
    expected.merge(FreePlacesOfCertificate("/0/1/0/3/1"));
    expected.merge(FreePlacesOfCertificate(std::string(TOKEN) + "/1/0/3/0"));
    return expected;
}

} // namespace

TEST(AlteredBytes, NoTruncatedFileIsAccepted)
{
    const Package good;
    ASSERT_TRUE(IsAccepted(good));
    for (forge::Bytes Package::*const file : {&Package::root, &Package::crls, &Package::message, &Package::content}) {
        for (size_t length = 0; length < (good.*file).size(); ++length) {
            Package cut = good;
            (cut.*file).resize(length);
            ASSERT_FALSE(IsAccepted(cut)) << length << " of " << (good.*file).size();
        }
    }
}

TEST(AlteredBytes, NoOtherLengthIsAcceptedWhereASignatureCovers)
{
    const Package good;
    std::vector<std::string> places(good.message.size());
    NamePlaces(good.message, 0, good.message.size(), "", &places);
    std::vector<size_t> elements;
    FindElements(good.message, places, &elements);
    const forge::Bytes lengths[] = {{0x7F},
                                    {0x80},
                                    {0x81, 0xFF},
                                    {0x82, 0xFF, 0xFF},
                                    {0x83, 0xFF, 0xFF, 0xFF},
                                    {0x84, 0x7F, 0xFF, 0xFF, 0xFF},
                                    {0x84, 0xFF, 0xFF, 0xFF, 0xFF},
                                    {0x85, 0x00, 0x00, 0x00, 0x00, 0x05},
                                    {0xFF}};
    EXPECT_LT(150u, elements.size());
    const std::set<std::string> freePlaces = AllFreePlaces();
    for (const size_t element : elements) {
        for (const forge::Bytes &length : lengths) {
            Package altered = good;
            const size_t old =
                (altered.message[element + 1] & 0x80) == 0 ? 1 : 1 + (altered.message[element + 1] & 0x7F);
            const auto octets = altered.message.begin() + static_cast<ptrdiff_t>(element) + 1;
            altered.message.erase(octets, octets + static_cast<ptrdiff_t>(old));
            altered.message.insert(altered.message.begin() + static_cast<ptrdiff_t>(element) + 1, length.begin(),
                                   length.end());
            const std::string place = places[element].substr(0, places[element].find(' ')) + " len";
            ASSERT_TRUE(!IsAccepted(altered) || freePlaces.count(place) == 1)
                << place << " " << static_cast<int>(length[0]);
        }
    }
}

TEST(AlteredBytes, NoTurnedBitOfTheContentIsAccepted)
{
    const Package good;
    for (size_t bit = 0; bit < good.content.size() * 8; ++bit) {
        Package altered = good;
        altered.content[bit / 8] ^= static_cast<uint8_t>(1U << (bit % 8));
        ASSERT_FALSE(IsAccepted(altered)) << bit;
    }
}

TEST(AlteredBytes, OnlyTurnedBitsThatNobodySignedAreAccepted)
{
    const Package good;
    std::vector<std::string> places(good.message.size());
    NamePlaces(good.message, 0, good.message.size(), "", &places);
    std::set<std::string> accepted;
    for (size_t bit = 0; bit < good.message.size() * 8; ++bit) {
        Package altered = good;
        altered.message[bit / 8] ^= static_cast<uint8_t>(1U << (bit % 8));
        if (IsAccepted(altered)) {
            accepted.insert(places[bit / 8]);
        }
    }
    EXPECT_EQ(AllFreePlaces(), accepted);
}
