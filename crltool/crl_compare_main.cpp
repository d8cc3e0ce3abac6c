// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// crl_compare: says which of two CRL files is newer.
#include <getopt.h>
#include <signal.h>
#include <stdio.h>
#include <unistd.h>

#include <initializer_list>

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
                         "Says which of two CRL files is newer. A file holds CRLs together with the CA\n"
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
    const char *root = nullptr;
    const char *first = nullptr;
    const char *second = nullptr;
    bool isJson = false;
    const char *wrong = nullptr; // the first option that is none
    char letter[3] = {};         // holds `wrong` when that is a single letter
};

enum class Request { NONE, COMPARE, HELP, VERSION, MISUSE };

// Above every letter, so that a letter that getopt_long stops at is none of them.
enum : int { OPTION_ROOT = 256, OPTION_JSON, OPTION_HELP, OPTION_VERSION };

constexpr option LONG_OPTIONS[] = {{"root", required_argument, nullptr, OPTION_ROOT},
                                   {"json", no_argument, nullptr, OPTION_JSON},
                                   {"help", no_argument, nullptr, OPTION_HELP},
                                   {"version", no_argument, nullptr, OPTION_VERSION},
                                   {}};

// Keeps the option that getopt_long has stopped at because it is wrong.
void NoteWrongOption(char **argv, Options *options)
{
    if (options->wrong != nullptr) {
        return;
    }
    options->wrong = argv[optind - 1];
    if (optopt > 0 && optopt < OPTION_ROOT) {
        (void)snprintf(options->letter, sizeof(options->letter), "-%c", optopt);
        options->wrong = options->letter;
    }
}

// Takes an option that getopt_long has found. Returns what it requests.
Request TakeOption(int found, char **argv, Options *options)
{
    switch (found) {
    case OPTION_ROOT:
        options->root = optarg;
        return Request::NONE;
    case OPTION_JSON:
        options->isJson = true;
        return Request::NONE;
    case OPTION_HELP:
        return Request::HELP;
    case OPTION_VERSION:
        return Request::VERSION;
    default:
        NoteWrongOption(argv, options);
        return Request::MISUSE;
    }
}

// Reads the command line to its end, behind a wrong option too: --json may stand there. Of several requests the first
// counts.
Request ParseOptions(int argc, char **argv, Options *options)
{
    opterr = 0; // getopt_long would print the argument as it is
    Request request = Request::NONE;
    for (int found = 0; (found = getopt_long(argc, argv, "", LONG_OPTIONS, nullptr)) != -1;) {
        const Request another = TakeOption(found, argv, options);
        request = request == Request::NONE ? another : request;
    }
    if (request != Request::NONE) {
        return request;
    }
    if (argc - optind != 2 || options->root == nullptr || options->root[0] == '\0') {
        return Request::MISUSE;
    }
    options->first = argv[optind];
    options->second = argv[optind + 1];
    return Request::COMPARE;
}

// Closes a file that was written to. Returns `status`, or that something did not go out, which is said.
int Finish(FILE *file, int status)
{
    const bool isWritten = fflush(file) == 0 && ferror(file) == 0;
    if (!isWritten) {
        perror("crl_compare: cannot write the answer");
    }
    return fclose(file) == 0 && isWritten ? status : EXIT_UNUSABLE;
}

// Says why there is no answer: on standard error, and for programs on `output`.
void Fail(const Options &options, FILE *output, std::initializer_list<const char *> reason)
{
    (void)fputs("crl_compare: ", stderr);
    Say({stderr, WritePrintable}, reason);
    (void)fputc('\n', stderr);
    if (options.isJson) {
        WriteJsonError(output, reason);
    }
}

// Says what is wrong with the command line.
void FailUsage(const Options &options, FILE *output)
{
    if (options.wrong != nullptr) {
        Fail(options, output, {"wrong option ", options.wrong});
    } else {
        Fail(options, output, {"wants --root ROOT and two files"});
    }
    (void)fputs("crl_compare: Try 'crl_compare --help'.\n", stderr);
}

// Says why a file could not be loaded.
void FailLoad(const Options &options, FILE *output, const char *path, uint32_t status)
{
    char code[16] = "";
    const char *reason = SigkitStatusText(status);
    switch (status) {
    case SIGKIT_ERR_PARAM:
        reason = "the path is empty";
        break;
    case SIGKIT_ERR_CRL_LOAD:
        reason = "the file does not hold 1 to 16 CRLs with certificates of their issuers";
        break;
    case SIGKIT_ERR_UNKNOWN:
        reason = "the file holds no certificate";
        break;
    default:
        (void)snprintf(code, sizeof(code), " (%08x)", static_cast<unsigned>(status));
    }
    Fail(options, output, {path, ": ", reason, code});
}

// Compares the files and writes the answer to `output`. Returns the exit status.
int Compare(const Options &options, FILE *output)
{
    LoadedCrlFile first;
    LoadedCrlFile second;
    const char *failedPath = nullptr;
    uint32_t status = LoadCrlFile(options.root, options.first, &first, &failedPath);
    if (status == SIGKIT_OK) {
        status = LoadCrlFile(options.root, options.second, &second, &failedPath);
    }
    if (status != SIGKIT_OK) {
        FailLoad(options, output, failedPath, status);
        return EXIT_UNUSABLE;
    }
    const Comparison comparison = CompareFiles(first, second);
    if (options.isJson) {
        WriteJsonReport(output, comparison);
    } else {
        WriteTextReport(output, comparison);
    }
    return ExitStatus(comparison);
}

// Takes standard output for the answer alone: the library's lines, which go there, go to standard error from now on.
// Null when that fails, which is said.
FILE *TakeStandardOutput()
{
    const int descriptor = dup(STDOUT_FILENO);
    FILE *const output = descriptor < 0 ? nullptr : fdopen(descriptor, "w");
    if (output == nullptr || dup2(STDERR_FILENO, STDOUT_FILENO) < 0) {
        perror("crl_compare: standard output");
        return nullptr;
    }
    return output;
}

} // namespace

int main(int argc, char **argv)
{
    // An answer that nobody takes, or that a limit of a file's size cuts off, is an error like any other.
    (void)signal(SIGPIPE, SIG_IGN);
    (void)signal(SIGXFSZ, SIG_IGN);
    Options options;
    const Request request = ParseOptions(argc, argv, &options);
    if (request == Request::MISUSE) {
        FailUsage(options, stdout);
        return Finish(stdout, EXIT_UNUSABLE);
    }
    if (request == Request::HELP || request == Request::VERSION) {
        (void)fputs(request == Request::HELP ? USAGE : "crl_compare " CRL_COMPARE_VERSION "\n", stdout);
        return Finish(stdout, 0);
    }
    (void)StartLibcrypto();
    FILE *const output = TakeStandardOutput();
    return output == nullptr ? EXIT_UNUSABLE : Finish(output, Compare(options, output));
}
