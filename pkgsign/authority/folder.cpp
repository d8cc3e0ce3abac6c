// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/authority/folder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>

#include "pkgsign/files/files.h"
#include "pkgsign/files/objects.h"

namespace pkgsign
{
namespace
{

constexpr int WAIT_SECONDS = 30;
constexpr useconds_t WAIT_STEP = 50000;
constexpr int WAIT_STEPS_PER_SECOND = 20;

std::string PkiPath(const std::string &folder)
{
    return folder + "/pki.json";
}

// The folder itself is locked, by flock(2): pki.json is replaced by each write, and a lock file would outlive a crash.
struct FolderLock {
    int directory = -1;

    FolderLock() = default;
    FolderLock(const FolderLock &) = delete;
    FolderLock &operator=(const FolderLock &) = delete;
    ~FolderLock()
    {
        if (directory >= 0) {
            (void)close(directory);
        }
    }
};

// Who has the lock, as far as the kernel shows it: "process 123 (name)".
std::string Holder(int directory)
{
    struct stat found = {};
    std::ifstream locks("/proc/locks");
    std::string line;
    if (fstat(directory, &found) != 0) {
        return "another process";
    }
    const std::string inode = ":" + std::to_string(found.st_ino) + " ";
    while (std::getline(locks, line)) {
        std::istringstream words(line);
        std::string number, kind, mode, access;
        long process = 0;
        words >> number >> kind >> mode >> access >> process;
        if (kind == "FLOCK" && process > 0 && line.find(inode) != std::string::npos) {
            std::ifstream commandFile("/proc/" + std::to_string(process) + "/comm");
            std::string command;
            std::getline(commandFile, command);
            return "process " + std::to_string(process) + (command.empty() ? "" : " (" + Printable(command) + ")");
        }
    }
    return "another process";
}

Status Lock(const std::string &folder, int kind, FolderLock *lock)
{
    lock->directory = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (lock->directory < 0) {
        return Fail("cannot open the PKI folder '" + Printable(folder) + "': " + std::strerror(errno) +
                    "; name it with --pki or PKGSIGN_PKI, or make it with pkgsign init");
    }
    for (int step = 0; flock(lock->directory, kind | LOCK_NB) != 0; ++step) {
        if (errno != EWOULDBLOCK && errno != EINTR) {
            return Fail("cannot lock the PKI folder '" + Printable(folder) + "': " + std::strerror(errno));
        }
        if (step == WAIT_SECONDS * WAIT_STEPS_PER_SECOND) {
            return Fail("the PKI folder '" + Printable(folder) + "' is still locked by " + Holder(lock->directory) +
                        " after " + std::to_string(WAIT_SECONDS) + " seconds");
        }
        if (step == WAIT_STEPS_PER_SECOND) {
            (void)std::fprintf(stderr, "pkgsign: waiting for %s, which has the PKI folder '%s' locked\n",
                               Holder(lock->directory).c_str(), Printable(folder).c_str());
        }
        (void)usleep(WAIT_STEP);
    }
    return {};
}

Status ReadPkiFile(const std::string &folder, Pki *pkiOut)
{
    Bytes data;
    const Status status = ReadWhole(PkiPath(folder), &data);
    if (!status.ok) {
        return Fail(status.reason + "; is '" + Printable(folder) + "' a PKI folder?");
    }
    return DecodePki(data, PkiPath(folder), pkiOut);
}

// What could not be read again is not written, whatever led to it.
Status WritePki(const std::string &folder, const Pki &pki)
{
    const std::string text = EncodePki(pki);
    Pki read;
    const Status status = DecodePki(Bytes(text.begin(), text.end()), PkiPath(folder), &read);
    return status.ok ? WriteWhole(PkiPath(folder), text)
                     : Fail("the change was not made, because afterwards " + status.reason);
}

} // namespace

Status LoadPki(const std::string &folder, Pki *pkiOut)
{
    FolderLock lock;
    const Status status = Lock(folder, LOCK_SH, &lock);
    return status.ok ? ReadPkiFile(folder, pkiOut) : status;
}

Status UpdatePki(const std::string &folder, const std::function<Status(Pki *)> &change, Pki *after)
{
    FolderLock lock;
    Pki pki;
    Status status = Lock(folder, LOCK_EX, &lock);
    if (status.ok) {
        status = ReadPkiFile(folder, &pki);
    }
    if (status.ok) {
        status = change(&pki);
    }
    if (status.ok) {
        status = WritePki(folder, pki);
    }
    if (status.ok && after != nullptr) {
        *after = std::move(pki);
    }
    return status;
}

Status CreatePki(const std::string &folder, const Pki &pki)
{
    FolderLock lock;
    Status status;
    for (const char *const name : {"/certificates", "/private", "/crls"}) {
        if (status.ok) {
            status = MakeDirectory(folder + name);
        }
    }
    if (status.ok) {
        status = Lock(folder, LOCK_EX, &lock);
    }
    if (status.ok && Exists(PkiPath(folder))) {
        return Fail("'" + Printable(folder) + "' holds a PKI already; name another folder");
    }
    return status.ok ? WritePki(folder, pki) : status;
}

std::string CertificatePath(const std::string &folder, const std::string &name)
{
    return folder + "/certificates/" + name + ".pem";
}

std::string KeyPath(const std::string &name)
{
    return "private/" + name + ".key";
}

std::string CrlPath(const std::string &folder, const std::string &authority)
{
    return folder + "/crls/" + authority + ".crl";
}

Status LoadCertificate(const std::string &folder, const Entry &entry, Certificate *certificateOut)
{
    return ReadCertificate(CertificatePath(folder, entry.name), certificateOut);
}

Status SaveCertificate(const std::string &folder, const Entry &entry, const X509 *certificate)
{
    const Bytes der = EncodeCertificate(certificate);
    const Status status = WriteWhole(CertificatePath(folder, entry.name), AddArmour("CERTIFICATE", der));
    if (!status.ok || entry.role != Role::Root) {
        return status;
    }
    return WriteWhole(folder + "/certificates/" + entry.name + ".der", der);
}

Status LoadEntryKey(const std::string &folder, const Entry &entry, const X509 *certificate, Secrets *secrets,
                    Key *keyOut)
{
    if (entry.key.empty()) {
        return Fail("the key of '" + entry.name + "' is not on this machine");
    }
    const bool isRelative = !IsUri(entry.key) && entry.key[0] != '/';
    Key key;
    Status status = LoadKey(isRelative ? folder + "/" + entry.key : entry.key, entry.name, secrets, &key);
    if (status.ok && certificate != nullptr) {
        status = CheckKeyFits(key, certificate, "'" + entry.name + "'");
    }
    if (status.ok) {
        *keyOut = std::move(key);
    }
    return status;
}

} // namespace pkgsign
