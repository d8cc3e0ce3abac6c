// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// A device's state, a package for it where others may write, and the update step in its two forms.
#ifndef UPDATE_FIXTURE_H
#define UPDATE_FIXTURE_H

#include <sys/stat.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "tests/forge/digest.h"
#include "tests/package/package_fixture.h"

using Files = std::map<std::string, std::string>; // names below a directory, and contents

inline std::string Digest(const std::string &text)
{
    forge::Bytes hash;
    EXPECT_TRUE(forge::Hash(forge::Digest::Sha256, Bytes(text), &hash).ok);
    std::string digits;
    for (const uint8_t octet : hash) {
        char two[3];
        (void)snprintf(two, sizeof(two), "%02x", static_cast<unsigned>(octet));
        digits += two;
    }
    return digits;
}

class UpdateStep : public Package
{
protected:
    static constexpr int64_t OLD_CRLS = SIGNING_TIME - 2 * DAY;
    static constexpr int64_t NEW_CRLS = SIGNING_TIME - DAY;

    void SetUp() override
    {
        Package::SetUp();
        (void)umask(022);
        std::filesystem::create_directory(directory.File("state"));
        ASSERT_EQ(0, chmod(directory.File("state").c_str(), 0700));
        WriteText("state/crls.der", oldCrls = CrlFile(OLD_CRLS));
        WriteText("state/version", "version 11\n");
        WriteText("crls.der", newCrls = CrlFile(NEW_CRLS));
        for (const auto &[name, text] : files) {
            WriteText("package/" + name, text);
        }
        Seal("version 12\n" + Lines(files));
    }

    void WriteText(const std::string &name, const std::string &text)
    {
        std::filesystem::create_directories(std::filesystem::path(directory.File(name)).parent_path());
        Write(name, Bytes(text));
    }

    std::string ReadText(const std::string &name) const
    {
        forge::Bytes data;
        return forge::ReadFile(directory.File(name), &data).ok ? std::string(data.begin(), data.end()) : "(none)";
    }

    bool IsThere(const std::string &name) const
    {
        return std::filesystem::exists(std::filesystem::symlink_status(directory.File(name)));
    }

    static std::string Lines(const Files &listed)
    {
        std::string lines;
        for (const auto &[name, text] : listed) {
            lines += Digest(text) + "  " + name + "\n";
        }
        return lines;
    }

    // Puts a checksum file with a good signature into the package.
    void Seal(const std::string &checksums)
    {
        forge::Bytes signature;
        message.content = Bytes(checksums);
        const forge::Status status = forge::SignDetached(message, &signature);
        ASSERT_TRUE(status.ok) << status.reason;
        WriteText("package/checksums", checksums);
        Write("package/checksums.cms", signature);
    }

    // CRLs of both CAs, with the issuing CA's certificate. revoked: by the issuing CA.
    std::string CrlFile(int64_t thisUpdate, const std::vector<forge::RevokedCertificate> &revoked = {})
    {
        forge::Bytes file = Pki().issuingCa.certificate;
        crlRequests[1].revoked = revoked;
        for (forge::CrlRequest &request : crlRequests) {
            forge::Bytes crl;
            request.thisUpdate = thisUpdate;
            EXPECT_TRUE(forge::MakeCrl(request, &crl).ok);
            file.insert(file.end(), crl.begin(), crl.end());
        }
        return std::string(file.begin(), file.end());
    }

    std::string CrlFileThatRevokesTheSigner(int64_t thisUpdate)
    {
        forge::RevokedCertificate signer = {{}, SIGNING_TIME - 10 * DAY, -1};
        EXPECT_TRUE(forge::GetSerialNumber(Pki().signer.certificate, &signer.serialNumber).ok);
        return CrlFile(thisUpdate, {signer});
    }

    ProcessResult RunProgram(const std::string &program, const std::vector<std::string> &environment = {},
                             const std::string &state = "state") const
    {
        std::vector<std::string> command = {program, "-s", directory.File(state), "-r", root};
        if (IsThere("crls.der")) {
            command.insert(command.end(), {"-c", directory.File("crls.der")});
        }
        command.push_back(directory.File("package"));
        for (const std::string &word : installer) {
            command.push_back(word);
        }
        return RunProcess(command, environment);
    }

    // path: where the script finds its programs first.
    ProcessResult RunScript(const std::string &path = "", const std::vector<std::string> &before = {}) const
    {
        std::vector<std::string> command = before;
        for (const std::string &word :
             {std::string("/usr/bin/env"), "PATH=" + path + PROGRAM_PATH + ":/usr/bin:/bin", std::string(UPDATE_SCRIPT),
              directory.File("state"), root, directory.File("package"), directory.File("crls.der")}) {
            command.push_back(word);
        }
        for (const std::string &word : installer) {
            command.push_back(word);
        }
        return RunProcess(command);
    }

    // All regular files below a directory, but for those that are no part of what was listed.
    Files FilesIn(const std::string &name) const
    {
        Files found;
        const std::string top = directory.File(name);
        if (!IsThere(name)) {
            return found;
        }
        for (const auto &entry : std::filesystem::recursive_directory_iterator(top)) {
            const std::string path = entry.path().string().substr(top.size() + 1);
            if (!entry.is_directory() && path != "checksums" && path != "checksums.cms") {
                found[path] = entry.is_symlink() ? "(link)" : ReadText(name + "/" + path);
            }
        }
        return found;
    }

    // What installs: copies the directory that it is handed. It may be run again.
    std::vector<std::string> installer = {"/bin/sh", "-c", "rm -rf \"$0\" && cp -R . \"$0\"",
                                          directory.File("installed")};
    const std::string root = std::string(DEVELOPMENT_PKI) + "/certificates/root.der";
    Files files = {{"boot/dtb/board.dtb", "a board\n"},
                   {"boot/kernel.img", std::string(3000, 'k')},
                   {"firmware.bin", std::string(100000, 'f')}};
    std::string oldCrls;
    std::string newCrls;
};

#endif
