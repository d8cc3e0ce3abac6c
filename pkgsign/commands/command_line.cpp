// The command line. The one file that includes CLI11, which takes seconds to compile.
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>

#include <CLI/CLI.hpp>

#include "pkgsign/commands/command.h"
#include "pkgsign/files/files.h"

namespace pkgsign
{
namespace
{

// The options that commands have in common.
struct Common {
    std::string folder;
    std::vector<std::string> passphraseFiles;
    std::string passphraseDescriptor;
    std::string now;
    bool noInput = false;
    bool dryRun = false;
};

void AddOption(CLI::App *app, const Option &option)
{
    CLI::Option *added = nullptr;
    if (bool *const *flag = std::get_if<bool *>(&option.target); flag != nullptr) {
        added = app->add_flag(option.names, **flag, option.help);
    } else if (std::string *const *text = std::get_if<std::string *>(&option.target); text != nullptr) {
        added = app->add_option(option.names, **text, option.help);
    } else {
        added = app->add_option(option.names, *std::get<std::vector<std::string> *>(option.target), option.help);
    }
    if (!option.value.empty()) {
        added->type_name(option.value);
    }
    if (option.names[0] == '-') {
        added->allow_extra_args(false); // what stands behind the one value of a list option is an argument
    }
    added->required(option.isRequired);
}

void AddCommon(CLI::App *app, const Command &command, Common *common)
{
    if (command.hasFolder) {
        AddOption(app, {"--pki", "DIR", "the PKI folder; else $PKGSIGN_PKI, else pki", &common->folder});
        AddOption(app, {"--passphrase-file", "FILE",
                        "holds the passphrase of the keys, or KEY=FILE that of one; PINs of tokens as well",
                        &common->passphraseFiles});
        AddOption(app, {"--passphrase-fd", "N", "descriptor from which the passphrase is read",
                        &common->passphraseDescriptor});
        AddOption(app, {"--now", "TIME", "what counts as now, for rehearsals: 2026-01-31T12:00:00Z", &common->now});
    }
    AddOption(app, {"--no-input", "", "never ask on the terminal", &common->noInput});
    if (command.isWriting) {
        AddOption(app, {"-n,--dry-run", "", "try everything and show what would be signed; sign and write nothing",
                        &common->dryRun});
    }
}

Status ReadSecrets(const Common &common, Secrets *secrets)
{
    secrets->mayPrompt = !common.noInput;
    for (const std::string &value : common.passphraseFiles) {
        const size_t equals = value.rfind('=');
        if (equals == std::string::npos || Exists(value)) {
            secrets->file = value;
        } else {
            secrets->files[value.substr(0, equals)] = value.substr(equals + 1);
        }
    }
    if (!common.passphraseDescriptor.empty()) {
        char *end = nullptr;
        const long descriptor = std::strtol(common.passphraseDescriptor.c_str(), &end, 10);
        if (*end != '\0' || descriptor < 0 || descriptor > 1023) {
            return FailUsage("--passphrase-fd wants the number of an open descriptor");
        }
        secrets->descriptor = static_cast<int>(descriptor);
    }
    return {};
}

Status Prepare(const Common &common, Session *session)
{
    const char *const folder = std::getenv("PKGSIGN_PKI");
    session->place.folder = !common.folder.empty() ? common.folder : folder != nullptr ? folder : "pki";
    session->place.secrets = &session->secrets;
    session->place.dryRun = common.dryRun;
    session->place.now = static_cast<int64_t>(std::time(nullptr));
    session->isTerminal = isatty(STDOUT_FILENO) == 1;
    Status status = ReadSecrets(common, &session->secrets);
    if (status.ok && !common.now.empty()) {
        status = Usage(ParseTime(common.now, &session->place.now));
    }
    return status;
}

// One line on standard error. command: empty, or its name.
int Report(const std::string &command, const Status &status)
{
    (void)std::fprintf(stderr, "pkgsign%s%s: %s%s\n", command.empty() ? "" : " ", command.c_str(),
                       status.reason.c_str(), status.isUsage ? "; try --help" : "");
    return status.isUsage ? EXIT_COMMAND_LINE : EXIT_NOT_DONE;
}

// Refused before anything is done: a command whose report cannot be read must not have worked.
Status CheckStandardOutput()
{
    const int flags = fcntl(STDOUT_FILENO, F_GETFL);
    return flags >= 0 && (flags & O_ACCMODE) != O_RDONLY ? Status() : Fail("standard output is closed");
}

int Run(const Command &command, const Common &common)
{
    Session session;
    Status status = CheckStandardOutput();
    if (status.ok) {
        status = Prepare(common, &session);
    }
    if (status.ok) {
        status = command.run(&session);
    }
    if (!status.ok) {
        return Report(command.name, status);
    }
    if (session.isTerminal && !session.next.empty() && !session.place.dryRun) {
        session.out += "Next: " + session.next + "\n";
    }
    status = WriteStandardOutput(session.out);
    if (!status.ok && command.isWriting && !session.place.dryRun) {
        status.reason += "; the command has done its work, and only what it prints is lost";
    }
    return status.ok ? session.success : Report(command.name, status);
}

std::string FirstLine(const std::string &text)
{
    return text.substr(0, text.find('\n'));
}

} // namespace

std::vector<Command> AllCommands()
{
    return {InitCommand(),   RequestCommand(), IssueCommand(),     RevokeCommand(), CrlCommand(),       ListCommand(),
            ImportCommand(), KeyCommand(),     ChecksumsCommand(), SignCommand(),   TimestampCommand(), ServeCommand()};
}

int RunCommandLine(int argc, char **argv, const std::vector<Command> &commands)
{
    CLI::App app{"Makes and keeps a PKI, and signs packages under it.", "pkgsign"};
    std::vector<Common> commons(commands.size());
    std::vector<CLI::App *> subcommands;
    app.set_version_flag("-V,--version", "pkgsign " PKGSIGN_VERSION);
    app.require_subcommand(1);
    app.footer("Exit status: 0 done, 1 not done, 2 command line, 3 ends soon (list --horizon).\n"
               "Example: pkgsign init pki");
    for (size_t i = 0; i < commands.size(); ++i) {
        CLI::App *const sub = app.add_subcommand(commands[i].name, commands[i].summary);
        sub->set_version_flag("-V,--version", "pkgsign " PKGSIGN_VERSION);
        sub->footer("Example: " + commands[i].example);
        for (const Option &option : commands[i].options) {
            AddOption(sub, option);
        }
        AddCommon(sub, commands[i], &commons[i]);
        subcommands.push_back(sub);
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success &shown) { // help or version
        std::ostringstream text;
        (void)app.exit(shown, text, text);
        const Status status = WriteStandardOutput(text.str());
        return status.ok ? EXIT_DONE : Report("", status);
    } catch (const CLI::ParseError &error) {
        (void)std::fprintf(stderr, "pkgsign: %s; try pkgsign --help\n", Printable(FirstLine(error.what())).c_str());
        return EXIT_COMMAND_LINE;
    }
    for (size_t i = 0; i < commands.size(); ++i) {
        if (subcommands[i]->parsed()) {
            return Run(commands[i], commons[i]);
        }
    }
    return EXIT_COMMAND_LINE;
}

} // namespace pkgsign
