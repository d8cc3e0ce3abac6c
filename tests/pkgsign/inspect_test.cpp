// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// pkgsign inspect: what it shows, and what it finds.
#include "pkgsign/explain/inspect.h"

#include <functional>
#include <map>
#include <regex>
#include <set>
#include <sstream>

#include <nlohmann/json.hpp>

#include "pkgsign/explain/inspect_context.h"
#include "pkgsign/explain/inspect_rules.h"
#include "pkgsign/explain/wrap.h"
#include "pkgsign/files/files.h"
#include "pkgsign/files/objects.h"
#include "sigkit/sigkit.h"
#include "tests/pkgsign/inspect_departures.h"
#include "tests/pkgsign/support.h"
#include "tests/support/timestamp_requests.h"
#include "x509/cert.h"
#include "x509/pkcs7.h"

namespace
{

using Json = nlohmann::ordered_json;
using pkgsign::Bytes;

const std::string VECTORS = std::string(PKGSIGN_SOURCES) + "/vectors/";

Bytes ReadVector(const std::string &name)
{
    Bytes data;
    EXPECT_TRUE(pkgsign::ReadWhole(VECTORS + name, &data).ok) << name;
    return data;
}

Json Inspect(const Bytes &data, bool all = false)
{
    pkgsign::InspectOptions options;
    options.all = all;
    return pkgsign::InspectFile("file", data, options);
}

// "code@path" of all findings, those of one severity when that is given.
std::set<std::string> FindingsOf(const Json &file, const std::string &severity = "", bool hasPath = false)
{
    std::set<std::string> codes;
    const auto add = [&](const Json &findings) {
        for (const Json &finding : findings) {
            if (severity.empty() || finding["severity"] == severity) {
                codes.insert(finding["code"].get<std::string>() +
                             (hasPath ? "@" + finding["path"].get<std::string>() : ""));
            }
        }
    };
    add(file["findings"]);
    for (const Json &object : file["objects"]) {
        add(object["findings"]);
    }
    return codes;
}

std::string Join(const std::set<std::string> &codes)
{
    std::string text;
    for (const std::string &code : codes) {
        text += code + " ";
    }
    return text;
}

Bytes Text(const std::string &text)
{
    return {text.begin(), text.end()};
}

// ---- Public vectors ------------------------------------------------------------------------------------------------

// Statuses with which a device refuses what a file is, not what the files are together.
const std::set<std::string> STRUCTURAL = {"88000002", "88000104", "88000106", "88000301", "88100001", "88200007",
                                          "88200016", "88200102", "88200305", "88200308", "88200309", "88200312",
                                          "88200402", "88200403", "88300001", "88300003", "88300401"};

// Good files in each other's place: nothing is wrong with either.
const std::set<std::string> SWAPPED = {"encoding::message_that_is_the_crl_file", "encoding::crls_that_are_the_message"};

Bytes PaddedVector(const Json &one, const std::string &kind)
{
    Bytes data = ReadVector(one["files"][kind].get<std::string>());
    if (one["padding"].is_object() && one["padding"]["file"] == kind) {
        data.resize(one["padding"]["size"].get<size_t>(), one["padding"]["octet"].get<uint8_t>());
    }
    return data;
}

TEST(InspectVectors, HaveAnErrorWhereADeviceRefusesAFileForWhatItIsAndNoneWhereItAcceptsThePackage)
{
    const Bytes text = ReadVector("vectors.json");
    const Json set = Json::parse(text.begin(), text.end());
    size_t refused = 0;
    size_t accepted = 0;
    for (const Json &one : set["cases"]) {
        const std::string id = one["id"].get<std::string>();
        std::set<std::string> errors;
        for (const char *const kind : {"crls", "signature"}) {
            errors.merge(FindingsOf(Inspect(PaddedVector(one, kind)), "error"));
        }
        const Json &answer = one["verify_tool"];
        const bool isRefused = answer["answer"] == "refuse";
        const bool isArmour = one["group"] == "armour" && isRefused;
        if (!isRefused) {
            ++accepted;
            EXPECT_TRUE(errors.empty()) << id << ": " << Join(errors);
        } else if ((isArmour || STRUCTURAL.count(answer["status"].get<std::string>()) > 0) && SWAPPED.count(id) == 0) {
            ++refused;
            EXPECT_FALSE(errors.empty()) << id;
        }
    }
    EXPECT_GT(refused, 150U);
    EXPECT_GT(accepted, 200U);
}

// ---- Broken octets -------------------------------------------------------------------------------------------------

// A file that ends too early has an error that says so, and no finding about what is not there any more.
void ExpectErrorAtEveryCut(const Bytes &whole)
{
    pkgsign::InspectOptions options;
    ASSERT_TRUE(pkgsign::AddIssuers("root", ReadVector("files/root"), &options).ok);
    std::set<std::string> expected = FindingsOf(pkgsign::InspectFile("file", whole, options));
    expected.insert({"file-empty", "file-too-short", "not-recognised", "length-beyond", "read-to"});
    for (size_t size = 0; size < whole.size(); ++size) {
        const Bytes cut(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(size));
        const Json file = pkgsign::InspectFile("file", cut, options);
        ASSERT_FALSE(FindingsOf(file, "error").empty()) << size;
        for (const std::string &code : FindingsOf(file)) {
            ASSERT_EQ(1U, expected.count(code)) << size << ": " << code;
        }
        for (const Json &object : file["objects"]) {
            for (const Json &finding : object["findings"]) {
                ASSERT_LE(finding["offset"].get<size_t>(), size);
            }
        }
    }
}

TEST(InspectTruncated, MessagesHaveAnErrorWhereverTheyEnd)
{
    ExpectErrorAtEveryCut(ReadVector("files/signature/good.signature"));
}

TEST(InspectTruncated, CrlsAndCertificatesHaveAnErrorWhereverTheyEnd)
{
    const Bytes crls = ReadVector("files/signature/good.crls");
    ExpectErrorAtEveryCut(Bytes(crls.begin(), crls.begin() + 686)); // the first of three
    ExpectErrorAtEveryCut(ReadVector("files/root"));
}

// Where half an element looks like a wrong one: within a character of a name, and before the octet of a BOOLEAN that
// may be left out.
TEST(InspectTruncated, HalfCharactersAndHalfBooleansAreNoDepartures)
{
    timestamp_requests::Shape request;
    request.wantsCertificates = true;
    ExpectErrorAtEveryCut(timestamp_requests::Encode(request));
    const Bytes umlaut = der::Tlv(der::UTF8_STRING, {'G', 'r', 0xC3, 0xBC, 0xC3, 0x9F, 'e'});
    for (const Bytes &only : {Bytes{0x81, 0x01, 0xFF}, Bytes{0x84, 0x01, 0xFF}}) {
        der::TbsCertList list;
        list.issuer = der::Name({der::RelativeName({der::NameAttribute("2.5.4.3", umlaut)})});
        list.crlExtensions =
            der::CrlExtensions({der::Extension("2.5.29.28", der::Tlv(der::SEQUENCE, only), der::Boolean(0xFF))});
        ExpectErrorAtEveryCut(der::CertificateListOf(list));
    }
}

TEST(InspectTruncated, AreNotSaidToBeSelfSignedOrNot)
{
    const Bytes root = ReadVector("files/root");
    EXPECT_EQ(true, Inspect(root)["objects"][0]["content"]["selfSigned"]);
    for (size_t size = 0; size < root.size(); ++size) {
        const Json file = Inspect(Bytes(root.begin(), root.begin() + static_cast<ptrdiff_t>(size)));
        for (const Json &object : file["objects"]) {
            ASSERT_TRUE(object["content"].is_null() || object["content"]["selfSigned"].is_null()) << size;
        }
    }
}

TEST(InspectTruncated, CrlsAreNotSaidToBeTwice)
{
    Bytes crls = der::CertificateListOf({});
    const Bytes again = crls;
    crls.insert(crls.end(), again.begin(), again.end());
    EXPECT_EQ(0U, FindingsOf(Inspect(crls)).count("crl-twice"));
    crls.pop_back();
    EXPECT_EQ(0U, FindingsOf(Inspect(crls)).count("crl-twice"));
}

TEST(InspectTruncated, SayHowFarTheyCouldBeReadAndWhatWasExpectedThere)
{
    const Bytes crls = ReadVector("files/signature/good.crls");
    const Json file = Inspect(Bytes(crls.begin(), crls.begin() + 300));
    const std::string text = pkgsign::InspectionText(Json::array({file}));
    EXPECT_TRUE(Contains(text, "error length-beyond")) << text;
    EXPECT_TRUE(Contains(text, "error read-to: it can be read as far as here")) << text;
    EXPECT_TRUE(Contains(text, "octet 300: expected ")) << text;
    EXPECT_TRUE(Contains(text, "CN=Root CA")) << text; // what was there is shown
}

TEST(InspectBounds, ShowFiftyEntriesOfManyAndAllWhenAsked)
{
    const Bytes entry = der::RevokedEntry(der::Integer(0x1234));
    der::TbsCertList list;
    list.revokedCertificates = der::Tlv(der::SEQUENCE, der::Repeat(5000, entry));
    const Bytes crl = der::CertificateListOf(list);
    const Json some = Inspect(crl);
    EXPECT_EQ(5000, some["objects"][0]["content"]["entryCount"]);
    EXPECT_EQ(50U, some["objects"][0]["content"]["entries"].size());
    EXPECT_TRUE(Contains(pkgsign::InspectionText(Json::array({some})), "and 4950 more; --all shows them"));
    EXPECT_EQ(5000U, Inspect(crl, true)["objects"][0]["content"]["entries"].size());
}

TEST(InspectBounds, HoldForOctetsThatNestOrRepeatWithoutEnd)
{
    for (const Bytes &part : {Bytes{0x00}, Bytes{0x30, 0x80}, Bytes{0x30, 0x05, 0x30, 0x03, 0xA0, 0x01, 0x00},
                              Text("-----BEGIN CMS-----\n"), Text("-----BEGIN CMS-----\nMIIA\n-----END CMS-----\n")}) {
        const Json file = Inspect(der::Repeat(100000, part));
        EXPECT_GT(file["errors"].get<size_t>(), 0U);
        EXPECT_LE(file["objects"].size(), pkgsign::INSPECT_SHOWN);
        EXPECT_LE(file["findings"].size(), pkgsign::INSPECT_SHOWN);
    }
}

// ---- Each finding -------------------------------------------------------------------------------------------------

TEST(InspectFindings, AreMadeForEachDepartureAtItsPlace)
{
    for (const Departure &departure : AllDepartures()) {
        const Json file = Inspect(departure.octets);
        EXPECT_EQ(1U, FindingsOf(file, "", true).count(departure.code + "@" + departure.path))
            << departure.code << "@" << departure.path << ": " << Join(FindingsOf(file, "", true));
        EXPECT_FALSE(Contains(file.dump(), "\"the type\"")) << departure.code;
    }
}

// Real signatures are needed for these.
std::map<std::string, std::string> VectorDepartures()
{
    return {{"root-dropped", "files/path/ca_that_signed_itself.signature"},
            {"signer-self-signed", "files/path/signer_that_signed_itself.signature"},
            {"signer-not-valid", "files/path/signer_valid_until_the_last_second.signature"}};
}

TEST(InspectFindings, AreMadeForEachDepartureOfSignedFiles)
{
    for (const auto &[code, file] : VectorDepartures()) {
        const Json inspected = Inspect(ReadVector(file));
        EXPECT_EQ(1U, FindingsOf(inspected).count(code)) << code << ": " << Join(FindingsOf(inspected));
    }
}

TEST(InspectFindings, DoNotMissTheCertificateOfASignerThatIsNamedByKeyIdentifier)
{
    const Json file = Inspect(ReadVector("files/signature/sid_by_key_identifier.signature"));
    EXPECT_EQ(1U, FindingsOf(file).count("signer-by-key-identifier"));
    EXPECT_EQ(0U, FindingsOf(file).count("signer-certificate-missing"));
    EXPECT_TRUE(Contains(pkgsign::InspectionText(Json::array({file})), "not named by issuer and serial number"));
}

TEST(InspectFindings, HaveATestForEachCodeAndNoCodeTwice)
{
    std::set<std::string> tested = {"issuer-signature"}; // of the command with --issuer
    for (const Departure &departure : AllDepartures()) {
        tested.insert(departure.code);
    }
    for (const auto &[code, file] : VectorDepartures()) {
        tested.insert(code);
    }
    std::set<std::string> codes;
    for (const pkgsign::inspection::RuleText &rule : pkgsign::inspection::InspectRules()) {
        EXPECT_TRUE(codes.insert(rule.code).second) << rule.code;
        EXPECT_EQ(1U, tested.count(rule.code)) << rule.code;
    }
}

// What a device takes: a finding of this code, if it is made, is no error.
struct Leniency {
    const char *code;
    Bytes octets;
};

std::vector<Leniency> Leniencies()
{
    const Bytes plain = der::CertificateOf({});
    const uint32_t beyond = static_cast<uint32_t>(plain.size()) - 100; // behind the tbsCertificate, within the file
    const auto certificate = [](const std::function<void(der::TbsCertificate *)> &change) {
        return CertificateWith(change);
    };
    const Bytes falseCa = der::Extension("2.5.29.19", der::Sequence({der::Tlv(1, {0xFF, 0xFF})}));
    const Bytes name = der::NameOf("Test CA");
    const Bytes printable = der::Name(
        {der::RelativeName({der::NameAttribute("2.5.4.6", der::Utf8("XX"))}),
         der::RelativeName({der::NameAttribute("2.5.4.10", der::Utf8("Test"))}),
         der::RelativeName({der::NameAttribute("2.5.4.3", der::Tlv(0x13, {'T', 'e', 's', 't', ' ', 'C', 'A'}))})});
    der::TstInfo info;
    const auto token = [&](uint8_t identifier, const Bytes &content) {
        der::SignedData data;
        data.encapContentInfo =
            der::Sequence({der::Oid("1.2.840.113549.1.9.16.1.4"), der::Explicit(0, der::Tlv(identifier, content))});
        return der::MessageOf(data);
    };
    const std::string pem = pkgsign::AddArmour("X509 CRL", der::CertificateListOf({}));
    const size_t end = pem.find("\n-----END");
    return {
        {"length-beyond", certificate([&](auto *c) { c->version = der::TlvOfLength(0xA0, beyond, der::Integer(2)); })},
        {"boolean-length", certificate([&](auto *c) { c->extensions = der::CertExtensions({falseCa}); })},
        {"time-form", certificate([](auto *c) {
             c->validity = der::Validity(der::UtcTime("200101000000Z"), der::Tlv(0x97, Text("400101000000Z")));
         })},
        {"string-in-pieces", MessageWith([](auto *, auto *s) { s->signature = der::Tlv(0x24, der::Fill(256, 0x5A)); })},
        {"string-in-pieces", token(0x24, der::Encode(info))},
        {"signer-certificate-missing", MessageWith([&](auto *d, auto *s) {
             d->certificates = der::CertificateSet({plain});
             s->sid = der::IssuerAndSerialNumber(printable, der::Integer(1));
         })},
        {"serial-form", TokenWith([](auto *i) { i->serialNumber = der::Integer(0); })},
        {"armour-foreign-character", Text(pem.substr(0, end) + "*" + pem.substr(end))},
    };
}

bool DeviceDecodes(const Bytes &octets, const std::string &kind)
{
    const uint32_t size = static_cast<uint32_t>(octets.size());
    uint32_t consumed = 0;
    if (kind == "certificate") {
        SigkitX509Cert *certificate = nullptr;
        const uint32_t status = SigkitX509DecodeCert(octets.data(), size, &certificate, &consumed);
        SigkitX509FreeCert(certificate);
        return status == SIGKIT_OK;
    }
    SigkitPkcs7Content *message = nullptr;
    const uint32_t status = SigkitPkcs7DecodeSigned(octets.data(), size, &message, &consumed);
    SigkitPkcs7FreeSigned(message);
    return status == SIGKIT_OK || kind == "crl"; // which is in armour here
}

TEST(InspectFindings, AreNoErrorsForWhatADeviceTakes)
{
    for (const Leniency &leniency : Leniencies()) {
        const Json file = Inspect(leniency.octets);
        ASSERT_FALSE(file["objects"].empty()) << leniency.code;
        EXPECT_TRUE(DeviceDecodes(leniency.octets, file["objects"][0]["kind"])) << leniency.code;
        EXPECT_EQ(0U, FindingsOf(file, "error").count(leniency.code)) << leniency.code << ": " << file.dump(1);
    }
    EXPECT_EQ(0U, FindingsOf(Inspect(Leniencies()[5].octets)).count("signer-certificate-missing"));
    EXPECT_EQ(1U, FindingsOf(Inspect(Leniencies()[0].octets)).count("wrapper-length"));
}

TEST(InspectFindings, CiteWhereItStandsForTheKindOfObject)
{
    const auto citation = [](const Json &file, const std::string &code) {
        for (const Json &finding : file["objects"][0]["findings"]) {
            if (finding["code"] == code) {
                return finding["citation"].get<std::string>();
            }
        }
        return std::string("no such finding");
    };
    for (const Departure &departure : AllDepartures()) {
        if (departure.path == "tbsCertList.revokedCertificates[0].revocationDate") {
            EXPECT_EQ("RFC 5280, 5.1.2.6", citation(Inspect(departure.octets), "time-form"));
        }
    }
    der::TbsCertList list;
    list.signature = der::AlgorithmIdentifier("1.2.840.113549.1.1.12");
    list.nextUpdate = der::UtcTime("1");
    EXPECT_EQ("RFC 5280, 5.1.1.2", citation(Inspect(der::CertificateListOf(list)), "algorithms-differ"));
    EXPECT_EQ("RFC 5280, 5.1.2.5", citation(Inspect(der::CertificateListOf(list)), "time-form"));
}

TEST(InspectFindings, AreCountedInObjectsThatAreNotShown)
{
    const Bytes good = der::Repeat(55, der::CertificateListOf({}));
    der::TbsCertList list;
    list.version.reset();
    const Bytes bad = der::Concatenate({good, der::CertificateListOf(list)});
    EXPECT_EQ(50U, Inspect(bad)["objects"].size());
    EXPECT_EQ(Inspect(good)["errors"].get<size_t>() + 1, Inspect(bad)["errors"]);
}

TEST(InspectFindings, AreNoneForFilesAsDevicesWantThem)
{
    for (const char *const file : {"files/signature/good.signature", "files/signature/good.crls", "files/root"}) {
        EXPECT_EQ("", Join(FindingsOf(Inspect(ReadVector(file))))) << file;
    }
}

// ---- What is shown -------------------------------------------------------------------------------------------------

TEST(InspectNames, WithControlCharactersAndOctetsOfNoTextAreEscapedAndGivenInHexadecimal)
{
    const Bytes certificate =
        CertificateWith([](auto *c) { c->subject = der::NameOf("\x1B]0;owned\x07\r\n\xC2\x9B\xE2\x80\xAE\xFF"); });
    const Json file = Inspect(certificate);
    const std::string text = pkgsign::InspectionText(Json::array({file}));
    EXPECT_TRUE(Contains(text, "CN=\\x1B]0;owned\\x07\\x0D\\x0A\\u{9B}\\u{202E}\\xFF")) << text;
    for (const char character : text) {
        EXPECT_TRUE(character == '\n' || (static_cast<unsigned char>(character) >= 0x20 && character != 0x7F));
    }
    EXPECT_TRUE(file["objects"][0]["content"]["subject"]["hex"].is_string());
    EXPECT_TRUE(file["objects"][0]["content"]["issuer"]["hex"].is_null());
}

Json CertificateContent(const std::vector<Bytes> &extensions)
{
    return Inspect(
        CertificateWith([&](auto *c) { c->extensions = der::CertExtensions(extensions); }))["objects"][0]["content"];
}

TEST(InspectCertificates, WithAnExtensionTwiceAreTakenForWhatBothSay)
{
    const Bytes usage = der::KeyUsageExtension(der::BitString(0, {0x84}));
    const Json purposes = CertificateContent(
        {usage, der::ExtKeyUsageExtension({"1.3.6.1.5.5.7.3.3"}), der::ExtKeyUsageExtension({"1.3.6.1.5.5.7.3.8"})});
    EXPECT_EQ(Json::array({"signer", "timestamp authority"}), purposes["deviceTakesItAs"]);
    EXPECT_EQ(2U, purposes["purposes"].size());
    const Json ca = CertificateContent(
        {usage, der::BasicConstraintsExtension(true), der::Extension("2.5.29.19", der::Sequence({}))});
    EXPECT_EQ(Json::array({"CA"}), ca["deviceTakesItAs"]);
    EXPECT_EQ(true, ca["ca"]);
}

TEST(InspectBounds, HoldForTheSignaturesThatAreChecked)
{
    const Bytes one = CertificateWith([](auto *c) { c->subject = c->issuer; });
    const Json file = Inspect(der::Repeat(300, one), true);
    ASSERT_EQ(300U, file["objects"].size());
    EXPECT_EQ(false, file["objects"][255]["content"]["selfSigned"]);
    EXPECT_TRUE(file["objects"][256]["content"]["selfSigned"].is_null()) << "it was not asked";
}

TEST(InspectObjects, OfEveryKindAreRecognised)
{
    const Bytes csr = der::Sequence(
        {der::Sequence({der::Integer(0), der::NameOf("x"), der::SubjectPublicKeyInfo(), der::Implicit(0, true, {})}),
         der::AlgorithmIdentifier("1.2.840.113549.1.1.11"), der::BitString(0, der::Fill(256, 1))});
    const Bytes token = TokenWith([](auto *) {});
    const std::pair<const char *, Bytes> cases[] = {
        {"message", MessageWith([](auto *, auto *) {})},
        {"timestampToken", token},
        {"certificate", der::CertificateOf({})},
        {"crl", der::CertificateListOf({})},
        {"timestampRequest", timestamp_requests::Encode(timestamp_requests::FieldShapes()[0])},
        {"timestampAnswer", der::Sequence({der::Sequence({der::Integer(0)}), token})},
        {"certificationRequest", csr}};
    for (const auto &[kind, octets] : cases) {
        for (const Bytes &form : {octets, Text(pkgsign::AddArmour("ANYTHING", octets))}) {
            const Json file = Inspect(form);
            ASSERT_EQ(1U, file["objects"].size()) << kind;
            EXPECT_EQ(kind, file["objects"][0]["kind"]);
        }
    }
}

// A word that is wider than the rest of a line stands alone in it.
bool IsTooWide(const std::string &line)
{
    return line.size() > pkgsign::TEXT_COLUMNS && line.size() - line.rfind(' ') < 70;
}

TEST(InspectText, IsNoWiderThanOtherReports)
{
    const Bytes text = ReadVector("vectors.json");
    const Json set = Json::parse(text.begin(), text.end());
    std::vector<Bytes> files;
    for (const Json &one : set["cases"]) {
        files.push_back(ReadVector(one["files"]["signature"].get<std::string>()));
        files.push_back(ReadVector(one["files"]["crls"].get<std::string>()));
    }
    for (const Departure &departure : AllDepartures()) {
        files.push_back(departure.octets);
    }
    for (const Bytes &file : files) {
        std::istringstream lines(pkgsign::InspectionText(Json::array({Inspect(file)})));
        for (std::string line; std::getline(lines, line);) {
            EXPECT_FALSE(IsTooWide(line)) << line;
            EXPECT_NE(' ', line.back()) << line;
        }
    }
    const std::string good =
        pkgsign::InspectionText(Json::array({Inspect(ReadVector("files/signature/good.signature"))}));
    EXPECT_TRUE(Contains(good, "extensions         ")) << good;
    EXPECT_TRUE(Contains(good, "\n                         ")) << "a line goes on below its value: " << good;
}

TEST(InspectText, HasNamesSerialsPurposesDatesTimeAndDigestsInThisOrder)
{
    const std::string text =
        pkgsign::InspectionText(Json::array({Inspect(ReadVector("files/signature/good.signature"))}));
    size_t at = 0;
    for (const char *const label :
         {"\n    signer ", "\n    issuer ", "\n    serial ", "\n    purposes ", "\n    valid ",
          "\n    timestamp          2026-01-15T12:00:00Z  [not verified] by ", "\n    digest "}) {
        const size_t found = text.find(label, at);
        ASSERT_NE(std::string::npos, found) << label << text;
        at = found;
    }
}

TEST(InspectArmour, NeverShowsAPrivateKey)
{
    const std::string pem = pkgsign::AddArmour("PRIVATE KEY", der::CertificateOf({}));
    EXPECT_TRUE(Inspect(Text(pem))["objects"].empty());
}

// ---- The command ---------------------------------------------------------------------------------------------------

class InspectCommandTest : public InFolder
{
protected:
    static std::string Unbroken(const std::string &text)
    {
        return std::regex_replace(text, std::regex("\n +"), " ");
    }
};

TEST_F(InspectCommandTest, FollowsItsClosedSchemaWhateverTheOctets)
{
    Json files = Json::array();
    for (const Departure &departure : AllDepartures()) {
        files.push_back(Inspect(departure.octets));
    }
    const Bytes text = ReadVector("vectors.json");
    const Json set = Json::parse(text.begin(), text.end());
    for (const Json &one : set["cases"]) {
        files.push_back(Inspect(ReadVector(one["files"]["signature"].get<std::string>())));
        files.push_back(Inspect(ReadVector(one["files"]["crls"].get<std::string>())));
    }
    const Bytes whole = ReadVector("files/signature/good.signature");
    for (size_t size = 0; size < whole.size(); size += 7) {
        files.push_back(Inspect(Bytes(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(size))));
    }
    for (const timestamp_requests::Refusal &refusal : timestamp_requests::Refusals()) {
        files.push_back(Inspect(refusal.octets));
    }
    Write("out.json", pkgsign::InspectionJson(files));
    const ProcessResult checked =
        RunProcess({PYTHON_PROGRAM, INSPECTION_CHECK,
                    std::string(PKGSIGN_SOURCES) + "/docs/pkgsign-inspect.schema.json", Path("out.json")});
    EXPECT_EQ(0, checked.exitStatus) << checked.output << checked.errors;
}

TEST_F(InspectCommandTest, ShowsSeveralFilesAndFailsForNoFinding)
{
    const Outcome outcome = Pkgsign(
        {"inspect", VECTORS + "files/signature/good.signature", VECTORS + "files/limits/crl_of_21_entries.crls"});
    ExpectDone(outcome);
    EXPECT_TRUE(Contains(outcome.out, "good.signature: ")) << outcome.out;
    EXPECT_TRUE(Contains(Unbroken(outcome.out), "nothing that a device refuses by itself")) << outcome.out;
    EXPECT_TRUE(Contains(outcome.out, "error entries-too-many")) << outcome.out;
    EXPECT_TRUE(Contains(outcome.out, "tbsCertList.revokedCertificates, octet ")) << outcome.out;
}

TEST_F(InspectCommandTest, FailsForAFileThatCannotBeReadAndForNone)
{
    ExpectRefused(Pkgsign({"inspect", Path("none")}), "cannot read");
    EXPECT_EQ(2, Pkgsign({"inspect"}).status);
}

TEST(InspectIssuers, VerifyOnlyWhatADeviceLetsThemSign)
{
    const Bytes crls = ReadVector("files/signature/good.crls");
    const auto state = [&](const pkgsign::InspectOptions &options) {
        return pkgsign::InspectFile("file", crls, options)["objects"][0]["content"]["verified"]["state"];
    };
    pkgsign::InspectOptions options;
    ASSERT_TRUE(pkgsign::AddIssuers("root", ReadVector("files/root"), &options).ok);
    EXPECT_EQ("verified", state(options));
    options.issuers[0].signsCrls = false;
    EXPECT_EQ("not verified", state(options));
    const Bytes signer = CertificateWith(
        [](auto *c) { c->extensions = der::CertExtensions({der::KeyUsageExtension(der::BitString(7, {0x80}))}); });
    pkgsign::InspectOptions others;
    ASSERT_TRUE(pkgsign::AddIssuers("signer", signer, &others).ok);
    EXPECT_FALSE(others.issuers[0].signsCrls || others.issuers[0].signsCertificates);
}

TEST(InspectIssuers, OfOneNameDoNotRefuteASignatureBeforeAllOfThemAreAsked)
{
    const Bytes crls = ReadVector("files/signature/good.crls");
    pkgsign::InspectOptions options;
    ASSERT_TRUE(pkgsign::AddIssuers("root", ReadVector("files/root"), &options).ok);
    pkgsign::inspection::InspectIssuer other = options.issuers[0];
    other.key.modulus.back() ^= 2;
    const auto first = [&](size_t others) {
        pkgsign::InspectOptions many;
        many.issuers.assign(others, other);
        many.issuers.push_back(options.issuers[0]);
        return pkgsign::InspectFile("file", crls, many)["objects"][0];
    };
    EXPECT_EQ("verified", first(pkgsign::inspection::SIGNATURE_CHECKS_MAX - 1)["content"]["verified"]["state"]);
    const Json last = first(pkgsign::inspection::SIGNATURE_CHECKS_MAX);
    EXPECT_EQ("not verified", last["content"]["verified"]["state"]);
    EXPECT_EQ(0, last["findingCount"]) << last.dump(1);
}

TEST_F(InspectCommandTest, VerifiesUnderTheIssuersThatAreGivenAndSaysNotVerifiedOtherwise)
{
    const std::string crls = VECTORS + "files/signature/good.crls";
    const Outcome without = Pkgsign({"inspect", crls});
    EXPECT_TRUE(Contains(without.out, "CN=Root CA  [not verified]")) << without.out;
    const Outcome with = Pkgsign({"inspect", crls, "--root", VECTORS + "files/root"});
    EXPECT_TRUE(Contains(with.out, "CN=Root CA  [verified, by ")) << with.out;
    EXPECT_TRUE(Contains(with.out, "CN=Signing CA  [not verified]")) << with.out;
    const std::string message = VECTORS + "files/signature/good.signature";
    EXPECT_TRUE(Contains(Pkgsign({"inspect", message}).out, "(certificates[0], not verified)"));
    const Outcome signer = Pkgsign(
        {"inspect", message, "--issuer", VECTORS + "files/signature/certificate_of_the_ca_in_the_crl_file.crls"});
    EXPECT_TRUE(Contains(Unbroken(signer.out), "(certificates[0], verified, by C=XX, O=Sigkit, CN=Signing CA)"))
        << signer.out;
    const Outcome wrong = Pkgsign(
        {"inspect", VECTORS + "files/crl/of_the_root_with_a_turned_bit.crls", "--root", VECTORS + "files/root"});
    EXPECT_TRUE(Contains(wrong.out, "error issuer-signature")) << wrong.out;
    ExpectRefused(Pkgsign({"inspect", crls, "--issuer", crls}), "holds no certificate");
}

} // namespace
