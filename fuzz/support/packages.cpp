// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "fuzz/support/packages.h"

#include <cstdlib>
#include <filesystem>
#include <system_error>

#include <unistd.h>

#include "fuzz/support/armour.h"
#include "fuzz/support/host.h"
#include "fuzz/support/pki.h"

namespace
{

const forge::Bytes CONTENT = {'c', 'h', 'e', 'c', 'k', 's', 'u', 'm', '\n'};

void Write(const std::string &path, const forge::Bytes &octets)
{
    const forge::Status status = forge::WriteFile(path, octets);
    if (!status.ok) {
        FuzzFail("packages: %s", status.reason.c_str());
    }
}

forge::Bytes Join(const forge::Bytes &first, const forge::Bytes &second)
{
    forge::Bytes joined = first;
    joined.insert(joined.end(), second.begin(), second.end());
    return joined;
}

void WriteMessages(const std::string &directory)
{
    forge::MessageRequest request = FuzzMessageRequest(CONTENT);
    const forge::Bytes message = FuzzMessage(request);
    Write(directory + "/m", message);
    Write(directory + "/m.cms", FuzzArmour(forge::LABEL_CMS, message, false));
    Write(directory + "/m.p7s", FuzzArmour(forge::LABEL_PKCS7, message, true));
    Write(directory + "/m.cut", forge::Bytes(message.begin(), message.end() - 1));
    request.timestamp = forge::Timestamp::None;
    Write(directory + "/m.untimed", FuzzMessage(request));
    request.signerInfoCount = 0;
    Write(directory + "/m.unsigned", FuzzMessage(request));
}

void WriteCrls(const std::string &directory)
{
    const std::vector<forge::Bytes> &crls = FuzzCrls();
    const forge::Bytes file = Join(crls[FUZZ_CRL_ROOT], crls[FUZZ_CRL_CA_A]);
    Write(directory + "/c", file);
    Write(directory + "/c.pem", FuzzArmourObjects(file, false));
    Write(directory + "/c.revoked", FuzzCrl({FUZZ_CA_A, 9, false, {FUZZ_SERIAL_SIGNER}}));
    Write(directory + "/c.stranger", FuzzCrl({FUZZ_STRANGER, 1}));
}

} // namespace

std::string FuzzWritePackages()
{
    const char *const parent = std::getenv("TMPDIR");
    std::string directory = std::string(parent == nullptr ? "/tmp" : parent) + "/sigkit-fuzz-XXXXXX";
    if (mkdtemp(directory.data()) == nullptr) {
        FuzzFail("packages: no directory");
    }
    WriteMessages(directory);
    WriteCrls(directory);
    Write(directory + "/e", CONTENT);
    Write(directory + "/e.other", forge::Bytes(4097, 0x61));
    Write(directory + "/empty", {});
    Write(directory + "/large", forge::Bytes(2000001, 0x30));
    std::error_code failure;
    std::filesystem::create_directory(directory + "/directory", failure);
    std::filesystem::create_symlink("loop", directory + "/loop", failure);
    std::filesystem::create_symlink("m", directory + "/link", failure);
    return directory;
}

void FuzzRemovePackages(const std::string &directory)
{
    std::error_code failure;
    std::filesystem::remove_all(directory, failure);
}
