// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/crypto/passphrase.h"

#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>

#include "pkgsign/files/files.h"

namespace pkgsign
{
namespace
{

constexpr size_t PASSPHRASE_SIZE_MAX = 1023; // what libcrypto's callbacks take
constexpr int ENDING_SIGNALS[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT};

volatile sig_atomic_t g_interrupted = 0;

void NoteSignal(int)
{
    g_interrupted = 1;
}

// Reads up to `size` octets. With a mask, a signal that the mask lets in ends the wait; read(2) alone would lose one
// that came just before it.
ssize_t ReadSome(int file, const sigset_t *whileWaiting, char *octets, size_t size)
{
    pollfd waiting = {file, POLLIN, 0};
    if (whileWaiting != nullptr && ppoll(&waiting, 1, nullptr, whileWaiting) < 0) {
        return -1;
    }
    return read(file, octets, size);
}

// Reads to the end of a line, octet by octet: what stands behind it on a descriptor is somebody else's.
Status ReadLine(int file, const std::string &source, Secret *lineOut, const sigset_t *whileWaiting = nullptr)
{
    Secret line;
    char octet = 0;
    line.reserve(PASSPHRASE_SIZE_MAX + 1);
    for (;;) {
        const ssize_t size = ReadSome(file, whileWaiting, &octet, 1);
        if (size < 0 && errno == EINTR && g_interrupted == 0) {
            continue;
        }
        if (size < 0) {
            return g_interrupted != 0 ? Fail("interrupted")
                                      : Fail("cannot read a passphrase from " + source + ": " + std::strerror(errno));
        }
        if (size == 0 || octet == '\n') {
            break;
        }
        line.push_back(octet);
        if (line.size() > PASSPHRASE_SIZE_MAX) {
            return Fail("a passphrase has at most " + std::to_string(PASSPHRASE_SIZE_MAX) + " octets; " + source +
                        " has a longer line");
        }
    }
    OPENSSL_cleanse(&octet, sizeof(octet));
    if (!line.empty() && line.back() == '\r') {
        line.pop_back();
    }
    *lineOut = std::move(line);
    return {};
}

struct Terminal {
    int file = open("/dev/tty", O_RDWR | O_CLOEXEC);

    Terminal() = default;
    Terminal(const Terminal &) = delete;
    Terminal &operator=(const Terminal &) = delete;
    ~Terminal()
    {
        if (file >= 0) {
            (void)close(file);
        }
    }
};

// For as long as it lives, the terminal shows nothing of what is typed, and a signal that would end the process is
// noted instead, while the terminal is waited for: the echo comes back in every case.
struct Silence {
    int file;
    termios before = {};
    sigset_t maskBefore = {};
    sigset_t whileWaiting = {};
    struct sigaction actions[std::size(ENDING_SIGNALS)] = {};
    bool isSilent = false;

    explicit Silence(int terminal) : file(terminal)
    {
        struct sigaction noting = {};
        noting.sa_handler = NoteSignal; // without SA_RESTART: read(2) ends
        g_interrupted = 0;
        sigset_t ending = {};
        (void)sigemptyset(&ending);
        for (const int signal : ENDING_SIGNALS) {
            (void)sigaddset(&ending, signal);
        }
        (void)pthread_sigmask(SIG_BLOCK, &ending, &maskBefore);
        whileWaiting = maskBefore;
        for (size_t i = 0; i < std::size(ENDING_SIGNALS); ++i) {
            (void)sigdelset(&whileWaiting, ENDING_SIGNALS[i]);
            (void)sigaction(ENDING_SIGNALS[i], &noting, &actions[i]);
        }
        const bool isTerminal = tcgetattr(file, &before) == 0;
        termios silent = before;
        silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        isSilent = isTerminal && tcsetattr(file, TCSAFLUSH, &silent) == 0;
    }
    ~Silence()
    {
        if (isSilent) {
            (void)tcsetattr(file, TCSAFLUSH, &before);
            (void)!write(file, "\n", 1);
        }
        for (size_t i = 0; i < std::size(ENDING_SIGNALS); ++i) {
            (void)sigaction(ENDING_SIGNALS[i], &actions[i], nullptr);
        }
        (void)pthread_sigmask(SIG_SETMASK, &maskBefore, nullptr);
    }
    Silence(const Silence &) = delete;
    Silence &operator=(const Silence &) = delete;
};

Status Ask(const Terminal &terminal, const std::string &question, Secret *answerOut)
{
    const Silence silence(terminal.file);
    if (!silence.isSilent || write(terminal.file, question.data(), question.size()) < 0) {
        return Fail("cannot ask on the terminal; use --passphrase-file");
    }
    return ReadLine(terminal.file, "the terminal", answerOut, &silence.whileWaiting);
}

Status Prompt(const std::string &keyName, bool confirm, Secret *passphraseOut)
{
    const Terminal terminal;
    if (terminal.file < 0) {
        return Fail("key '" + Printable(keyName) +
                    "' needs a passphrase or PIN and there is no terminal to ask on; use --passphrase-file");
    }
    Secret passphrase;
    Status status = Ask(terminal, "Passphrase for key '" + Printable(keyName) + "': ", &passphrase);
    if (status.ok && confirm) {
        Secret again;
        status = Ask(terminal, "Again: ", &again);
        if (status.ok && again != passphrase) {
            return Fail("the two passphrases differ");
        }
    }
    if (status.ok) {
        *passphraseOut = std::move(passphrase);
    }
    return status;
}

Status GetShared(Secrets *secrets, const std::string &keyName, bool confirm, Secret *passphraseOut)
{
    Status status;
    if (!secrets->isKnown && secrets->descriptor >= 0) {
        status = ReadLine(secrets->descriptor, "descriptor " + std::to_string(secrets->descriptor), &secrets->known);
    } else if (!secrets->isKnown && secrets->mayPrompt) {
        status = Prompt(keyName, confirm, &secrets->known);
    } else if (!secrets->isKnown) {
        status = Fail("key '" + Printable(keyName) + "' needs a passphrase or PIN; use --passphrase-file");
    }
    if (status.ok) {
        secrets->isKnown = true;
        *passphraseOut = secrets->known;
    }
    return status;
}

} // namespace

bool HasSource(const Secrets &secrets, const std::string &keyName)
{
    return !secrets.file.empty() || secrets.descriptor >= 0 || secrets.isKnown || secrets.files.count(keyName) != 0 ||
           (secrets.mayPrompt && Terminal().file >= 0);
}

Status GetPassphrase(Secrets *secrets, const std::string &keyName, bool confirm, Secret *passphraseOut)
{
    const auto own = secrets->files.find(keyName);
    Status status;
    Secret passphrase;
    if (own != secrets->files.end()) {
        status = ReadSecretFile(own->second, &passphrase);
    } else if (!secrets->file.empty()) {
        status = ReadSecretFile(secrets->file, &passphrase);
    } else {
        status = GetShared(secrets, keyName, confirm, &passphrase);
    }
    if (status.ok && passphrase.empty()) {
        return Fail("the passphrase for key '" + Printable(keyName) + "' is empty");
    }
    if (status.ok) {
        *passphraseOut = std::move(passphrase);
    }
    return status;
}

Status ReadSecretFile(const std::string &path, Secret *secretOut)
{
    const std::string source = "'" + Printable(path) + "'";
    const int file = path == "-" ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) {
        return Fail("cannot read " + source + ": " + std::strerror(errno));
    }
    const Status status = ReadLine(file, source, secretOut);
    if (file != STDIN_FILENO) {
        (void)close(file);
    }
    return status;
}

} // namespace pkgsign
