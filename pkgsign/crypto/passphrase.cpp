#include "pkgsign/crypto/passphrase.h"

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "pkgsign/files/files.h"

namespace pkgsign
{
namespace
{

constexpr size_t PASSPHRASE_SIZE_MAX = 1023; // what libcrypto's callbacks take

// Reads to the end of a line, octet by octet: what stands behind it on a descriptor is somebody else's.
Status ReadLine(int file, std::string *lineOut)
{
    std::string line;
    char octet = 0;
    for (;;) {
        const ssize_t size = read(file, &octet, 1);
        if (size < 0 && errno == EINTR) {
            continue;
        }
        if (size <= 0 || octet == '\n') {
            break;
        }
        line += octet;
        if (line.size() > PASSPHRASE_SIZE_MAX) {
            return Fail("a passphrase has at most " + std::to_string(PASSPHRASE_SIZE_MAX) + " octets");
        }
    }
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

Status Ask(const Terminal &terminal, const std::string &question, std::string *answerOut)
{
    termios before = {};
    const bool isTerminal = tcgetattr(terminal.file, &before) == 0;
    termios silent = before;
    silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    if (!isTerminal || tcsetattr(terminal.file, TCSAFLUSH, &silent) != 0 ||
        write(terminal.file, question.data(), question.size()) < 0) {
        return Fail("cannot ask on the terminal; use --passphrase-file");
    }
    const Status status = ReadLine(terminal.file, answerOut);
    (void)tcsetattr(terminal.file, TCSAFLUSH, &before);
    (void)!write(terminal.file, "\n", 1);
    return status;
}

Status Prompt(const std::string &keyName, bool confirm, std::string *passphraseOut)
{
    const Terminal terminal;
    if (terminal.file < 0) {
        return Fail("key '" + keyName +
                    "' needs a passphrase and there is no terminal to ask on; use --passphrase-file");
    }
    std::string passphrase;
    Status status = Ask(terminal, "Passphrase for key '" + Printable(keyName) + "': ", &passphrase);
    if (status.ok && confirm) {
        std::string again;
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

Status GetShared(Secrets *secrets, const std::string &keyName, bool confirm, std::string *passphraseOut)
{
    Status status;
    if (!secrets->isKnown && secrets->descriptor >= 0) {
        status = ReadLine(secrets->descriptor, &secrets->known);
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

bool HasSource(const Secrets &secrets)
{
    return !secrets.file.empty() || secrets.descriptor >= 0 || secrets.isKnown;
}

Status GetPassphrase(Secrets *secrets, const std::string &keyName, bool confirm, std::string *passphraseOut)
{
    const auto own = secrets->files.find(keyName);
    Status status;
    std::string passphrase;
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

Status ReadSecretFile(const std::string &path, std::string *secretOut)
{
    Bytes data;
    const Status status = ReadWhole(path, &data, PASSPHRASE_SIZE_MAX + 2);
    if (!status.ok) {
        return status;
    }
    const auto end = std::find(data.begin(), data.end(), static_cast<uint8_t>('\n'));
    std::string secret(data.begin(), end);
    if (!secret.empty() && secret.back() == '\r') {
        secret.pop_back();
    }
    *secretOut = std::move(secret);
    return {};
}

} // namespace pkgsign
