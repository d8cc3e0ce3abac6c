// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The command line. The one file that includes CLI11, which takes seconds to compile.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <numeric>

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

constexpr size_t WORD_DISTANCE_MAX = 2; // letters, between what was typed and what was meant
constexpr size_t WORD_SIZE_MAX = 64;
constexpr char COMMON[] = "Common options"; // heads them in the help

CLI::Option *AddOption(CLI::App *app, const Option &option)
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
    return added;
}

void AddCommon(CLI::App *app, const Command &command, Common *common)
{
    const auto add = [app](const Option &option) { AddOption(app, option)->group(COMMON); };
    if (command.hasFolder) {
        add({"--pki", "DIR", "the PKI folder; else $PKGSIGN_PKI, else pki", &common->folder});
        add({"--passphrase-file", "FILE",
             "holds the passphrase of the keys, or KEY=FILE that of one; PINs of tokens as well",
             &common->passphraseFiles});
        add({"--passphrase-fd", "N", "descriptor from which the passphrase is read", &common->passphraseDescriptor});
        add({"--now", "TIME", "what counts as now, for rehearsals: 2026-01-31T12:00:00Z", &common->now});
    }
    add({"--no-input", "", "never ask on the terminal", &common->noInput});
    if (command.isWriting) {
        add({"-n,--dry-run", "", "try everything and show what would be signed; sign and write nothing",
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
                       Printable(status.reason).c_str(), status.isUsage ? "; try --help" : "");
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

// How many letters have to be put in, taken out or changed to make one word the other.
size_t Distance(const std::string &a, const std::string &b)
{
    std::vector<size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), size_t{0});
    for (size_t i = 1; i <= a.size(); ++i) {
        size_t diagonal = row[0]++;
        for (size_t j = 1; j <= b.size(); ++j) {
            const size_t changed = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
            diagonal = row[j];
            row[j] = std::min({changed, row[j] + 1, row[j - 1] + 1});
        }
    }
    return row.back();
}

// What is wrong with a word in the place of the command; nothing when it is one.
std::string UnknownCommand(const std::string &word, const std::vector<Command> &commands)
{
    const Command *nearest = nullptr;
    size_t least = std::min(WORD_DISTANCE_MAX, word.size() / 2) + 1;
    for (const Command &command : commands) {
        const size_t distance = Distance(word.substr(0, WORD_SIZE_MAX), command.name);
        if (distance == 0) {
            return {};
        }
        nearest = distance < least ? &command : nearest;
        least = std::min(distance, least);
    }
    return "'" + word + "' is no command" + (nearest == nullptr ? "" : "; did you mean " + nearest->name + "?");
}

std::string FirstLine(const std::string &text)
{
    return text.substr(0, text.find('\n'));
}

// ---- What CLI11 knows, in other forms -------------------------------------------------------------------------------

// The options and arguments of a command under one heading of its help, but for help and version.
std::vector<const CLI::Option *> OptionsOf(const CLI::App &command, const std::string &group)
{
    const CLI::Option *const help = command.get_help_ptr();
    const CLI::Option *const version = command.get_version_ptr();
    return command.get_options([&](const CLI::Option *option) {
        const bool isHere = option->get_positional() ? group != COMMON : option->get_group() == group;
        return isHere && option != help && option != version;
    });
}

// "-o", "--out": the names of an option as they are typed.
std::vector<std::string> NamesOf(const CLI::Option &option)
{
    std::vector<std::string> names;
    for (const std::string &name : option.get_snames()) {
        names.push_back("-" + name);
    }
    for (const std::string &name : option.get_lnames()) {
        names.push_back("--" + name);
    }
    return names;
}

std::string ManualList(const std::vector<const CLI::Option *> &options)
{
    std::string text = ".Bl -tag -width Ds\n";
    for (const CLI::Option *option : options) {
        std::string item;
        for (const std::string &name : NamesOf(*option)) {
            item += (item.empty() ? " Fl " : " , Fl ") + name.substr(1);
        }
        const std::string value = option->get_type_name();
        text += ".It" + item + (value.empty() ? "" : " Ar " + value) + "\n" + option->get_description() + "\n";
    }
    return text + ".El\n";
}

// The lists of options in the manual page (mdoc).
std::string DescribeForManual(const std::vector<CLI::App *> &commands)
{
    std::string text = "The options of most commands are:\n" + ManualList(OptionsOf(*commands.front(), COMMON)) +
                       ".Pp\nThe commands are:\n.Bl -tag -width Ds\n";
    for (const CLI::App *command : commands) {
        text += ".It Cm " + command->get_name() + "\n" + command->get_description() + "\n" +
                ManualList(OptionsOf(*command, "Options"));
    }
    return text + ".El\n";
}

// What bash needs to complete names of commands and options; all else are files.
std::string DescribeForBash(const std::vector<CLI::App *> &commands)
{
    std::string names;
    std::string cases;
    for (const CLI::App *command : commands) {
        names += command->get_name() + " ";
        cases += "    " + command->get_name() + ") words='";
        for (const CLI::Option *option : command->get_options()) {
            for (const std::string &name : NamesOf(*option)) {
                cases += name + " ";
            }
        }
        cases.back() = '\'';
        cases += " ;;\n";
    }
    return "_pkgsign()\n{\n    local words='' current=${COMP_WORDS[COMP_CWORD]}\n    COMPREPLY=()\n"
           "    case ${COMP_WORDS[1]} in\n" +
           cases +
           "    esac\n"
           "    if [ \"$COMP_CWORD\" -eq 1 ]; then words='" +
           names +
           "-h --help -V --version'; fi\n"
           "    if [ \"$COMP_CWORD\" -eq 1 ] || [ \"${current:0:1}\" = - ]; then\n"
           "        mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$current\")\n    fi\n}\n"
           "complete -o default -F _pkgsign pkgsign\n";
}

// The command that is not in the help: what the others are like, for bash and for the manual page.
struct Describer {
    CLI::App *app = nullptr;
    std::string form;
};

void AddDescriber(CLI::App *app, Describer *describer)
{
    describer->app = app->add_subcommand("completion", "Describe all commands for bash or man")->group("");
    describer->app->add_option("FORM", describer->form)->required()->check(CLI::IsMember({"bash", "man"}));
}

int Describe(const Describer &describer, const std::vector<CLI::App *> &commands)
{
    const Status status =
        WriteStandardOutput(describer.form == "man" ? DescribeForManual(commands) : DescribeForBash(commands));
    return status.ok ? EXIT_DONE : Report("completion", status);
}

} // namespace

std::vector<Command> AllCommands()
{
    return {InitCommand(),      RequestCommand(), IssueCommand(),   RevokeCommand(),    CrlCommand(),
            ListCommand(),      ImportCommand(),  KeyCommand(),     ChecksumsCommand(), SignCommand(),
            TimestampCommand(), ServeCommand(),   InspectCommand(), CheckCommand(),     ExplainCommand()};
}

int RunCommandLine(int argc, char **argv, const std::vector<Command> &commands)
{
    CLI::App app{"Makes and keeps a PKI, and signs packages under it.", "pkgsign"};
    std::vector<Common> commons(commands.size());
    std::vector<CLI::App *> subcommands;
    app.set_version_flag("-V,--version", "pkgsign " PKGSIGN_VERSION);
    app.require_subcommand(1);
    app.footer("Exit status: 0 done, 1 not done, 2 command line, 3 ends soon (--horizon).\n"
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
    Describer describer;
    AddDescriber(&app, &describer);
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success &shown) { // help or version
        std::ostringstream text;
        (void)app.exit(shown, text, text);
        const Status status = WriteStandardOutput(text.str());
        return status.ok ? EXIT_DONE : Report("", status);
    } catch (const CLI::ParseError &error) {
        const bool hasWord = argc > 1 && argv[1][0] != '-' && std::string(argv[1]) != describer.app->get_name();
        const std::string unknown = hasWord ? UnknownCommand(argv[1], commands) : "";
        (void)std::fprintf(stderr, "pkgsign: %s; try pkgsign --help\n",
                           Printable(unknown.empty() ? FirstLine(error.what()) : unknown).c_str());
        return EXIT_COMMAND_LINE;
    }
    if (describer.app->parsed()) {
        return Describe(describer, subcommands);
    }
    for (size_t i = 0; i < commands.size(); ++i) {
        if (subcommands[i]->parsed()) {
            return Run(commands[i], commons[i]);
        }
    }
    return EXIT_COMMAND_LINE;
}

} // namespace pkgsign
