#include "support.h"

#include <sys/wait.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

namespace
{
ProgramResult RunProgram(const std::string &command)
{
    ProgramResult result;
    std::FILE *pipe = popen((command + " 2>&1").c_str(), "r");
    if (pipe == nullptr) {
        return result;
    }
    char piece[4096];
    size_t count = 0;
    while ((count = std::fread(piece, 1, sizeof(piece), pipe)) != 0) {
        result.output.append(piece, count);
    }
    const int status = pclose(pipe);
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return result;
}

} // namespace

PkgsignKey TestKey(const std::string &name, int bits)
{
    const std::string path = std::string(PKGSIGN_TEST_KEY_DIRECTORY) + "/" + name + "-" + std::to_string(bits) + ".key";
    PkgsignKey key;
    if (PkgsignReadPrivateKey(path, &key).ok) {
        return key;
    }
    PkgsignStatus status = PkgsignGenerateRsaKey(bits, &key);
    EXPECT_TRUE(status.ok) << status.reason;
    status = PkgsignWritePrivateKey(path, key);
    EXPECT_TRUE(status.ok) << status.reason;
    return key;
}

PkgsignPkiRequest TestPkiRequest()
{
    PkgsignPkiRequest request;
    request.rootKey = TestKey("root", 4096);
    request.issuingCaKey = TestKey("issuing-ca");
    request.signerKey = TestKey("signer");
    request.timestampKey = TestKey("timestamp");
    return request;
}

const PkgsignPki &TestPki()
{
    static const PkgsignPki pki = [] {
        PkgsignPki made;
        const PkgsignStatus status = PkgsignMakePki(TestPkiRequest(), &made);
        EXPECT_TRUE(status.ok) << status.reason;
        return made;
    }();
    return pki;
}

PkgsignBytes Octets(const std::string &text)
{
    return PkgsignBytes(text.begin(), text.end());
}

bool Contains(const PkgsignBytes &whole, const PkgsignBytes &part)
{
    return std::search(whole.begin(), whole.end(), part.begin(), part.end()) != whole.end();
}

DecodedCertificate DecodeCertificate(const PkgsignBytes &der)
{
    const unsigned char *cursor = der.data();
    DecodedCertificate decoded(d2i_X509(nullptr, &cursor, static_cast<long>(der.size())), X509_free);
    EXPECT_EQ(der.data() + der.size(), cursor) << "octets left over behind the certificate";
    return decoded;
}

bool IsSelfSigned(X509 *certificate)
{
    return X509_NAME_cmp(X509_get_subject_name(certificate), X509_get_issuer_name(certificate)) == 0 &&
           X509_verify(certificate, X509_get0_pubkey(certificate)) == 1;
}

ProgramResult RunOpenssl(const std::string &arguments)
{
    return RunProgram(std::string("'") + PKGSIGN_TEST_OPENSSL + "' " + arguments);
}

ProgramResult RunPkgsign(const std::string &arguments)
{
    return RunProgram(std::string("'") + PKGSIGN_TEST_TOOL + "' " + arguments);
}

void InDirectory::SetUp()
{
    std::string pattern = ::testing::TempDir() + "pkgsign-test-XXXXXX";
    ASSERT_NE(nullptr, mkdtemp(pattern.data()));
    directory = pattern;
    const std::string root = PkgsignArmour(PKGSIGN_LABEL_CERTIFICATE, TestPki().root.certificate);
    const std::string issuingCa = PkgsignArmour(PKGSIGN_LABEL_CERTIFICATE, TestPki().issuingCa.certificate);
    Save("root.pem", root);
    Save("issuing-ca.pem", issuingCa);
    Save("chain.pem", root + issuingCa);
}

void InDirectory::TearDown()
{
    std::error_code ignored;
    std::filesystem::remove_all(directory, ignored);
}

std::string InDirectory::Path(const std::string &name) const
{
    return directory + "/" + name;
}

std::string InDirectory::Quoted(const std::string &name) const
{
    return std::string(1, '\'').append(Path(name)).append("'");
}

std::string InDirectory::Save(const std::string &name, const PkgsignBytes &data) const
{
    const PkgsignStatus status = PkgsignWriteFile(Path(name), data);
    EXPECT_TRUE(status.ok) << status.reason;
    return Quoted(name);
}

std::string InDirectory::Save(const std::string &name, const std::string &text) const
{
    return Save(name, Octets(text));
}
