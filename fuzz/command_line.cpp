// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The tool's command line: the input's lines are its arguments. The files that they can name lie in a scratch directory
// of the process; "@" stands for it.
#include "fuzz/target.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include <fcntl.h>
#include <getopt.h>
#include <unistd.h>

#include "fuzz/support/oracle.h"
#include "fuzz/support/packages.h"
#include "fuzz/support/pki.h"
#include "src/verify_frame_main.h"

namespace
{

constexpr size_t MAX_ARGUMENTS = 14; // more than the tool takes
constexpr char OPCODE[] = "CHECK_PKG_INTEGRITY";

std::string g_directory;
int g_startDirectory = -1; // where the fuzzer itself works

void RemoveDirectory()
{
    FuzzRemovePackages(g_directory);
}

// Keeps paths inside the scratch directory: elsewhere there are devices that never end.
std::string Confine(std::string text)
{
    for (size_t at = text.find(".."); at != std::string::npos; at = text.find("..")) {
        text.replace(at, 2, "__");
    }
    size_t at = text.rfind('/', 0) == 0                               ? 0
                : text.size() > 2 && text[0] == '-' && text[2] == '/' ? 2
                                                                      : std::string::npos;
    if (at != std::string::npos) {
        text.insert(at, g_directory);
    }
    for (at = text.find('@'); at != std::string::npos; at = text.find('@')) {
        text.replace(at, 1, g_directory);
    }
    return text;
}

std::vector<std::string> Split(const uint8_t *data, size_t size)
{
    std::vector<std::string> arguments = {"verify_tool"};
    std::string line;
    for (size_t i = 0; i < size && arguments.size() < MAX_ARGUMENTS; ++i) {
        if (data[i] == '\n' || data[i] == '\0') {
            arguments.push_back(Confine(line));
            line.clear();
        } else {
            line += static_cast<char>(data[i]);
        }
    }
    return arguments;
}

int Run(std::vector<std::string> *arguments)
{
    std::vector<char *> argv;
    for (std::string &argument : *arguments) {
        argv.push_back(argument.data());
    }
    argv.push_back(nullptr);
    std::memset(&g_verifyParam, 0, sizeof(g_verifyParam));
    optind = 0; // starts getopt anew
    opterr = 0;
    return UPGRADE_MainExe(static_cast<int>(argv.size()) - 1, argv.data());
}

forge::Bytes ReadFile(const char *path)
{
    forge::Bytes octets;
    const forge::Status status = forge::ReadFile(path, &octets);
    if (!status.ok) {
        FuzzFail("success with a file that cannot be read: %s", status.reason.c_str());
    }
    return octets;
}

// Content as the tool sees it: a file that opens and cannot be read, as a directory, has none.
forge::Bytes ReadContent(const char *path)
{
    std::error_code failure;
    return std::filesystem::is_directory(path, failure) ? forge::Bytes() : ReadFile(path);
}

void CheckSuccess()
{
    const VerifyParam &param = g_verifyParam;
    if (std::strcmp(param.opcode, OPCODE) != 0) {
        FuzzFail("success of another operation");
    }
    const forge::Bytes message = ReadFile(param.cmsPath);
    const forge::Bytes content = ReadContent(param.checksumPath);
    if (content.empty() && !FuzzHasSigner(message)) {
        return; // accepted by design: there is nothing that anybody could have signed
    }
    FuzzRequireAuthentic(FuzzRootCertificate(), {ReadFile(param.crlPath), message}, message, content);
}

void CheckField(const char *field, size_t size)
{
    if (std::memchr(field, '\0', size) == nullptr) {
        FuzzFail("an argument is not cut to its field");
    }
}

void CheckFields()
{
    CheckField(g_verifyParam.opcode, sizeof(g_verifyParam.opcode));
    CheckField(g_verifyParam.cmsPath, sizeof(g_verifyParam.cmsPath));
    CheckField(g_verifyParam.checksumPath, sizeof(g_verifyParam.checksumPath));
    CheckField(g_verifyParam.crlPath, sizeof(g_verifyParam.crlPath));
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    if (std::freopen("/dev/null", "w", stdout) == nullptr) {
        FuzzFail("standard output");
    }
    g_directory = FuzzWritePackages();
    g_startDirectory = open(".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (g_startDirectory < 0 || std::atexit(RemoveDirectory) != 0) {
        FuzzFail("scratch directory");
    }
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    std::vector<std::string> arguments = Split(data, size);
    if (chdir(g_directory.c_str()) != 0) {
        FuzzFail("scratch directory");
    }
    FuzzBegin();
    const int status = Run(&arguments);
    FuzzEnd();
    FuzzTally(static_cast<uint32_t>(status));
    CheckFields();
    if (status == 0) {
        CheckSuccess();
    } else if ((status & 0xFF) == 0) { // all that a parent process sees of it
        FuzzFail("status %08x looks like success", static_cast<uint32_t>(status));
    }
    if (fchdir(g_startDirectory) != 0) {
        FuzzFail("the fuzzer's own directory");
    }
    return 0;
}
