// crl_compare: tells which of two CRL files is newer.
#include <getopt.h>
#include <signal.h>
#include <stdio.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "crltool/comparison.h"
#include "crltool/crl_file.h"
#include "crltool/report.h"
#include "crltool/text.h"
#include "src/libcrypto_start.h"

namespace
{

constexpr int EXIT_UNUSABLE = 3; // usage, or input that cannot be read

constexpr char USAGE[] = "Usage: crl_compare [--json] --root ROOT FIRST SECOND\n"
                         "\n"
                         "Tells which of two CRL files is newer. A file holds CRLs together with the CA\n"
                         "certificates that issued them, as DER objects back to back or as PEM blocks.\n"
                         "\n"
                         "  --root ROOT   the trust anchor: a root certificate, DER or PEM\n"
                         "  --json        print one JSON document instead of tables\n"
                         "  --help        print this text\n"
                         "  --version     print the version\n"
                         "\n"
                         "The column 'revoked' counts the CA certificates that a root's CRL revokes.\n"
                         "Exit status: 0 the first file is newer or both are equally new, 1 the second\n"
                         "is newer, 2 they cannot be compared, 3 wrong usage or unreadable input.\n";

struct Options {
    std::string root;
    std::string first;
    std::string second;
    bool json = false;
    std::string misuse; // what is wrong with the command line
};

enum class Request { COMPARE, HELP, VERSION, MISUSE };

// Above every letter, so that a letter that getopt_long stops at is none of them.
enum : int { OPTION_ROOT = 256, OPTION_JSON, OPTION_HELP, OPTION_VERSION };

// The option that getopt_long has stopped at because it is wrong.
std::string WrongOption(char **argv)
{
    return optopt > 0 && optopt < OPTION_ROOT ? std::string("-") + static_cast<char>(optopt) : argv[optind - 1];
}

// Reads the command line to its end, behind a wrong option too: --json may stand there. Of several requests the first
// counts.
Request ParseOptions(int argc, char **argv, Options *options)
{
    const option longOptions[] = {{"root", required_argument, nullptr, OPTION_ROOT},
                                  {"json", no_argument, nullptr, OPTION_JSON},
                                  {"help", no_argument, nullptr, OPTION_HELP},
                                  {"version", no_argument, nullptr, OPTION_VERSION},
                                  {}};
    opterr = 0; // getopt_long would print the argument as it is
    std::vector<Request> requests;
    for (int found = 0; (found = getopt_long(argc, argv, "", longOptions, nullptr)) != -1;) {
        switch (found) {
        case OPTION_ROOT:
            options->root = optarg;
            break;
        case OPTION_JSON:
            options->json = true;
            break;
        case OPTION_HELP:
            requests.push_back(Request::HELP);
            break;
        case OPTION_VERSION:
            requests.push_back(Request::VERSION);
            break;
        default:
            options->misuse = options->misuse.empty() ? "wrong option " + WrongOption(argv) : options->misuse;
            requests.push_back(Request::MISUSE);
        }
    }
    if (!requests.empty()) {
        return requests.front();
    }
    if (argc - optind != 2 || options->root.empty()) {
        options->misuse = "wants --root ROOT and two files";
        return Request::MISUSE;
    }
    options->first = argv[optind];
    options->second = argv[optind + 1];
    return Request::COMPARE;
}

// Writes a text to the end and tells whether all of it went out.
bool Write(int file, const std::string &text)
{
    size_t written = 0;
    while (written < text.size()) {
        const ssize_t octets = write(file, text.data() + written, text.size() - written);
        if (octets <= 0) {
            return false;
        }
        written += static_cast<size_t>(octets);
    }
    return true;
}

// Says why there is no answer: on standard error, and for programs on `output`.
int Fail(const Options &options, const std::string &reason, int output)
{
    (void)fprintf(stderr, "crl_compare: %s\n", Printable(reason).c_str());
    if (options.json && !Write(output, JsonError(reason))) {
        perror("crl_compare: cannot write the answer");
    }
    return EXIT_UNUSABLE;
}

// Loads a file. Returns why that failed; empty when it did not.
std::string Load(const Options &options, const std::string &path, CrlFile *file)
{
    std::string failedPath;
    const uint32_t status = LoadCrlFile(options.root, path, file, &failedPath);
    return status == SIGKIT_OK ? "" : failedPath + ": " + LoadFailure(status);
}

// Compares the files and writes the answer to `output`.
int Compare(const Options &options, int output)
{
    CrlFile first;
    CrlFile second;
    std::string failure = Load(options, options.first, &first);
    if (failure.empty()) {
        failure = Load(options, options.second, &second);
    }
    if (!failure.empty()) {
        return Fail(options, failure, output);
    }
    const Comparison comparison = CompareFiles(first, second);
    if (!Write(output, options.json ? JsonReport(comparison) : TextReport(comparison))) {
        perror("crl_compare: cannot write the answer");
        return EXIT_UNUSABLE;
    }
    return ExitStatus(comparison);
}

int Print(const std::string &text)
{
    return Write(STDOUT_FILENO, text) ? 0 : EXIT_UNUSABLE;
}

} // namespace

int main(int argc, char **argv)
{
    (void)signal(SIGXFSZ, SIG_IGN); // an answer that a limit of a file's size cuts off is an error like any other
    Options options;
    switch (ParseOptions(argc, argv, &options)) {
    case Request::HELP:
        return Print(USAGE);
    case Request::VERSION:
        return Print("crl_compare " CRL_COMPARE_VERSION "\n");
    case Request::MISUSE:
        (void)Fail(options, options.misuse, STDOUT_FILENO);
        (void)fprintf(stderr, "crl_compare: Try 'crl_compare --help'.\n");
        return EXIT_UNUSABLE;
    case Request::COMPARE:
        break;
    }
    (void)StartLibcrypto();
    // The library's lines go to standard output, which here belongs to the answer alone.
    const int output = dup(STDOUT_FILENO);
    if (output < 0 || dup2(STDERR_FILENO, STDOUT_FILENO) < 0) {
        perror("crl_compare: standard output");
        return EXIT_UNUSABLE;
    }
    return Compare(options, output);
}
