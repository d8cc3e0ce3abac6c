#include "tests/support/process.h"

#include <fcntl.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>

extern char **environ;

namespace
{

std::vector<char *> Pointers(std::vector<std::string> *texts)
{
    std::vector<char *> pointers;
    for (std::string &text : *texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

std::string ReadText(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

} // namespace

ProcessResult RunProcess(const std::vector<std::string> &command, const std::vector<std::string> &environment)
{
    const TemporaryDirectory directory;
    std::vector<std::string> arguments = command;
    std::vector<std::string> settings = environment;
    for (char **setting = environ; *setting != nullptr; ++setting) {
        settings.emplace_back(*setting);
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, directory.File("output").c_str(), O_WRONLY | O_CREAT,
                                     0600);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, directory.File("errors").c_str(), O_WRONLY | O_CREAT,
                                     0600);
    pid_t child = -1;
    const int failure = posix_spawnp(&child, arguments[0].c_str(), &actions, nullptr, Pointers(&arguments).data(),
                                     Pointers(&settings).data());
    posix_spawn_file_actions_destroy(&actions);
    ProcessResult result;
    int state = 0;
    if (failure == 0 && waitpid(child, &state, 0) == child && WIFEXITED(state)) {
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
