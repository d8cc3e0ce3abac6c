// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "tests/forge/support.h"

#include <errno.h>
#include <unistd.h>

#include <algorithm>
#include <ctime>

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
    forge::Key key;
    forge::Status status = forge::GenerateRsaKey(bits, &key);
    ASSERT_TRUE(status.ok) << status.reason;
    const std::string own = path + "." + std::to_string(getpid());
    status = forge::WritePrivateKey(own, key);
    ASSERT_TRUE(status.ok) << status.reason;
    const bool linked = link(own.c_str(), path.c_str()) == 0;
    EXPECT_TRUE(linked || errno == EEXIST) << path;
    EXPECT_EQ(0, unlink(own.c_str()));
}

} // namespace

forge::Key TestKey(const std::string &name, int bits)
{
    const std::string path = std::string(FORGE_TEST_KEY_DIRECTORY) + "/" + name + "-" + std::to_string(bits) + ".key";
    forge::Key key;
    if (forge::ReadPrivateKey(path, &key).ok) {
        return key;
    }
    MakeTestKey(path, bits);
    const forge::Status status = forge::ReadPrivateKey(path, &key);
    EXPECT_TRUE(status.ok) << status.reason;
    return key;
}

forge::PkiRequest TestPkiRequest()
{
    forge::PkiRequest request;
    request.rootKey = TestKey("root", 4096);
    request.issuingCaKey = TestKey("issuing-ca");
    request.signerKey = TestKey("signer");
    request.timestampKey = TestKey("timestamp");
    return request;
}

const forge::Pki &TestPki()
{
    static const forge::Pki pki = [] {
        forge::Pki made;
        const forge::Status status = forge::MakePki(TestPkiRequest(), &made);
        EXPECT_TRUE(status.ok) << status.reason;
        return made;
    }();
    return pki;
}

forge::Bytes Octets(const std::string &text)
{
    return forge::Bytes(text.begin(), text.end());
}

bool Contains(const forge::Bytes &whole, const forge::Bytes &part)
{
    return std::search(whole.begin(), whole.end(), part.begin(), part.end()) != whole.end();
}

DecodedCertificate DecodeCertificate(const forge::Bytes &der)
{
    const unsigned char *cursor = der.data();
    DecodedCertificate decoded(d2i_X509(nullptr, &cursor, static_cast<long>(der.size())), X509_free);
    EXPECT_EQ(der.data() + der.size(), cursor) << "octets left over behind the certificate";
    return decoded;
}

int64_t SecondsOf(const ASN1_TIME *time)
{
    std::tm parts = {};
    EXPECT_EQ(1, ASN1_TIME_to_tm(time, &parts));
    return timegm(&parts);
}

bool IsSelfSigned(X509 *certificate)
{
    return X509_NAME_cmp(X509_get_subject_name(certificate), X509_get_issuer_name(certificate)) == 0 &&
           X509_verify(certificate, X509_get0_pubkey(certificate)) == 1;
}

ProcessResult RunOpenssl(const std::string &arguments)
{
    return RunByShell(FORGE_TEST_OPENSSL, arguments);
}

void InDirectory::SetUp()
{
    const std::string root = forge::Armour(forge::LABEL_CERTIFICATE, TestPki().root.certificate);
    const std::string issuingCa = forge::Armour(forge::LABEL_CERTIFICATE, TestPki().issuingCa.certificate);
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

std::string InDirectory::Save(const std::string &name, const forge::Bytes &data) const
{
    const forge::Status status = forge::WriteFile(Path(name), data);
    EXPECT_TRUE(status.ok) << status.reason;
    return Quoted(name);
}

std::string InDirectory::Save(const std::string &name, const std::string &text) const
{
    return Save(name, Octets(text));
}
