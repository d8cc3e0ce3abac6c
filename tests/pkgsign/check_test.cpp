// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// What pkgsign check says about a package: the public vectors, and packages of a folder.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <regex>

#include <nlohmann/json.hpp>

#include "pkgsign/authority/horizon.h"
#include "pkgsign/explain/report.h"
#include "pkgsign/explain/text_variant.h"
#include "pkgsign/files/files.h"
#include "sigkit/sigkit.h"
#include "tests/pkgsign/inspect_departures.h"
#include "tests/pkgsign/support.h"

namespace
{

using Json = nlohmann::json;

std::string Vector(const std::string &name)
{
    return std::string(PKGSIGN_SOURCES) + "/vectors/files/" + name;
}

// The arguments for a good package of the vectors, with one file replaced. role: "--crl", "--signature" or "content".
std::vector<std::string> CheckWith(const std::string &role, const std::string &path)
{
    const auto choose = [&](const std::string &which, const std::string &good) {
        return which == role ? path : Vector("signature/good." + good);
    };
    return {"check",       choose("content", "content"),
            "--root",      Vector("root"),
            "--crl",       choose("--crl", "crls"),
            "--signature", choose("--signature", "signature"),
            "--no-input",  "--now",
            "2026-01-20"};
}

std::vector<std::string> With(std::vector<std::string> arguments, const std::vector<std::string> &further)
{
    arguments.insert(arguments.end(), further.begin(), further.end());
    return arguments;
}

void WriteFile(const std::string &path, const std::string &text)
{
    std::ofstream(path, std::ios::binary) << text;
}

std::string ReadFile(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::string WithCarriageReturns(const std::string &text)
{
    std::string result;
    for (const char octet : text) {
        result += octet == '\n' ? std::string("\r\n") : std::string(1, octet);
    }
    return result;
}

// ---- Answers and exit statuses --------------------------------------------------------------------------------------

TEST(Check, SaysThatAGoodPackageIsAuthentic)
{
    const Outcome outcome = Pkgsign(With(CheckWith("", ""), {"--json"}));
    EXPECT_EQ(0, outcome.status);
    const Json json = Json::parse(outcome.out);
    EXPECT_EQ("00000000", json["status"]);
    EXPECT_EQ(0, json["exitStatus"]);
    EXPECT_EQ(true, json["authentic"]);
    EXPECT_EQ("2026-01-15T12:00:00Z", json["time"]);
    EXPECT_TRUE(json["cause"].is_null());
    EXPECT_EQ(18u, json["steps"].size());
    for (const Json &step : json["steps"]) {
        EXPECT_EQ("passed", step["state"]) << step;
    }
}

TEST(Check, CountsCandidatesOfAnotherNameAndShowsTheOthers)
{
    const Outcome good = Pkgsign(CheckWith("", ""));
    EXPECT_TRUE(Contains(good.out, "rejected         2 certificates of another name")) << good.out;
    EXPECT_FALSE(Contains(good.out, "its subject is not the issuer's name"));
    const Outcome asJson = Pkgsign(With(CheckWith("", ""), {"--json"}));
    EXPECT_TRUE(Contains(asJson.out, "its subject is not the issuer's name"));
}

TEST(Check, SaysThatAnAuthenticPackageOutlivesWhatEndsFirst)
{
    std::vector<std::string> arguments = CheckWith("", "");
    arguments.back() = "2027-01-01"; // --now
    const Outcome outcome = Pkgsign(arguments);
    EXPECT_EQ(0, outcome.status);
    const std::string unbroken = std::regex_replace(outcome.out, std::regex("\n +"), " ");
    EXPECT_TRUE(Contains(unbroken, "(past); this package stays good")) << outcome.out;
}

TEST(Check, TicksNothingThatWasNotReached)
{
    const Outcome outcome =
        Pkgsign(With(CheckWith("--signature", Vector("signature/signature_with_a_turned_bit.signature")), {"--json"}));
    bool hasFailed = false;
    const Json json = Json::parse(outcome.out);
    for (const Json &step : json["steps"]) {
        EXPECT_EQ(hasFailed ? "not reached" : step["name"] == "token-imprint" ? "failed" : "passed", step["state"]);
        hasFailed = hasFailed || step["state"] == "failed";
    }
    EXPECT_TRUE(hasFailed);
}

TEST(Check, EndsWithThreeWhenSomethingEndsWithinTheHorizon)
{
    const Outcome soon = Pkgsign(With(CheckWith("", ""), {"--horizon", "60"}));
    EXPECT_EQ(3, soon.status);
    EXPECT_TRUE(Contains(soon.out, "ends first  the CRL of 'C = XX, O = Sigkit, CN = Root CA', at "
                                   "2026-03-16T12:00:00Z: within the\n            horizon"))
        << soon.out;
    EXPECT_EQ(0, Pkgsign(With(CheckWith("", ""), {"--horizon", "50"})).status);
    const std::string refused = Vector("signature/signature_with_a_turned_bit.signature");
    EXPECT_EQ(1, Pkgsign(With(CheckWith("--signature", refused), {"--horizon", "60"})).status);
}

TEST(Check, KnowsEndsThatLieBefore1970)
{
    const pkgsign::Bytes der = CertificateWith([](auto *c) { c->subject = der::NameOf("Test CA"); });
    const unsigned char *octets = der.data();
    const pkgsign::Certificate ca =
        pkgsign::ShareCertificate(d2i_X509(nullptr, &octets, static_cast<long>(der.size())));
    ASSERT_NE(nullptr, ca);
    der::TbsCertList crl;
    crl.nextUpdate = der::UtcTime("500101000000Z");
    pkgsign::Party party;
    party.certificate = ca;
    EXPECT_EQ(-631152000, pkgsign::FindHorizon({party}, {ca}, der::CertificateListOf(crl)).time);
}

TEST(Check, RefusesACommandLineThatItDoesNotUnderstand)
{
    ExpectUsage(Pkgsign(With(CheckWith("", ""), {"--horizon", "soon"})), "soon");
    ExpectUsage(Pkgsign(With(CheckWith("", ""), {"--candidates", Vector("root")})), "--candidates wants a directory");
    ExpectUsage(Pkgsign({"check", "a", "--crl", "b", "--signature", "c", "--pki", "nowhere"}), "--root is missing");
    EXPECT_EQ(2, Pkgsign({"check", "a", "--root", "b"}).status);
}

TEST(Check, ShowsACrlThatIsOutrankedAndOneThatRevokes)
{
    const Outcome outcome = Pkgsign(CheckWith("--crl", Vector("crl/two_of_one_issuer_the_older_revokes.crls")));
    EXPECT_EQ(1, outcome.status);
    EXPECT_TRUE(Contains(outcome.out, "2026-03-16T12:00:00Z: lists the certificate, in date")) << outcome.out;
    EXPECT_TRUE(Contains(outcome.out, "\n    outranked ")) << outcome.out;
    EXPECT_TRUE(
        Contains(outcome.out, "\n    revokes          entry of 2026-01-14T12:00:00Z, no reason: its date counts"))
        << outcome.out;
}

TEST(Check, HasTheRemediesThatExplainHas)
{
    const struct {
        const char *signature;
        const char *crls;
        const char *code;
        const char *remedy;
    } refusals[] = {
        {"timestamp/time_with_tenths.signature", "signature/good.crls", "token-time",
         "Set the timestamp authority to whole seconds, and timestamp again."},
        {"signature/good.signature", "crl/two_of_one_issuer_the_older_revokes.crls", "certificate-revoked",
         "Do not install. Sign anew with a certificate that is not revoked."},
    };
    for (const auto &refusal : refusals) {
        std::vector<std::string> arguments = With(CheckWith("--crl", Vector(refusal.crls)), {"--json"});
        std::replace(arguments.begin(), arguments.end(), Vector("signature/good.signature"), Vector(refusal.signature));
        const Json json = Json::parse(Pkgsign(arguments).out);
        EXPECT_EQ(refusal.code, json["causeCode"]);
        EXPECT_EQ(refusal.remedy, json["remedy"]);
    }
}

TEST(Check, CutsNamesThatFillAFile)
{
    const TemporaryDirectory directory;
    const pkgsign::Bytes certificate =
        CertificateWith([](auto *c) { c->subject = der::NameOf(std::string(1000000, '<')); });
    WriteFile(directory.File("crls"),
              ReadFile(Vector("signature/good.crls")) + std::string(certificate.begin(), certificate.end()));
    const Outcome outcome =
        Pkgsign(With(CheckWith("--crl", directory.File("crls")), {"--html", directory.File("page")}));
    EXPECT_EQ(0, outcome.status) << outcome.errors;
    const std::string page = ReadFile(directory.File("page"));
    EXPECT_TRUE(Contains(page, "&lt;&lt;&lt;...&#39;")) << page.substr(0, 5000);
    EXPECT_LT(outcome.out.size(), 100000u);
    EXPECT_LT(page.size(), 200000u);
}

TEST(Check, ReportsAFileThatIsNotThereAsTheDeviceDoes)
{
    const Json json = Json::parse(Pkgsign(With(CheckWith("content", "/nowhere/content"), {"--json"})).out);
    EXPECT_EQ("88000101", json["status"]);
    EXPECT_EQ("content", json["failedStep"]);
    EXPECT_EQ("file-unreadable", json["causeCode"]);
}

// ---- The content ----------------------------------------------------------------------------------------------------

TEST(Check, NamesTheFileThatASignatureFits)
{
    const TemporaryDirectory directory;
    WriteFile(directory.File("a.img"), "another one");
    WriteFile(directory.File("b.img"), ReadFile(Vector("signature/good.content")));
    const Json json = Json::parse(
        Pkgsign(With(CheckWith("content", directory.File("a.img")), {"--candidates", directory.path, "--json"})).out);
    EXPECT_EQ("content-other-file", json["causeCode"]);
    EXPECT_EQ(Json::array({directory.File("b.img")}), json["content"]["candidates"]);
    EXPECT_EQ(0u, json["next"].get<std::string>().find("pkgsign check " + directory.File("b.img"))) << json["next"];
    EXPECT_NE(json["content"]["digest"], json["content"]["signedDigest"]);
}

TEST(Check, TriesLineEndsWhereTheSignatureIsOverTheContentItself)
{
    const TemporaryDirectory directory;
    const std::string message = Vector("signature/without_signed_attributes.signature");
    const auto check = [&](const std::string &content) {
        WriteFile(directory.File("content"), content);
        return Json::parse(Pkgsign({"check", directory.File("content"), "--root", Vector("root"), "--crl",
                                    Vector("signature/good.crls"), "--signature", message, "--json"})
                               .out);
    };
    const std::string good = ReadFile(Vector("signature/good.content"));
    EXPECT_EQ(true, check(good)["authentic"]);
    const Json converted = check(WithCarriageReturns(good));
    EXPECT_EQ("ffffffff", converted["status"]);
    EXPECT_EQ("signature", converted["failedStep"]);
    EXPECT_EQ("content-converted", converted["causeCode"]);
    EXPECT_TRUE(converted["content"]["signedDigest"].is_null());
    EXPECT_EQ("signature-wrong", check("something else")["causeCode"]);
}

TEST(Check, TriesNoLineEndsWhereTheContentIsNoText)
{
    const TemporaryDirectory directory;
    WriteFile(directory.File("content"), WithCarriageReturns(ReadFile(Vector("signature/good.content"))) + '\0');
    const Outcome outcome = Pkgsign(CheckWith("content", directory.File("content")));
    EXPECT_TRUE(Contains(outcome.out, "the content is no text: no line ends were tried")) << outcome.out;
}

TEST(Check, NamesACommandThatTurnsLineEndsBack)
{
    const TemporaryDirectory directory;
    const std::string content = directory.File("it's & <content>");
    WriteFile(content, WithCarriageReturns(ReadFile(Vector("signature/good.content"))));
    const Json json = Json::parse(Pkgsign(With(CheckWith("content", content), {"--json"})).out);
    EXPECT_EQ("content-converted", json["causeCode"]);
    const std::string programs = std::filesystem::path(PKGSIGN_PROGRAM).parent_path().string();
    const ProcessResult result = RunProcess(
        {"sh", "-c",
         "PATH='" + programs + "':$PATH && cd '" + directory.path + "' && " + json["next"].get<std::string>()});
    EXPECT_EQ(0, result.exitStatus) << json["next"] << result.output << result.errors;
    EXPECT_TRUE(Contains(result.output, "fixed: authentic")) << result.output;
}

TEST(Check, NamesFilesSoThatNoCommandTakesThemForOptions)
{
    const TemporaryDirectory directory;
    WriteFile(directory.File("-c"), "another content");
    const std::string good = std::filesystem::absolute(Vector("signature/good.")).string();
    const std::string root = std::filesystem::absolute(Vector("root")).string();
    const std::string programs = std::filesystem::path(PKGSIGN_PROGRAM).parent_path().string();
    const std::string start = "PATH='" + programs + "':$PATH && cd '" + directory.path + "' && ";
    const ProcessResult first = RunProcess({"sh", "-c",
                                            start + "pkgsign check --root '" + root + "' --crl '" + good +
                                                "crls' --signature '" + good + "signature' --json -- -c"});
    const std::string next = Json::parse(first.output)["next"];
    const ProcessResult second = RunProcess({"sh", "-c", start + next});
    EXPECT_EQ(1, second.exitStatus) << next << second.errors;
}

TEST(Check, NamesStandardInputAsItWasGiven)
{
    const TemporaryDirectory directory;
    WriteFile(directory.File("other"), "another content");
    const ProcessResult result =
        RunProcess({"sh", "-c",
                    std::string(PKGSIGN_PROGRAM) + " check --root - --crl '" + Vector("signature/good.crls") +
                        "' --signature '" + Vector("signature/good.signature") + "' --json '" +
                        directory.File("other") + "' <'" + Vector("root") + "'"});
    EXPECT_TRUE(Contains(Json::parse(result.output)["next"], " --root - ")) << result.output;
}

struct Conversion {
    pkgsign::LineEnds lineEnds;
    pkgsign::Presence mark;
    pkgsign::Presence lastNewline;
    const char *text;
    const char *result;
};

TEST(TextVariant, ConvertsATextHoweverItIsCut)
{
    using pkgsign::LineEnds;
    using pkgsign::Presence;
    const Conversion conversions[] = {
        {LineEnds::AsIs, Presence::AsIs, Presence::AsIs, "a\r\nb\n\r", "a\r\nb\n\r"},
        {LineEnds::Lf, Presence::AsIs, Presence::AsIs, "a\r\n\r\r\nb\r", "a\n\r\nb\r"},
        {LineEnds::CrLf, Presence::AsIs, Presence::AsIs, "a\nb\r\n\n", "a\r\nb\r\n\r\n"},
        {LineEnds::AsIs, Presence::Without, Presence::AsIs,
         "\xEF\xBB\xBF"
         "a",
         "a"},
        {LineEnds::AsIs, Presence::Without, Presence::AsIs, "\xEF\xBB", "\xEF\xBB"},
        {LineEnds::AsIs, Presence::With, Presence::AsIs, "a",
         "\xEF\xBB\xBF"
         "a"},
        {LineEnds::AsIs, Presence::With, Presence::AsIs, "", "\xEF\xBB\xBF"},
        {LineEnds::AsIs, Presence::AsIs, Presence::Without, "a\n\n", "a\n"},
        {LineEnds::AsIs, Presence::AsIs, Presence::Without, "a\r\n", "a"},
        {LineEnds::AsIs, Presence::AsIs, Presence::Without, "a\r", "a\r"},
        {LineEnds::AsIs, Presence::AsIs, Presence::With, "a", "a\n"},
        {LineEnds::AsIs, Presence::AsIs, Presence::With, "a\n", "a\n"},
        {LineEnds::CrLf, Presence::AsIs, Presence::With, "a\nb", "a\r\nb\r\n"},
    };
    for (const Conversion &conversion : conversions) {
        const std::string text = conversion.text;
        for (size_t piece = 1; piece <= text.size() + 1; ++piece) {
            pkgsign::TextVariant variant;
            variant.lineEnds = conversion.lineEnds;
            variant.mark = conversion.mark;
            variant.lastNewline = conversion.lastNewline;
            std::string result;
            for (size_t i = 0; i < text.size(); i += piece) {
                const std::string part = text.substr(i, piece);
                const pkgsign::Bytes out = variant.Convert(reinterpret_cast<const uint8_t *>(part.data()), part.size());
                result.append(out.begin(), out.end());
            }
            const pkgsign::Bytes rest = variant.Finish();
            result.append(rest.begin(), rest.end());
            EXPECT_EQ(conversion.result, result) << text << " in pieces of " << piece;
        }
    }
}

TEST(TextVariant, ComesWithTheFewestChangesFirst)
{
    const std::vector<pkgsign::TextVariant> variants = pkgsign::TextVariants();
    EXPECT_EQ(26u, variants.size());
    EXPECT_EQ("with a newline at its end", variants.front().Describe());
    EXPECT_EQ("with CRLF line ends, without its byte order mark and without its last newline",
              variants.back().Describe());
}

// ---- The page -------------------------------------------------------------------------------------------------------

TEST(CheckPage, ShowsHostileNamesAsText)
{
    pkgsign::Check check;
    pkgsign::SeenCertificate certificate;
    certificate.subject = "<script>alert(1)</script>&\"'\x01\xFF\xE2\x80\xAE";
    certificate.notBefore = 0;
    certificate.notAfter = 1000000000;
    check.certificates.push_back(certificate);
    check.rejected.push_back({{0, "</ul>"}});
    check.issuers.push_back(pkgsign::NONE);
    check.contentPath = "<b>\"";
    check.notes.emplace_back("<i>");
    const std::string html = pkgsign::HtmlReport(check);
    for (const char *const tag : {"<script", "<b>", "<i>", "\x01", "\xFF", "\xE2\x80\xAE"}) {
        EXPECT_FALSE(Contains(html, tag)) << tag;
    }
    EXPECT_TRUE(Contains(html, "&lt;script&gt;alert(1)&lt;/script&gt;&amp;&quot;&#39;\\x01\\xFF\\u{202E}")) << html;
    EXPECT_TRUE(Contains(pkgsign::TextReport(check), "'\\x01\\xFF\\u{202E}"));
    EXPECT_FALSE(Json::parse(pkgsign::JsonReport(check)).empty());
}

// A number of the drawing of a CRL's bar, in percent.
double CrlBar(const std::string &html, const char *attribute)
{
    const std::string bar = html.substr(0, html.find("fill=\"var(--crl)\""));
    const size_t at = bar.rfind(std::string(" ") + attribute + "=\"");
    return std::stod(bar.substr(at + std::string(attribute).size() + 3));
}

TEST(CheckPage, ShowsACrlOfAMonthUnderCertificatesOfDecades)
{
    constexpr int64_t DAY = 86400;
    pkgsign::Check check;
    for (const bool isCa : {true, false}) {
        pkgsign::SeenCertificate certificate;
        certificate.notBefore = 0;
        certificate.notAfter = 12000 * DAY;
        certificate.isCa = isCa;
        check.certificates.push_back(certificate);
        check.rejected.emplace_back();
        check.issuers.push_back(pkgsign::NONE);
    }
    pkgsign::SeenCrl crl;
    crl.thisUpdate = 6000 * DAY;
    crl.nextUpdate = 6030 * DAY;
    check.crls.push_back(crl);
    check.time = 6010 * DAY;
    std::string html = pkgsign::HtmlReport(check);
    EXPECT_GE(CrlBar(html, "width"), 9.0) << html;
    EXPECT_TRUE(Contains(html, "reaches beyond the picture"));

    check.time = 6040 * DAY; // the CRL has ended: a gap is between it and the token's time
    html = pkgsign::HtmlReport(check);
    const double end = CrlBar(html, "x") + CrlBar(html, "width");
    const size_t token = html.rfind("<rect x=\"", html.find("fill=\"var(--now)\""));
    EXPECT_GE(std::stod(html.substr(token + 9)), end + 2.0) << html;
}

pkgsign::SeenCertificate CertificateOf(const std::string &subject, int64_t notBefore, int64_t notAfter)
{
    pkgsign::SeenCertificate certificate;
    certificate.subject = subject;
    certificate.notBefore = notBefore;
    certificate.notAfter = notAfter;
    return certificate;
}

TEST(CheckPage, DrawsNoTimeThatHasNoFourDigitsForItsYear)
{
    constexpr int64_t FIRST = -30610224000; // of the year 1000
    constexpr int64_t LAST = 253402300799;  // of 9999
    pkgsign::Check check;
    check.certificates.push_back(CertificateOf("a", FIRST, LAST));
    check.rejected.emplace_back();
    check.issuers.push_back(pkgsign::NONE);
    check.time = LAST;
    const std::string html = pkgsign::HtmlReport(check);
    EXPECT_TRUE(Contains(html, "\"From 1000-01-01T00:00:00Z to 9999-12-31T23:59:59Z\"")) << html;
    EXPECT_TRUE(Contains(html, "width=\"2\" transform=\"translate(-2)\" fill=\"var(--now)\"")) << "beyond the edge";
}

TEST(CheckPage, SetsTimesOffFromNamesThatAreWrittenFromTheRight)
{
    pkgsign::Check check;
    check.certificates.push_back(CertificateOf("\u05E9", 0, 1000000000));
    check.rejected.emplace_back();
    check.issuers.push_back(pkgsign::NONE);
    check.time = 500000000;
    check.notes.emplace_back("\u05E9 1970-01-01T00:00:00Z");
    const std::string html = pkgsign::HtmlReport(check);
    EXPECT_TRUE(Contains(html, "\u05E9 <bdi class=\"time\">1970-01-01T00:00:00Z</bdi>")) << html;
    EXPECT_TRUE(Contains(html, "the token&#39;s time, <bdi class=\"time\">1985-11-05T00:53:20Z</bdi>")) << html;
}

TEST(CheckPage, BreaksNoOptionAfterItsHyphens)
{
    EXPECT_EQ("<bdi>a (b <span class=\"option\">--renew</span>), <span class=\"option\">-&lt;</span> c-d -</bdi>",
              pkgsign::HtmlText("a (b --renew), -< c-d -"));
    const std::string tooLong = "-" + std::string(100, 'a');
    EXPECT_EQ("<bdi>" + tooLong + "</bdi>", pkgsign::HtmlText(tooLong));
}

TEST(CheckPage, DrawsFirstWhatThePackageIsJudgedBy)
{
    pkgsign::Check check;
    for (const char *const subject : {"root", "further", "ca", "signer", "authority"}) {
        check.certificates.push_back(CertificateOf(subject, 0, 1000000000));
        check.rejected.emplace_back();
        check.issuers.push_back(pkgsign::NONE);
    }
    check.issuers[3] = 2;
    check.issuers[4] = 2;
    check.issuers[2] = 0;
    check.issuers[0] = 0;
    check.signerPath.certificate = 3;
    check.authorityPath.certificate = 4;
    for (const char *const issuer : {"outranked", "taken"}) {
        pkgsign::SeenCrl crl;
        crl.issuer = issuer;
        crl.thisUpdate = 0;
        crl.nextUpdate = 1000000000;
        check.crls.push_back(crl);
    }
    pkgsign::Judgement judgement;
    judgement.certificate = 3;
    judgement.crls.resize(2);
    judgement.crls[0].crl = 0;
    judgement.crls[0].use = pkgsign::CrlUse::Outranked;
    judgement.crls[1].crl = 1;
    judgement.crls[1].use = pkgsign::CrlUse::Taken;
    check.signerPath.judgements.push_back(judgement);
    const std::string picture = pkgsign::Picture(check);
    size_t place = 0;
    for (const char *const name : {"signer", "ca", "root", "authority", "further", "taken", "outranked"}) {
        place = picture.find(name + std::string("&#39;</bdi>"), place);
        ASSERT_NE(std::string::npos, place) << name << "\n" << picture;
    }
}

TEST(CheckReport, CountsWhoBearsAnotherNameWhateverElseSpeaksAgainstThem)
{
    pkgsign::Check check;
    for (const char *const subject : {"signer", "another", "ca"}) {
        check.certificates.push_back(CertificateOf(subject, 0, 1));
        check.rejected.emplace_back();
        check.issuers.push_back(pkgsign::NONE);
    }
    check.certificates[0].issuer = "ca";
    check.rejected[0] = {{1, "it is no CA certificate"}, {2, "it is no CA certificate"}};
    const std::string text = pkgsign::TextReport(check);
    EXPECT_TRUE(Contains(text, "rejected         1 certificate of another name")) << text;
    EXPECT_TRUE(Contains(text, "rejected         'ca' (serial ): it is no CA certificate")) << text;
    EXPECT_FALSE(Contains(text, "'another'")) << text;
}

TEST(CheckReport, TicksNoEntryWhoseDateCannotBeRead)
{
    pkgsign::Check check;
    check.certificates.emplace_back();
    check.rejected.emplace_back();
    check.issuers.push_back(pkgsign::NONE);
    pkgsign::Judgement judgement;
    judgement.certificate = 0;
    judgement.depth = 1;
    judgement.status = SIGKIT_ERR_TIME_FORMAT;
    judgement.ruling = pkgsign::Ruling::Entry;
    judgement.entries.push_back({0, std::nullopt, true, false});
    check.signerPath = {0, SIGKIT_ERR_TIME_FORMAT, {judgement}};
    const std::string text = pkgsign::TextReport(check);
    EXPECT_FALSE(Contains(text, "does not revoke")) << text;
    EXPECT_TRUE(Contains(text, "\n    not readable     entry of (a time that cannot be read), no reason")) << text;
}

TEST(CheckPage, KeepsLettersOfAllLanguages)
{
    const std::string text = "Prüfstelle 検証 \U0001F512";
    EXPECT_EQ(text, pkgsign::Printable(text));
    EXPECT_EQ("\\xC0\\xAF\\xED\\xA0\\x80\\xF4\\x90\\x80\\x80\\xE2\\x82",
              pkgsign::Printable("\xC0\xAF\xED\xA0\x80"
                                 "\xF4\x90\x80\x80\xE2\x82"));
}

TEST(CheckPage, StandsForItself)
{
    const TemporaryDirectory directory;
    const std::string page = directory.File("page.html");
    EXPECT_EQ(0, Pkgsign(With(CheckWith("", ""), {"--html", page})).status);
    const std::string html = ReadFile(page);
    for (const char *const part : {"<!DOCTYPE html>", "prefers-color-scheme: dark", "@media print", "Time line", "<svg",
                                   "ends first", "Steps, in the order of the verification", "</html>"}) {
        EXPECT_TRUE(Contains(html, part)) << part;
    }
    for (const char *const part : {"<script", "http", "url(", "@import", "src="}) {
        EXPECT_FALSE(Contains(html, part)) << part;
    }
}

// ---- A folder -------------------------------------------------------------------------------------------------------

class CheckInFolder : public InFolder
{
};

TEST_F(CheckInFolder, TakesTheRootOfThePkiFolder)
{
    ExpectDone(Run({"crl", "--out", Path("crls")}));
    Write("content", "content\n");
    ExpectDone(Run({"sign", Path("content"), "--out", Path("message"), "--crl", Path("crls")}));
    const Outcome outcome = Run({"check", Path("content"), "--crl", Path("crls"), "--signature", Path("message")});
    EXPECT_EQ(0, outcome.status) << outcome.out << outcome.errors;
    EXPECT_TRUE(Contains(outcome.out, ": authentic (verify_tool ends with 0)\n"));
}

} // namespace
