// pkgsign: the command line over the release side's library.
#include "pkgsign/commands.h"
#include "tests/forge/status.h"

#include <cstdio>

namespace
{
constexpr int EXIT_MISUSE = 2;

std::vector<PkgsignCommand> Commands()
{
    return {PkgsignInitCommand(),  PkgsignCrlCommand(),       PkgsignSignCommand(),      PkgsignTimestampCommand(),
            PkgsignTokenCommand(), PkgsignSignatureCommand(), PkgsignEmbedTokenCommand()};
}

int PrintOverview()
{
    std::printf("Usage: pkgsign COMMAND [ARGUMENT]...\n\n"
                "Signs upgrade packages, and makes what their verification needs.\n\n");
    for (const PkgsignCommand &command : Commands()) {
        std::printf("  %-12s %s\n", command.name, command.summary);
    }
    std::printf("\n'pkgsign COMMAND --help' explains a command. 'pkgsign --version' names the version.\n"
                "Exit status: 0 done, 1 the work could not be done, 2 the command line is wrong.\n");
    return 0;
}

int Misuse(const std::string &command, const std::string &reason)
{
    const std::string name = command.empty() ? "pkgsign" : "pkgsign " + command;
    std::fprintf(stderr, "%s: %s (see '%s --help')\n", name.c_str(), reason.c_str(), name.c_str());
    return EXIT_MISUSE;
}

int Report(const PkgsignCommand &command, const PkgsignOutcome &outcome)
{
    switch (outcome.end) {
    case PkgsignEnd::Done:
        return 0;
    case PkgsignEnd::Misuse:
        return Misuse(command.name, outcome.reason);
    case PkgsignEnd::Failed:
        break;
    }
    std::fprintf(stderr, "pkgsign %s: %s\n", command.name, outcome.reason.c_str());
    return 1;
}

int RunCommand(const PkgsignCommand &command, const std::vector<std::string> &words)
{
    std::vector<PkgsignOption> options = command.options;
    options.push_back({"help"});
    PkgsignArguments arguments;
    const forge::Status status = PkgsignParseArguments(words, options, &arguments);
    if (!status.ok) {
        return Misuse(command.name, status.reason);
    }
    if (PkgsignHasOption(arguments, "help")) {
        std::fputs(command.help, stdout);
        return 0;
    }
    if (arguments.operands.size() < command.operandCount) {
        return Misuse(command.name, "the directory of the PKI is missing");
    }
    if (arguments.operands.size() > command.operandCount) {
        return Misuse(command.name, "unexpected argument '" + arguments.operands[command.operandCount] + "'");
    }
    return Report(command, command.run(arguments));
}

} // namespace

int main(int argc, char *argv[])
{
    const std::vector<std::string> words(argv + (argc > 0 ? 1 : 0), argv + argc);
    if (words.empty()) {
        return Misuse("", "no command");
    }
    if (words[0] == "--help") {
        return PrintOverview();
    }
    if (words[0] == "--version") {
        std::printf("pkgsign %s\n", PKGSIGN_VERSION);
        return 0;
    }
    for (const PkgsignCommand &command : Commands()) {
        if (words[0] == command.name) {
            return RunCommand(command, std::vector<std::string>(words.begin() + 1, words.end()));
        }
    }
    return Misuse("", "unknown command '" + words[0] + "'");
}
