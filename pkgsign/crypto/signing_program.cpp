// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/crypto/signing_program.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>

#include "pkgsign/crypto/digest.h"
#include "pkgsign/crypto/keys.h"
#include "pkgsign/crypto/pointers.h"
#include "pkgsign/files/files.h"
#include "pkgsign/files/time.h"

namespace pkgsign
{
namespace
{

constexpr size_t SIGNATURE_SIZE_MAX = KEY_BITS_MAX / 8;
constexpr int64_t MILLISECONDS = 1000;  // of a second
constexpr int64_t POLL_MAX = 60000;     // milliseconds
constexpr useconds_t WAIT_STEP = 10000; // microseconds
constexpr int64_t GRACE = 1000;         // milliseconds between SIGTERM and SIGKILL

// A pipe whose ends are not inherited.
struct Pipe {
    int ends[2] = {-1, -1}; // to read and to write

    Pipe() = default;
    Pipe(const Pipe &) = delete;
    Pipe &operator=(const Pipe &) = delete;
    ~Pipe()
    {
        CloseEnd(0);
        CloseEnd(1);
    }
    void CloseEnd(int end)
    {
        if (ends[end] >= 0) {
            (void)close(ends[end]);
            ends[end] = -1;
        }
    }
};

// This process's environment, with the digest's name in it.
std::vector<std::string> EnvironmentFor(const EVP_MD *digest)
{
    static constexpr char NAME[] = "PKGSIGN_DIGEST=";
    std::vector<std::string> settings = {NAME + DigestName(digest)};
    for (char **setting = environ; *setting != nullptr; ++setting) {
        if (std::strncmp(*setting, NAME, sizeof(NAME) - 1) != 0) {
            settings.emplace_back(*setting);
        }
    }
    return settings;
}

Status Start(const SigningProgram &program, const Pipe &input, const Pipe &output, pid_t *childOut)
{
    std::vector<std::string> words = program.words;
    std::vector<std::string> settings = EnvironmentFor(program.digest);
    posix_spawn_file_actions_t actions;
    (void)posix_spawn_file_actions_init(&actions);
    (void)posix_spawn_file_actions_adddup2(&actions, input.ends[0], STDIN_FILENO);
    (void)posix_spawn_file_actions_adddup2(&actions, output.ends[1], STDOUT_FILENO);
    // In this process's group, so that it may ask on the terminal and an interrupt reaches both.
    const int error = posix_spawnp(childOut, words[0].c_str(), &actions, nullptr, Pointers(&words).data(),
                                   Pointers(&settings).data());
    (void)posix_spawn_file_actions_destroy(&actions);
    return error == 0 ? Status() : Fail("cannot run '" + Printable(words[0]) + "': " + std::strerror(error));
}

// Reads to the end of the output or to one octet more than any signature has. False: there was no time left.
bool ReadOutput(int file, int64_t end, Bytes *data)
{
    while (data->size() <= SIGNATURE_SIZE_MAX) {
        const int64_t left = end - MonotonicTime();
        struct pollfd wanted = {file, POLLIN, 0};
        if (left <= 0 || (poll(&wanted, 1, static_cast<int>(std::min(left, POLL_MAX))) < 0 && errno != EINTR)) {
            return false;
        }
        uint8_t piece[SIGNATURE_SIZE_MAX + 1];
        const ssize_t size = wanted.revents == 0 ? -1 : read(file, piece, sizeof(piece) - data->size());
        if (size == 0) {
            return true;
        }
        if (size > 0) {
            data->insert(data->end(), piece, piece + size);
        }
    }
    return true;
}

// Waits for the child's end. False: there was no time left.
bool WaitFor(pid_t child, int64_t end, int *state)
{
    for (;;) {
        if (waitpid(child, state, WNOHANG) == child) {
            return true;
        }
        if (MonotonicTime() >= end) {
            return false;
        }
        (void)usleep(WAIT_STEP);
    }
}

void End(pid_t child, int *state)
{
    (void)kill(child, SIGTERM);
    if (!WaitFor(child, MonotonicTime() + GRACE, state)) {
        (void)kill(child, SIGKILL);
        while (waitpid(child, state, 0) < 0 && errno == EINTR) {
        }
    }
}

Status CheckEnd(const std::string &name, int state, const Bytes &data)
{
    if (WIFSIGNALED(state)) {
        return Fail(name + " was ended by signal " + std::to_string(WTERMSIG(state)));
    }
    if (WEXITSTATUS(state) != 0) {
        return Fail(name + " ended with status " + std::to_string(WEXITSTATUS(state)));
    }
    return data.empty() ? Fail(name + " wrote no signature to its standard output") : Status();
}

} // namespace

Status SplitCommand(const std::string &text, std::vector<std::string> *wordsOut)
{
    std::vector<std::string> words;
    char quote = 0;
    bool isInWord = false;
    for (size_t i = 0; i < text.size(); ++i) {
        const char character = text[i];
        if (quote == 0 && (character == ' ' || character == '\t' || character == '\n')) {
            isInWord = false;
            continue;
        }
        if (!isInWord) {
            words.emplace_back();
            isInWord = true;
        }
        if (character == quote) {
            quote = 0;
        } else if (quote == 0 && (character == '\'' || character == '"')) {
            quote = character;
        } else if (character == '\\' && quote != '\'') {
            if (++i == text.size()) {
                return Fail("the command '" + Printable(text) + "' ends with a backslash");
            }
            words.back() += text[i];
        } else {
            words.back() += character;
        }
    }
    if (quote != 0) {
        return Fail("the command '" + Printable(text) + "' has a quote that does not end");
    }
    if (words.empty() || words[0].empty()) {
        return Fail("the command '" + Printable(text) + "' names no program");
    }
    *wordsOut = std::move(words);
    return {};
}

Status RunSigningProgram(const SigningProgram &program, const Bytes &octets, Bytes *signatureOut)
{
    const std::string name = "'" + Printable(program.words[0]) + "'";
    const Bytes digest = Digest(program.digest, octets);
    Pipe input;
    Pipe output;
    pid_t child = -1;
    // A pipe holds the digest before anybody reads it, so a program that does not read it raises no SIGPIPE here.
    if (pipe2(input.ends, O_CLOEXEC) != 0 || pipe2(output.ends, O_CLOEXEC) != 0 ||
        write(input.ends[1], digest.data(), digest.size()) != static_cast<ssize_t>(digest.size())) {
        return Fail("cannot run " + name + ": " + std::strerror(errno));
    }
    input.CloseEnd(1);
    const Status status = Start(program, input, output, &child);
    if (!status.ok) {
        return status;
    }
    input.CloseEnd(0);
    output.CloseEnd(1);
    const int64_t end = MonotonicTime() + program.secondsMax * MILLISECONDS;
    Bytes data;
    int state = 0;
    const bool isRead = ReadOutput(output.ends[0], end, &data);
    const bool isTooMuch = data.size() > SIGNATURE_SIZE_MAX;
    if (isTooMuch || !isRead || !WaitFor(child, end, &state)) {
        End(child, &state);
        return Fail(name + (isTooMuch ? " wrote more than the " + std::to_string(SIGNATURE_SIZE_MAX) +
                                            " octets of the longest signature"
                                      : " did not end within " + std::to_string(program.secondsMax) + " seconds"));
    }
    const Status ended = CheckEnd(name, state, data);
    if (ended.ok) {
        *signatureOut = std::move(data);
    }
    return ended;
}

} // namespace pkgsign
