// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "tests/support/process.h"

#include <fcntl.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "pkgsign/crypto/pointers.h"

extern char **environ;

namespace
{

std::string ReadText(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

} // namespace

pid_t StartProcess(const std::vector<std::string> &command, const std::vector<std::string> &environment, int output,
                   int errors)
{
    std::vector<std::string> arguments = command;
    std::vector<std::string> settings = environment;
    for (char **setting = environ; *setting != nullptr; ++setting) {
        settings.emplace_back(*setting);
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, errors, STDERR_FILENO);
    pid_t child = -1;
    const int failure = posix_spawnp(&child, arguments[0].c_str(), &actions, nullptr,
                                     pkgsign::Pointers(&arguments).data(), pkgsign::Pointers(&settings).data());
    posix_spawn_file_actions_destroy(&actions);
    return failure == 0 ? child : -1;
}

ProcessResult RunProcess(const std::vector<std::string> &command, const std::vector<std::string> &environment)
{
    const TemporaryDirectory directory;
    const int output = open(directory.File("output").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    const int errors = open(directory.File("errors").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    const pid_t child = StartProcess(command, environment, output, errors);
    (void)close(output);
    (void)close(errors);
    ProcessResult result;
    int state = 0;
    if (child > 0 && waitpid(child, &state, 0) == child && WIFEXITED(state)) {
        result.exitStatus = WEXITSTATUS(state);
    }
    result.output = ReadText(directory.File("output"));
    result.errors = ReadText(directory.File("errors"));
    return result;
}

TemporaryDirectory::TemporaryDirectory()
{
    std::string pattern = (std::filesystem::temp_directory_path() / "sigkit-test-XXXXXX").string();
    path = mkdtemp(pattern.data());
}

TemporaryDirectory::~TemporaryDirectory()
{
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
}

std::string TemporaryDirectory::File(const std::string &name) const
{
    return path + "/" + name;
}
