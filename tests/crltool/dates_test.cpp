// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Which dates of CRLs are pointed out.
#include "tests/crltool/compare_fixture.h"

namespace
{

constexpr int64_t QUARTER = 91 * PACKAGE_DAY;
constexpr int64_t YEAR = 365 * PACKAGE_DAY;
constexpr int64_t OVERLAP = 30 * PACKAGE_DAY;

struct Dates : Compare {
    // A CRL that is signed some time after those of the parties, for some time.
    static forge::Bytes Crl(const Party &issuer, int64_t later, int64_t lifetime)
    {
        forge::CrlRequest request = CrlRequest(issuer);
        request.thisUpdate = PACKAGE_TIME - 10 * PACKAGE_DAY + later;
        request.nextUpdate = request.thisUpdate + lifetime;
        return MakeCrl(request);
    }

    static forge::Bytes RootCrl(int64_t later, int64_t lifetime)
    {
        return Crl(AllParties().root, later, lifetime);
    }

    static forge::Bytes CaCrl(int64_t later, int64_t lifetime = QUARTER + OVERLAP)
    {
        return Crl(AllParties().issuingCa, later, lifetime);
    }

    std::string File(const std::string &name, const std::vector<forge::Bytes> &crls)
    {
        return Write(name, Join({AllParties().issuingCa.certificate, Join(crls)}));
    }

    std::string Warnings(const std::string &first, const std::string &second)
    {
        const ProcessResult result = Run({"--root", Root(), first, second});
        EXPECT_TRUE(result.exitStatus == 0 || result.exitStatus == 1) << result.output;
        const size_t begin = result.output.find("\nWarning: ");
        const size_t end = result.output.rfind('\n', result.output.size() - 2);
        return begin == std::string::npos ? "" : result.output.substr(begin + 1, end - begin);
    }

    void ExpectSilence(const std::string &what, const std::vector<forge::Bytes> &first,
                       const std::vector<forge::Bytes> &second)
    {
        const std::string device = File("device", first);
        const std::string upgrade = File("upgrade", second);
        EXPECT_EQ("", Warnings(device, upgrade)) << what;
        EXPECT_EQ("", Warnings(upgrade, device)) << what;
    }
};

} // namespace

TEST_F(Dates, OfHonestReleasesAreNotPointedOut)
{
    const int64_t term = QUARTER + OVERLAP;
    const std::vector<forge::Bytes> device = {RootCrl(0, term), CaCrl(0)};
    ExpectSilence("the same", device, device);
    ExpectSilence("both signed on one day", device, {RootCrl(QUARTER, term), CaCrl(QUARTER)});
    ExpectSilence("within a day, for a device that was switched off for long", device,
                  {RootCrl(2 * term, term), CaCrl(2 * term + PACKAGE_DAY)});
    ExpectSilence("the root's once a year", {RootCrl(0, YEAR), CaCrl(0)}, {RootCrl(0, YEAR), CaCrl(QUARTER)});
    ExpectSilence("the last that is due", {RootCrl(0, YEAR), CaCrl(0)}, {RootCrl(0, YEAR), CaCrl(term + PACKAGE_DAY)});
    ExpectSilence("the root's alone", {RootCrl(0, term)}, {RootCrl(QUARTER, term)});
    const Party next = Certify(CertificateRequest("Next CA", &AllParties().root));
    ExpectSilence("the first of a new CA", {RootCrl(0, YEAR), CaCrl(0)},
                  {RootCrl(0, YEAR), CaCrl(QUARTER), Crl(next, QUARTER + 2 * PACKAGE_DAY, term), next.certificate});
}

TEST_F(Dates, FarAheadArePointedOut)
{
    const std::string device = File("device", {RootCrl(0, YEAR), CaCrl(0)});
    const std::string ahead = File("ahead", {RootCrl(0, YEAR), CaCrl(200 * PACKAGE_DAY)});
    const std::string warning = "the CRL of C=XX,O=Test,CN=CA in " + ahead +
                                " is of 2022-07-10T00:00:00Z, more than a day after every other one of its file, and "
                                "was due by 2022-04-22T00:00:00Z: is that date right?";
    for (const Words &files : {Words{device, ahead}, Words{ahead, device}}) {
        const ProcessResult result = Run({"--root", Root(), files[0], files[1]});
        EXPECT_EQ(files[0] == device ? 1 : 0, result.exitStatus) << "it is only pointed out";
        EXPECT_TRUE(Contains(result.output, "\nWarning: " + warning + "\n")) << result.output;
        const Json json(Run({"--json", "--root", Root(), files[0], files[1]}).output);
        EXPECT_EQ(warning, json.Get("json['warnings'][0]"));
        EXPECT_EQ("1", json.Get("len(json['warnings'])"));
    }
}

TEST_F(Dates, FarAheadArePointedOutInAFileThatWasTakenToo)
{
    const std::string ahead = File("ahead", {RootCrl(250 * PACKAGE_DAY, YEAR), CaCrl(0)});
    const std::string due = "was due by 2022-04-22T00:00:00Z: is that date right?\n";
    const std::string twice = Warnings(ahead, ahead);
    EXPECT_TRUE(EndsWith(twice, due)) << "a copy explains nothing";
    const std::string honest = File("honest", {RootCrl(QUARTER, QUARTER + OVERLAP), CaCrl(QUARTER)});
    const ProcessResult result = Run({"--root", Root(), ahead, honest});
    EXPECT_EQ(2, result.exitStatus) << "each is newer for one of them";
    EXPECT_TRUE(Contains(result.output, "Warning: the CRL of C=XX,O=Test,CN=Root in " + ahead)) << result.output;
}

TEST_F(Dates, FarAheadBeginADayBehindTheOthersAndBehindTheEndOfTheirPredecessors)
{
    const int64_t due = QUARTER + OVERLAP;
    const std::string device = File("device", {RootCrl(0, YEAR), CaCrl(0)});
    const auto warnings = [&](int64_t root, int64_t ca) {
        return Warnings(device, File("upgrade", {RootCrl(root, YEAR), CaCrl(ca)}));
    };
    EXPECT_EQ("", warnings(0, due + PACKAGE_DAY));
    EXPECT_NE("", warnings(0, due + PACKAGE_DAY + 1));
    EXPECT_EQ("", warnings(due + 1, due + PACKAGE_DAY + 1)) << "signed within a day";
    EXPECT_NE("", warnings(due, due + PACKAGE_DAY + 1));
    // Of a CRL that the other file has not, or has the same of, none is due; but the others should not have ended.
    const auto copied = [&](int64_t later) {
        const std::string file = File("file", {RootCrl(later, YEAR), CaCrl(0)});
        return Warnings(file, file);
    };
    EXPECT_EQ("", copied(due + PACKAGE_DAY));
    EXPECT_NE("", copied(due + PACKAGE_DAY + 1));
}
