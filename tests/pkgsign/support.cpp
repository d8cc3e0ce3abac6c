#include "tests/pkgsign/support.h"

#include <errno.h>
#include <unistd.h>

#include <algorithm>

namespace
{

ProcessResult RunByShell(const std::string &program, const std::string &arguments)
{
    return RunProcess({"/bin/sh", "-c", "'" + program + "' " + arguments + " 2>&1"});
}

// Makes a key and publishes it under `path`. Tests run at the same time, and a key must not change once it has been
// read: it is linked there when it is complete, and only where no other process was first.
void MakeTestKey(const std::string &path, int bits)
{
    PkgsignKey key;
    PkgsignStatus status = PkgsignGenerateRsaKey(bits, &key);
    ASSERT_TRUE(status.ok) << status.reason;
    const std::string own = path + "." + std::to_string(getpid());
    status = PkgsignWritePrivateKey(own, key);
    ASSERT_TRUE(status.ok) << status.reason;
    const bool linked = link(own.c_str(), path.c_str()) == 0;
    EXPECT_TRUE(linked || errno == EEXIST) << path;
    EXPECT_EQ(0, unlink(own.c_str()));
}

} // namespace

PkgsignKey TestKey(const std::string &name, int bits)
{
    const std::string path = std::string(PKGSIGN_TEST_KEY_DIRECTORY) + "/" + name + "-" + std::to_string(bits) + ".key";
    PkgsignKey key;
    if (PkgsignReadPrivateKey(path, &key).ok) {
        return key;
    }
    MakeTestKey(path, bits);
    const PkgsignStatus status = PkgsignReadPrivateKey(path, &key);
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

ProcessResult RunOpenssl(const std::string &arguments)
{
    return RunByShell(PKGSIGN_TEST_OPENSSL, arguments);
}

ProcessResult RunPkgsign(const std::string &arguments)
{
    return RunByShell(PKGSIGN_TEST_TOOL, arguments);
}

void InDirectory::SetUp()
{
    const std::string root = PkgsignArmour(PKGSIGN_LABEL_CERTIFICATE, TestPki().root.certificate);
    const std::string issuingCa = PkgsignArmour(PKGSIGN_LABEL_CERTIFICATE, TestPki().issuingCa.certificate);
    Save("root.pem", root);
    Save("issuing-ca.pem", issuingCa);
    Save("chain.pem", root + issuingCa);
}

std::string InDirectory::Path(const std::string &name) const
{
    return directory.File(name);
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
