// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// CRL files that `openssl ca -gencrl` has made.
#include <gtest/gtest.h>

#include "tests/forge/forge.h"
#include "tests/support/process.h"

namespace
{

const char CONFIGURATION[] = "[ca]\n"
                             "default_ca = one\n"
                             "[one]\n"
                             "database = index\n"
                             "serial = serial\n"
                             "crlnumber = crlnumber\n"
                             "new_certs_dir = .\n"
                             "default_md = sha256\n"
                             "default_days = 100\n"
                             "default_crl_days = 30\n"
                             "policy = any\n"
                             "crl_extensions = crl\n"
                             "[any]\n"
                             "commonName = supplied\n"
                             "[crl]\n"
                             "authorityKeyIdentifier = keyid\n"
                             "[v3]\n"
                             "basicConstraints = critical,CA:TRUE\n"
                             "keyUsage = critical,keyCertSign,cRLSign\n";

// A root and an intermediate CA in directories of their own, made with the command line alone.
const char MAKE_PKI[] = R"(set -e
for ca in root sub; do
  mkdir $ca; cp configuration $ca/; : > $ca/index; echo 1000 > $ca/serial; echo 01 > $ca/crlnumber
  openssl req -new -newkey rsa:2048 -nodes -keyout $ca/key -out $ca/request -subj /CN=$ca 2>/dev/null
done
openssl x509 -req -in root/request -signkey root/key -extfile configuration -extensions v3 -days 200 \
  -sha256 -out root/cert 2>/dev/null
(cd root && openssl ca -batch -config configuration -extensions v3 -cert cert -keyfile key -in ../sub/request \
  -out ../sub/cert -notext -startdate 20240101000000Z 2>/dev/null)
)";

struct OpensslCrls : testing::Test {
    TemporaryDirectory directory;

    void SetUp() override
    {
        const std::string text = CONFIGURATION;
        ASSERT_TRUE(forge::WriteFile(directory.File("configuration"), forge::Bytes(text.begin(), text.end())).ok);
        Shell(MAKE_PKI);
    }

    void Shell(const std::string &script)
    {
        const ProcessResult result = RunProcess({"/bin/sh", "-c", "cd " + directory.path + " && " + script});
        ASSERT_EQ(0, result.exitStatus) << result.output << result.errors;
    }

    // Makes the CRL of a CA, valid from a time on.
    void MakeCrl(const std::string &ca, const std::string &from, const std::string &out)
    {
        Shell("cd " + ca + " && openssl ca -config configuration -cert cert -keyfile key -gencrl -crl_lastupdate " +
              from + " -crl_nextupdate 20991231000000Z -out ../" + out + " 2>/dev/null");
    }

    int Compare(const std::string &first, const std::string &second)
    {
        const ProcessResult result = RunProcess(
            {CRL_COMPARE, "--root", directory.File("root/cert"), directory.File(first), directory.File(second)});
        output = result.output + result.errors;
        return result.exitStatus;
    }

    std::string output;
};

} // namespace

TEST_F(OpensslCrls, AreComparedByTheirTimesAndWhatTheyDrop)
{
    const std::string now = "$(date -u -d '+1 hour' +%Y%m%d%H%M%SZ)";
    const std::string later = "$(date -u -d '+2 hours' +%Y%m%d%H%M%SZ)";
    MakeCrl("root", now, "root1");
    MakeCrl("sub", now, "sub1");
    MakeCrl("root", later, "root2");
    MakeCrl("sub", later, "sub2");
    Shell("cat sub/cert root1 sub1 > older; cat sub/cert root2 sub2 > newer; cat sub/cert root2 > dropped");
    EXPECT_EQ(1, Compare("older", "newer")) << output;
    EXPECT_EQ(0, Compare("newer", "older")) << output;
    EXPECT_EQ(0, Compare("newer", "newer")) << output;
    EXPECT_EQ(2, Compare("older", "dropped")) << output;
    EXPECT_NE(std::string::npos, output.find("the newer file drops an issuer that it does not revoke"));

    Shell("cd root && openssl ca -config configuration -cert cert -keyfile key -revoke ../sub/cert 2>/dev/null");
    MakeCrl("root", later, "root3");
    Shell("cat sub/cert root3 > revoked");
    EXPECT_EQ(1, Compare("older", "revoked")) << output;
    EXPECT_EQ(0, Compare("revoked", "older")) << output;
}
