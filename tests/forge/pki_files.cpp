#include "tests/forge/status.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>

namespace forge
{
namespace
{
struct IdentityFile {
    const char *name;
    Identity Pki::*identity;
};
constexpr IdentityFile IDENTITY_FILES[] = {
    {"root", &Pki::root}, {"issuing-ca", &Pki::issuingCa}, {"signer", &Pki::signer}, {"timestamp", &Pki::timestamp}};

struct CrlFile {
    const char *name;
    Bytes Pki::*crl;
};
constexpr CrlFile CRL_FILES[] = {{"root.crl", &Pki::rootCrl}, {"issuing-ca.crl", &Pki::issuingCaCrl}};

bool Exists(const std::string &path)
{
    struct stat found = {};
    return stat(path.c_str(), &found) == 0;
}

Status WriteIdentity(const std::string &stem, const Identity &identity)
{
    Status status = WritePrivateKey(stem + ".key", identity.key);
    if (status.ok) {
        status = WriteFile(stem + ".der", identity.certificate);
    }
    if (status.ok) {
        status = WriteFile(stem + ".pem", Armour(LABEL_CERTIFICATE, identity.certificate));
    }
    return status;
}

Status ReadIdentity(const std::string &stem, Identity *identityOut)
{
    const Status status = ReadPrivateKey(stem + ".key", &identityOut->key);
    return status.ok ? ReadFile(stem + ".der", &identityOut->certificate) : status;
}

} // namespace

bool HoldsPki(const std::string &directory)
{
    for (const IdentityFile &file : IDENTITY_FILES) {
        for (const char *ending : {".key", ".der", ".pem"}) {
            if (Exists(directory + "/" + file.name + ending)) {
                return true;
            }
        }
    }
    return false;
}

Status WritePki(const std::string &directory, const Pki &pki, bool force)
{
    if (!force && HoldsPki(directory)) {
        return Fail("'" + directory + "' holds a PKI already"); // keys that are overwritten are lost for ever
    }
    if (mkdir(directory.c_str(), 0777) != 0 && errno != EEXIST) {
        return Fail("cannot make the directory '" + directory + "': " + std::strerror(errno));
    }
    Status status = Ok();
    for (const IdentityFile &file : IDENTITY_FILES) {
        if (status.ok) {
            status = WriteIdentity(directory + "/" + file.name, pki.*file.identity);
        }
    }
    for (const CrlFile &file : CRL_FILES) {
        if (status.ok) {
            status = WriteFile(directory + "/" + file.name, pki.*file.crl);
        }
    }
    return status;
}

Status ReadPki(const std::string &directory, Pki *pkiOut)
{
    Pki pki;
    Status status = Ok();
    for (const IdentityFile &file : IDENTITY_FILES) {
        if (status.ok) {
            status = ReadIdentity(directory + "/" + file.name, &(pki.*file.identity));
        }
    }
    for (const CrlFile &file : CRL_FILES) {
        if (status.ok) {
            status = ReadFile(directory + "/" + file.name, &(pki.*file.crl));
        }
    }
    if (status.ok) {
        *pkiOut = pki;
    }
    return status;
}
} // namespace forge
