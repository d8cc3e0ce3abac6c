// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// What every command of pkgsign is made of.
#ifndef PKGSIGN_COMMANDS_COMMAND_H
#define PKGSIGN_COMMANDS_COMMAND_H

#include <functional>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "pkgsign/authority/issue.h"
#include "pkgsign/status.h"

namespace pkgsign
{

// Exit statuses of all commands.
enum Exit : int {
    EXIT_DONE = 0,
    EXIT_NOT_DONE = 1,     // a line on standard error says why; nothing was written. check: a device refuses
    EXIT_COMMAND_LINE = 2, // the command line is not understood
    EXIT_ENDS_SOON = 3,    // --horizon: something that a package needs ends soon
};

using Target = std::variant<bool *, std::string *, std::vector<std::string> *>;

struct Option {
    std::string names; // "-o,--out", or "FILE" for an argument
    std::string value; // what stands behind it: "FILE"; empty for a flag
    std::string help;
    Target target;
    bool isRequired = false;
};

// What a command works with, and what it says.
struct Session {
    Workplace place;
    Secrets secrets;
    bool isTerminal = false; // standard output
    std::string out;         // goes to standard output at the end
    std::string next;        // the next useful command; shown on a terminal
    Exit success = EXIT_DONE;
};

struct Command {
    std::string name;
    std::string summary;
    std::string example;
    std::vector<Option> options;
    bool hasFolder = true; // takes --pki and what belongs to keys
    bool isWriting = true; // takes --dry-run
    std::function<Status(Session *)> run;
};

// A command whose options `describe` binds to a record, which `run` is given.
template <typename Options>
Command MakeCommand(const char *name, const char *summary, const char *example,
                    Status (*run)(const Options &options, Session *session),
                    std::vector<Option> (*describe)(Options *options))
{
    const auto options = std::make_shared<Options>();
    Command command;
    command.name = name;
    command.summary = summary;
    command.example = example;
    command.options = describe(options.get());
    command.run = [options, run](Session *session) { return run(*options, session); };
    return command;
}

Command InitCommand();
Command RequestCommand();
Command IssueCommand();
Command RevokeCommand();
Command CrlCommand();
Command KeyCommand();
Command ListCommand();
Command ImportCommand();
Command InspectCommand();
Command ChecksumsCommand();
Command SignCommand();
Command TimestampCommand();
Command ServeCommand();
Command ExplainCommand();
Command CheckCommand();

std::vector<Command> AllCommands();

// Reads the command line, runs the command and reports. The result is the exit status.
int RunCommandLine(int argc, char **argv, const std::vector<Command> &commands);

} // namespace pkgsign

#endif
