// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// What a terminal is asked and shown.
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <filesystem>

#include "pkgsign/crypto/pointers.h"
#include "tests/pkgsign/support.h"

namespace
{

constexpr int WAIT_MILLISECONDS = 60000;

// What is typed when a text appears; a signal instead, when there is one.
struct Typed {
    std::string prompt;
    std::string answer;
    int signal = 0;
};

struct Transcript {
    int status = -1; // the exit status; 128 and more: ended by a signal
    std::string shown;
    bool isEchoOn = false; // afterwards
};

class Terminals : public InFolder
{
protected:
    void SetUp() override
    {
        SKIP_WITHOUT_TERMINALS();
        InFolder::SetUp();
    }

    // The program on a terminal of its own. pending: a signal that came before it could wait for anything.
    Transcript Talk(std::vector<std::string> arguments, const std::vector<Typed> &conversation, int pending = 0) const
    {
        Transcript transcript;
        int terminal = -1;
        arguments.insert(arguments.begin(), PKGSIGN_PROGRAM);
        const pid_t child = forkpty(&terminal, nullptr, nullptr, nullptr);
        if (child == 0) {
            if (pending != 0) {
                sigset_t blocked = {};
                (void)sigaddset(&blocked, pending);
                (void)sigprocmask(SIG_BLOCK, &blocked, nullptr);
                (void)raise(pending);
            }
            std::vector<char *> argv = pkgsign::Pointers(&arguments);
            (void)execv(argv[0], argv.data());
            _exit(126);
        }
        EXPECT_GT(child, 0);
        size_t from = 0;
        for (const Typed &typed : conversation) {
            EXPECT_TRUE(ReadUntil(terminal, typed.prompt, &from, &transcript.shown)) << transcript.shown;
            if (typed.signal != 0) {
                (void)kill(child, typed.signal);
            } else {
                (void)!write(terminal, typed.answer.data(), typed.answer.size());
            }
        }
        const bool hasEnded = ReadUntil(terminal, "", nullptr, &transcript.shown);
        EXPECT_TRUE(hasEnded) << transcript.shown;
        if (!hasEnded) {
            (void)kill(child, SIGKILL);
        }
        termios modes = {};
        transcript.isEchoOn = tcgetattr(terminal, &modes) == 0 && (modes.c_lflag & ECHO) != 0;
        int status = 0;
        EXPECT_EQ(child, waitpid(child, &status, 0));
        transcript.status = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
        (void)close(terminal);
        return transcript;
    }

    // Reads until a text is there behind `from`, which moves behind it; from null: until the program has ended.
    static bool ReadUntil(int terminal, const std::string &text, size_t *from, std::string *shown)
    {
        for (;;) {
            const size_t at = from == nullptr ? std::string::npos : shown->find(text, *from);
            if (at != std::string::npos) {
                *from = at + text.size();
                return true;
            }
            pollfd waiting = {terminal, POLLIN, 0};
            char octets[512];
            if (poll(&waiting, 1, WAIT_MILLISECONDS) != 1) {
                return false;
            }
            const ssize_t size = read(terminal, octets, sizeof(octets));
            if (size <= 0) {
                return from == nullptr;
            }
            shown->append(octets, static_cast<size_t>(size));
        }
    }

    // A PKI of one root whose key is encrypted with "secret".
    std::vector<std::string> Init() const
    {
        return {"init", Path("fresh"), "--only", "root"};
    }
};

TEST_F(Terminals, AreAskedTwiceForTheFirstPassphraseAndOnceForTheNextAndShowNothingOfIt)
{
    const Transcript made =
        Talk(Init(), {{"Passphrase for key 'root': ", "tell nobody\n"}, {"Again: ", "tell nobody\n"}});
    EXPECT_EQ(0, made.status) << made.shown;
    EXPECT_FALSE(Contains(made.shown, "tell"));
    EXPECT_TRUE(Contains(made.shown, "Next: pkgsign list --pki ")); // on a terminal only
    EXPECT_TRUE(Contains(Read("fresh/private/root.key"), "BEGIN ENCRYPTED PRIVATE KEY"));
    const std::vector<std::string> crl = {"crl", "--part", "--out", Path("crls"), "--pki", Path("fresh")};
    const Transcript signedOne = Talk(crl, {{"Passphrase for key 'root': ", "tell nobody\n"}});
    EXPECT_EQ(0, signedOne.status) << signedOne.shown;
    EXPECT_FALSE(Contains(signedOne.shown, "tell"));
    const Transcript refused = Talk(crl, {{"Passphrase for key 'root': ", "wrong\n"}});
    EXPECT_EQ(1, refused.status) << refused.shown;
    EXPECT_FALSE(Contains(refused.shown, "wrong\r"));
}

TEST_F(Terminals, ThatAreToldTwoPassphrasesOrNoneLetNothingHappen)
{
    EXPECT_TRUE(
        Contains(Talk(Init(), {{"'root': ", "one\n"}, {"Again: ", "two\n"}}).shown, "the two passphrases differ"));
    EXPECT_TRUE(Contains(Talk(Init(), {{"'root': ", "\n"}, {"Again: ", "\n"}}).shown, "is empty"));
    EXPECT_TRUE(Contains(Talk(Init(), {{"'root': ", "\x04"}, {"Again: ", "\x04"}}).shown, "is empty"));
    EXPECT_FALSE(Made("fresh"));
}

TEST_F(Terminals, AreNotAskedWithNoInput)
{
    std::vector<std::string> init = Init();
    init.push_back("--no-input");
    const Transcript transcript = Talk(init, {});
    EXPECT_EQ(1, transcript.status);
    EXPECT_TRUE(Contains(transcript.shown, "use --passphrase-file, or --no-encryption")) << transcript.shown;
}

TEST_F(Terminals, GetTheirEchoBackWhenTheQuestionIsInterrupted)
{
    for (const Typed &typed : {Typed{"'root': ", "\x03"}, {"'root': ", "", SIGTERM}, {"'root': ", "", SIGHUP}}) {
        const Transcript transcript = Talk(Init(), {typed});
        EXPECT_EQ(1, transcript.status) << transcript.shown;
        EXPECT_TRUE(Contains(transcript.shown, "interrupted")) << transcript.shown;
        EXPECT_TRUE(transcript.isEchoOn);
        const std::filesystem::directory_iterator files(directory.path);
        EXPECT_EQ(2, std::distance(begin(files), end(files))); // the folder that was begun is gone
    }
}

// As between the question and the wait for the answer.
TEST_F(Terminals, AreNotWaitedForWhenASignalCameBefore)
{
    const Transcript transcript = Talk(Init(), {}, SIGTERM);
    EXPECT_EQ(1, transcript.status) << transcript.shown;
    EXPECT_TRUE(Contains(transcript.shown, "interrupted")) << transcript.shown;
    EXPECT_TRUE(transcript.isEchoOn);
}

} // namespace
