#include "pkgsign/status.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>

namespace
{
struct IdentityFile {
    const char *name;
    PkgsignIdentity PkgsignPki::*identity;
};
constexpr IdentityFile IDENTITY_FILES[] = {{"root", &PkgsignPki::root},
                                           {"issuing-ca", &PkgsignPki::issuingCa},
                                           {"signer", &PkgsignPki::signer},
                                           {"timestamp", &PkgsignPki::timestamp}};

struct CrlFile {
    const char *name;
    PkgsignBytes PkgsignPki::*crl;
};
constexpr CrlFile CRL_FILES[] = {{"root.crl", &PkgsignPki::rootCrl}, {"issuing-ca.crl", &PkgsignPki::issuingCaCrl}};

bool Exists(const std::string &path)
{
    struct stat found = {};
    return stat(path.c_str(), &found) == 0;
}

PkgsignStatus WriteIdentity(const std::string &stem, const PkgsignIdentity &identity)
{
    PkgsignStatus status = PkgsignWritePrivateKey(stem + ".key", identity.key);
    if (status.ok) {
        status = PkgsignWriteFile(stem + ".der", identity.certificate);
    }
    if (status.ok) {
        status = PkgsignWriteFile(stem + ".pem", PkgsignArmour(PKGSIGN_LABEL_CERTIFICATE, identity.certificate));
    }
    return status;
}

PkgsignStatus ReadIdentity(const std::string &stem, PkgsignIdentity *identityOut)
{
    const PkgsignStatus status = PkgsignReadPrivateKey(stem + ".key", &identityOut->key);
    return status.ok ? PkgsignReadFile(stem + ".der", &identityOut->certificate) : status;
}

} // namespace

bool PkgsignHoldsPki(const std::string &directory)
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

PkgsignStatus PkgsignWritePki(const std::string &directory, const PkgsignPki &pki, bool force)
{
    if (!force && PkgsignHoldsPki(directory)) {
        return PkgsignFail("'" + directory + "' holds a PKI already"); // keys that are overwritten are lost for ever
    }
    if (mkdir(directory.c_str(), 0777) != 0 && errno != EEXIST) {
        return PkgsignFail("cannot make the directory '" + directory + "': " + std::strerror(errno));
    }
    PkgsignStatus status = PkgsignOk();
    for (const IdentityFile &file : IDENTITY_FILES) {
        if (status.ok) {
            status = WriteIdentity(directory + "/" + file.name, pki.*file.identity);
        }
    }
    for (const CrlFile &file : CRL_FILES) {
        if (status.ok) {
            status = PkgsignWriteFile(directory + "/" + file.name, pki.*file.crl);
        }
    }
    return status;
}

PkgsignStatus PkgsignReadPki(const std::string &directory, PkgsignPki *pkiOut)
{
    PkgsignPki pki;
    PkgsignStatus status = PkgsignOk();
    for (const IdentityFile &file : IDENTITY_FILES) {
        if (status.ok) {
            status = ReadIdentity(directory + "/" + file.name, &(pki.*file.identity));
        }
    }
    for (const CrlFile &file : CRL_FILES) {
        if (status.ok) {
            status = PkgsignReadFile(directory + "/" + file.name, &(pki.*file.crl));
        }
    }
    if (status.ok) {
        *pkiOut = pki;
    }
    return status;
}
