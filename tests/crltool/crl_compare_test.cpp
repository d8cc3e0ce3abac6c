// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// What crl_compare says, and to whom.
#include "tests/crltool/compare_fixture.h"
#include "tests/support/hostile_environment.h"

namespace
{

// A CRL file with so many CA certificates, one after the other, and the CRLs of root and issuing CA.
forge::Bytes FileOfCertificates(int count)
{
    std::vector<forge::Bytes> parts = {AllParties().issuingCa.certificate, GoodCrls()};
    for (int i = 1; i < count; ++i) {
        parts.push_back(CaCertificate("CA " + std::to_string(i)));
    }
    return Join(parts);
}

// A CRL file with so many PEM blocks: the root's CRL last, and before it CAs, each with its CRL behind it.
forge::Bytes FileOfBlocks(int count)
{
    std::vector<forge::Bytes> blocks;
    for (int i = 1; i < count; i += 2) {
        const Party ca = Certify(CertificateRequest("CA " + std::to_string(i), &AllParties().root));
        blocks.push_back(Pem(forge::LABEL_CERTIFICATE, ca.certificate));
        blocks.push_back(Pem(forge::LABEL_CRL, MakeCrl(CrlRequest(ca))));
    }
    blocks.resize(static_cast<size_t>(count) - 1);
    blocks.push_back(Pem(forge::LABEL_CRL, MakeCrl(CrlRequest(AllParties().root))));
    return Join(blocks);
}

} // namespace

TEST_F(Compare, SaysWhichFileIsNewer)
{
    const std::string older = WriteCrls("older", 0);
    const std::string newer = WriteCrls("newer", 60);
    ProcessResult result = Run({"--root", Root(), newer, older});
    EXPECT_EQ(0, result.exitStatus) << result.errors;
    EXPECT_TRUE(EndsWith(result.output, "\n" + newer + " is newer than " + older + ".\n")) << result.output;
    result = Run({"--root", Root(), older, newer});
    EXPECT_EQ(1, result.exitStatus);
    EXPECT_TRUE(EndsWith(result.output, "\n" + newer + " is newer than " + older + ".\n"));
    result = Run({"--root", Root(), older, WriteCrls("same", 0)});
    EXPECT_EQ(0, result.exitStatus);
    EXPECT_TRUE(EndsWith(result.output, " are equally new.\n"));
    result = Run({"--root", Root(), WriteCrls("one", 60, 0), WriteCrls("other", 0, 60)});
    EXPECT_EQ(2, result.exitStatus);
    EXPECT_TRUE(EndsWith(result.output, " cannot be compared: each file is newer than the other for some issuer.\n"));
}

TEST_F(Compare, PrintsATableOfEachFile)
{
    forge::CrlRequest root = CrlRequest(AllParties().root);
    forge::RevokedCertificate entry;
    entry.serialNumber = {7};
    root.revoked = {entry};
    const std::string file = Write("file", Join({AllParties().issuingCa.certificate, MakeCrl(root)}));
    const ProcessResult result = Run({"--root", Root(), file, file});
    EXPECT_TRUE(Contains(result.output, file + "\n"
                                               "  issuer               thisUpdate            nextUpdate            "
                                               "verified  revoked\n"
                                               "  C=XX,O=Test,CN=Root  2021-12-22T00:00:00Z  2022-01-11T00:00:00Z  "
                                               "yes       1\n"))
        << result.output;
}

TEST_F(Compare, PrintsTheSameAsJson)
{
    const std::string older = WriteCrls("older", 0);
    const std::string newer = WriteCrls("newer", 60);
    const ProcessResult result = Run({"--json", "--root", Root(), older, newer});
    EXPECT_EQ(1, result.exitStatus);
    EXPECT_EQ("", result.errors);
    const Json json(result.output);
    EXPECT_EQ("second_newer", json.Get("json['result']"));
    EXPECT_EQ(newer + " is newer than " + older + ".", json.Get("json['verdict']"));
    EXPECT_EQ("[]", json.Get("json['warnings']"));
    EXPECT_EQ("2", json.Get("len(json['files'])"));
    EXPECT_EQ(newer, json.Get("json['files'][1]['path']"));
    forge::Bytes serial;
    ASSERT_TRUE(forge::GetSerialNumber(AllParties().root.certificate, &serial).ok);
    ASSERT_EQ(1u, serial.size());
    char digits[3] = {};
    (void)snprintf(digits, sizeof(digits), "%02X", static_cast<unsigned>(serial[0]));
    EXPECT_EQ("{'issuer': 'C=XX,O=Test,CN=Root', 'thisUpdate': '2021-12-22T00:01:00Z', "
              "'nextUpdate': '2022-01-11T00:00:00Z', 'verified': True, 'issuerSerial': '" +
                  std::string(digits) + "', 'revoked': 0}",
              json.Get("json['files'][1]['crls'][0]"));
}

TEST_F(Compare, ReadsPemAsWell)
{
    const std::string root = Write("root.pem", Pem(forge::LABEL_CERTIFICATE, AllParties().root.certificate));
    const std::string pem = Write("file.pem", Join({Pem(forge::LABEL_CERTIFICATE, AllParties().issuingCa.certificate),
                                                    Pem(forge::LABEL_CRL, MakeCrl(CrlRequest(AllParties().root)))}));
    EXPECT_EQ(0, Run({"--root", root, pem, pem}).exitStatus);
}

TEST_F(Compare, ACrlThatIsNotTrustedCannotBeCompared)
{
    const std::string good = WriteCrls("good", 0);
    const std::string strange =
        Write("strange", Join({AllParties().issuingCa.certificate, MakeCrl(CrlRequest(AllParties().otherRoot))}));
    const ProcessResult result = Run({"--root", Root(), good, strange});
    EXPECT_EQ(2, result.exitStatus);
    EXPECT_TRUE(Contains(result.output, "  no        0\n"));
    EXPECT_TRUE(EndsWith(result.output, "a CRL cannot be read, or its issuer is not trusted.\n"));
}

TEST_F(Compare, UnusableFilesAreNamed)
{
    const std::string good = WriteCrls("good", 0);
    const struct {
        std::string path;
        const char *reason;
    } rows[] = {
        {directory.File("missing"), "the file cannot be opened (88000101)"},
        {Write("empty", {}), "the file is empty, or its size is unknown (88000104)"},
        {Write("large", forge::Bytes(2000001, 0x30)), "the file is larger than 2000000 octets (88000106)"},
        {Write("garbage", forge::Bytes(100, 0x30)),
         "the file does not hold 1 to 16 CRLs with certificates of their issuers"},
        {Write("crl", MakeCrl(CrlRequest(AllParties().root))),
         "the file does not hold 1 to 16 CRLs with certificates of their issuers"},
        {directory.path, "the file is larger than 2000000 octets (88000106)"},
        {"", "the path is empty"},
    };
    for (const auto &row : rows) {
        const ProcessResult result = Run({"--root", Root(), good, row.path});
        EXPECT_EQ(3, result.exitStatus) << row.path;
        EXPECT_EQ("", result.output);
        EXPECT_TRUE(EndsWith(result.errors, "crl_compare: " + row.path + ": " + row.reason + "\n")) << result.errors;
    }
    const ProcessResult result = Run({"--root", good + "x", good, good});
    EXPECT_EQ(3, result.exitStatus);
    EXPECT_TRUE(EndsWith(result.errors, "crl_compare: " + good + "x: the file cannot be opened (88000101)\n"));
    EXPECT_TRUE(EndsWith(Run({"--root", Write("r", MakeCrl(CrlRequest(AllParties().root))), good, good}).errors,
                         ": the file holds no certificate\n"));
}

TEST_F(Compare, ControlOctetsDoNotReachTheTerminal)
{
    const std::string file = WriteCrls("a\x1b[2J\nb", 0);
    const ProcessResult result = Run({"--root", Root(), file, file});
    EXPECT_EQ(0, result.exitStatus);
    EXPECT_FALSE(Contains(result.output, "\x1b"));
    EXPECT_TRUE(Contains(result.output, "a\\x1B[2J\\x0Ab"));
    const ProcessResult missing = Run({"--root", Root(), directory.File("m\x1b"), file});
    EXPECT_TRUE(Contains(missing.errors, "m\\x1B: the file cannot be opened (88000101)"));
}

TEST_F(Compare, ControlsBeyondAsciiDoNotReachTheTerminal)
{
    const std::string letters = "\xc3\x84\xe2\x82\xac\xf0\x9f\x98\x80";
    forge::CertificateRequest request = CertificateRequest("Odd", &AllParties().root);
    request.subject = {{"CN", "\xc2\x9b"
                              "1m" +
                                  letters}};
    const Party odd = Certify(request);
    // A control alone, in UTF-8, in a longer form than it needs, and behind a part of a character; then letters.
    const std::string name = "\x9b"
                             "1 \xc2\x85"
                             "2 \xe0\x82\x9b"
                             "3 \xe2\x9b"
                             "4 " +
                             letters + "\xf0\x9f\x98";
    const std::string escaped = "\\x9B1 \\xC2\\x852 \\xE0\\x82\\x9B3 \\xE2\\x9B4 " + letters + "\\xF0\\x9F\\x98";
    const std::string file = Write(name, Join({odd.certificate, MakeCrl(CrlRequest(odd))}));
    const ProcessResult text = Run({"--root", Root(), file, file});
    EXPECT_TRUE(Contains(text.output, "  CN=\\xC2\\x9B1m" + letters + "  ")) << text.output;
    EXPECT_TRUE(Contains(text.output, "/" + escaped + "\n")) << text.output;
    EXPECT_TRUE(Contains(text.output, escaped + " cannot be compared")) << text.output;
    EXPECT_TRUE(Contains(Run({"--root", Root(), file + "m", file}).errors, escaped + "m: the file cannot"));
    EXPECT_TRUE(Contains(Run({"--" + name}).errors, "--" + escaped));
    const ProcessResult json = Run({"--json", "--root", Root(), file, file});
    for (const char octet : json.output) {
        EXPECT_TRUE(octet == '\n' || (octet >= 0x20 && octet < 0x7f)) << json.output;
    }
    EXPECT_EQ("CN=\xc2\x9b"
              "1m" +
                  letters,
              Json(json.output).Get("json['files'][0]['crls'][0]['issuer']"));
}

// A CRL that decodes and cannot be summarised.
static forge::Bytes TimelessCrl()
{
    forge::CrlRequest timeless = CrlRequest(AllParties().issuingCa);
    timeless.omitNextUpdate = true;
    timeless.revoked = {forge::RevokedCertificate()}; // stands where nextUpdate should
    return MakeCrl(timeless);
}

TEST_F(Compare, ACrlThatCannotBeSummarisedIsARefusalWhereverItStands)
{
    const forge::Bytes &ca = AllParties().issuingCa.certificate;
    const forge::Bytes root = MakeCrl(CrlRequest(AllParties().root));
    forge::CrlRequest request = CrlRequest(AllParties().root);
    request.thisUpdate += 60;
    const std::string upgrade = Write("upgrade", Join({ca, MakeCrl(request)}));
    const std::string first = Write("first", Join({ca, TimelessCrl(), root}));
    const std::string last = Write("last", Join({ca, root, TimelessCrl()}));
    const std::string alone = Write("alone", Join({ca, TimelessCrl()}));
    // Without the device's CRL of the CA the upgrade would drop nothing.
    ExpectRefused(first, upgrade, "CRL 1 of " + first + " cannot be read");
    ExpectRefused(last, upgrade, "CRL 2 of " + last + " cannot be read");
    ExpectRefused(upgrade, alone, "CRL 1 of " + alone + " cannot be read");
}

TEST_F(Compare, EveryDecodedCrlHasARow)
{
    const forge::Bytes &ca = AllParties().issuingCa.certificate;
    const forge::Bytes root = MakeCrl(CrlRequest(AllParties().root));
    const std::string last = Write("last", Join({ca, root, TimelessCrl()}));
    const std::string first = Write("first", Join({ca, TimelessCrl(), root}));
    const ProcessResult text = Run({"--root", Root(), last, first});
    EXPECT_TRUE(Contains(text.output, "yes       0\n  (unreadable)\n")) << text.output;
    EXPECT_TRUE(Contains(text.output, "revoked\n  (unreadable)\n")) << text.output;
    const Json json(Run({"--json", "--root", Root(), last, first}).output);
    EXPECT_EQ("[False, True]", json.Get("[crl is None for crl in json['files'][0]['crls']]"));
    EXPECT_EQ("[True, False]", json.Get("[crl is None for crl in json['files'][1]['crls']]"));
}

TEST_F(Compare, AnIssuerWhoseNameCannotBePrintedIsARefusal)
{
    forge::CertificateRequest request = CertificateRequest("Odd", &AllParties().root);
    request.subject = {{"2.5.4.5", "1"}};
    const Party odd = Certify(request);
    const std::string good = WriteCrls("good", 0);
    const forge::Bytes crls = Join({MakeCrl(CrlRequest(AllParties().root)), MakeCrl(CrlRequest(odd))});
    const std::string nameless = Write("nameless", Join({odd.certificate, crls}));
    const std::string reason = "the issuer's name of CRL 2 of " + nameless + " cannot be printed";
    ExpectRefused(good, nameless, reason);
    ExpectRefused(nameless, nameless, reason);
    EXPECT_TRUE(Contains(Run({"--root", Root(), good, nameless}).output, "\n  (unprintable)"));
}

TEST_F(Compare, ACrlThatWasSkippedIsARefusal)
{
    const forge::Bytes ca = Pem(forge::LABEL_CERTIFICATE, AllParties().issuingCa.certificate);
    const forge::Bytes rootCrl = Pem(forge::LABEL_CRL, MakeCrl(CrlRequest(AllParties().root)));
    forge::CrlRequest request = CrlRequest(AllParties().root);
    request.thisUpdate += 60;
    const forge::Bytes newerRootCrl = Pem(forge::LABEL_CRL, MakeCrl(request));
    const forge::Bytes damaged = Octets("-----BEGIN X509 CRL-----\nQQ==\n-----END X509 CRL-----\n");
    const std::string device = Write("device", Join({ca, rootCrl, damaged}));
    const std::string upgrade = Write("upgrade", Join({ca, newerRootCrl}));
    // Without the device's CRL of the CA the upgrade would drop nothing.
    ExpectRefused(device, upgrade,
                  "X509 CRL blocks of " + device +
                      " were skipped (1): they do not decode, or there is no space for them");
}

TEST_F(Compare, AFileThatLeavesNoSpaceForThePackagesCertificatesIsARefusal)
{
    const forge::Bytes most = FileOfCertificates(11);
    const std::string fits = Write("fits", most);
    EXPECT_EQ(0, Run({"--root", Root(), fits, fits}).exitStatus);
    EXPECT_EQ(SIGKIT_OK, VerifyFullPackage(most));

    const forge::Bytes more = FileOfCertificates(12);
    const std::string large = Write("large", more);
    EXPECT_EQ(SIGKIT_ERR_LIST_FULL, VerifyFullPackage(more));
    ExpectRefused(fits, large,
                  large + " has 12 CA certificates, more than 11, which leaves the verifier no space for a package");
}

TEST_F(Compare, AFileThatLeavesNoSpaceGivesWayToANewerOneThatDoes)
{
    forge::CrlRequest request = CrlRequest(AllParties().root);
    request.thisUpdate += 60;
    forge::CrlRequest caRequest = CrlRequest(AllParties().issuingCa);
    caRequest.thisUpdate += 60;
    const std::string large = Write("large", FileOfCertificates(12));
    const std::string newer =
        Write("newer", Join({AllParties().issuingCa.certificate, MakeCrl(request), MakeCrl(caRequest)}));
    const ProcessResult result = Run({"--root", Root(), large, newer});
    EXPECT_EQ(1, result.exitStatus) << result.output;
    EXPECT_EQ(0, Run({"--root", Root(), newer, large}).exitStatus);
}

TEST_F(Compare, AFileThatLeavesNoSpaceForThePackagesImageIsARefusal)
{
    const forge::Bytes &ca = AllParties().issuingCa.certificate;
    const forge::Bytes caAndCrl =
        Join({Pem(forge::LABEL_CERTIFICATE, ca), Pem(forge::LABEL_CRL, MakeCrl(CrlRequest(AllParties().issuingCa)))});
    const forge::Bytes most = Join({caAndCrl, FileOfBlocks(12)});
    const std::string fits = Write("fits", most);
    EXPECT_EQ(0, Run({"--root", Root(), fits, fits}).exitStatus);
    EXPECT_EQ(SIGKIT_OK, VerifyFullPackage(most));

    const forge::Bytes more = Join({caAndCrl, FileOfBlocks(13)});
    EXPECT_EQ(SIGKIT_ERR_CMS_DECODE, VerifyFullPackage(more));
    for (const forge::Bytes &blocks : {more, Join({caAndCrl, FileOfBlocks(14)}), Join({caAndCrl, FileOfBlocks(15)})}) {
        const std::string large = Write("large", blocks);
        ExpectRefused(fits, large,
                      large +
                          " has more than 14 PEM blocks of CRLs and certificates, which leaves the verifier no space "
                          "for a package");
    }
}

TEST_F(Compare, ErrorsAreJsonToo)
{
    const std::string good = WriteCrls("good", 0);
    const std::string missing = directory.File("missing");
    const struct {
        Words arguments;
        std::string verdict;
    } rows[] = {
        {{"--json", "--root", Root(), good, missing}, missing + ": the file cannot be opened (88000101)"},
        {{"--json", "--root", missing, good, good}, missing + ": the file cannot be opened (88000101)"},
        {{"--json", good, good}, "wants --root ROOT and two files"},
        {{"--unknown", "--json"}, "wrong option --unknown"},
        {{"a", "-xy", "--json"}, "wrong option -x"},
        {{"--json", "--root"}, "wrong option --root"},
    };
    for (const auto &row : rows) {
        const ProcessResult result = Run(row.arguments);
        EXPECT_EQ(3, result.exitStatus);
        const Json json(result.output);
        EXPECT_EQ("error", json.Get("json['result']"));
        EXPECT_EQ(row.verdict, json.Get("json['verdict']"));
        EXPECT_TRUE(Contains(result.errors, "crl_compare: " + row.verdict + "\n")) << result.errors;
    }
}

TEST_F(Compare, EveryMessageBeginsWithTheNameOfTheProgram)
{
    const std::string file = WriteCrls("file", 0);
    const std::string program = std::string("'") + CRL_COMPARE + "' ";
    const std::string files = " " + file + " " + file;
    const Words rows = {"--unknown",
                        "-x",
                        "--root",
                        "a b",
                        "--json=x",
                        "--root x" + files,
                        "--root " + Root() + files + " >/dev/full",
                        "--json --unknown >&-"};
    for (const std::string &arguments : rows) {
        std::string lines = RunProcess({"/bin/sh", "-c", program + arguments}).errors;
        EXPECT_NE("", lines) << arguments;
        while (!lines.empty()) {
            // The log of the platform comes as well where no syslog takes it.
            const bool isLibrarys = lines.rfind("[ERROR]", 0) == 0 || lines.rfind("[WARNING]", 0) == 0 ||
                                    lines.rfind("ERROR 1014 ", 0) == 0 || lines.rfind("WARNING 1014 ", 0) == 0;
            EXPECT_TRUE(isLibrarys || lines.rfind("crl_compare: ", 0) == 0) << lines;
            lines.erase(0, lines.find('\n') + 1);
        }
    }
}

TEST_F(Compare, LoadsNoModuleOrConfigurationOfTheEnvironment)
{
    const std::string file = WriteCrls("file", 0);
    const HostileEnvironment environment;
    EXPECT_EQ(0, RunProcess({CRL_COMPARE, "--root", Root(), file, file}, environment.settings).exitStatus);
    EXPECT_FALSE(environment.LeftMark());
    EXPECT_TRUE(environment.ReachesOpenssl()) << "the module would leave no mark anywhere";
}

TEST_F(Compare, AnAnswerThatCannotBeWrittenIsAnError)
{
    const std::string file = WriteCrls("file", 0);
    const std::string command = std::string(CRL_COMPARE) + " --root " + Root() + " " + file + " " + file;
    for (const char *const output : {" >/dev/full", " >&-"}) {
        const ProcessResult result = RunProcess({"/bin/sh", "-c", command + output});
        EXPECT_EQ(3, result.exitStatus) << output;
    }
    const ProcessResult result = RunProcess({"/bin/sh", "-c", "ulimit -f 0\n" + command + " >" + file + "-answer"});
    EXPECT_EQ(3, result.exitStatus) << "a file that may not grow";
    const std::string toNobody = "(sleep 0.2; " + command + "; echo \"ends with $?\" >&2) | :";
    EXPECT_TRUE(EndsWith(RunProcess({"/bin/sh", "-c", toNobody}).errors, "ends with 3\n")) << "a pipe without a reader";
}

TEST_F(Compare, WrongUsageIsReportedAndHelpIsGiven)
{
    for (const Words &words : {Words{}, Words{"a", "b"}, Words{"--root", "r", "a"}, Words{"--root", "r", "a", "b", "c"},
                               Words{"--unknown"}, Words{"--root"}}) {
        const ProcessResult result = Run(words);
        EXPECT_EQ(3, result.exitStatus);
        EXPECT_EQ("", result.output);
        EXPECT_TRUE(EndsWith(result.errors, "Try 'crl_compare --help'.\n"));
    }
    const ProcessResult help = Run({"--help"});
    EXPECT_EQ(0, help.exitStatus);
    EXPECT_EQ(0u, help.output.find("Usage: crl_compare"));
    EXPECT_TRUE(Contains(help.output, "Exit status: 0"));
    EXPECT_EQ("crl_compare " PROJECT_VERSION "\n", Run({"--version"}).output);
}
