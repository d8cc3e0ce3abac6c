// crl_compare: tells which of two CRL files is newer.
#include <getopt.h>
#include <stdio.h>
#include <unistd.h>

#include <string>

#include "crltool/crl_file.h"
#include "crltool/report.h"
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
};

enum class Request { COMPARE, HELP, VERSION, MISUSE };

Request ParseOptions(int argc, char **argv, Options *options)
{
    const option longOptions[] = {{"root", required_argument, nullptr, 'r'},
                                  {"json", no_argument, nullptr, 'j'},
                                  {"help", no_argument, nullptr, 'h'},
                                  {"version", no_argument, nullptr, 'V'},
                                  {}};
    for (;;) {
        switch (getopt_long(argc, argv, "", longOptions, nullptr)) {
        case 'r':
            options->root = optarg;
            break;
        case 'j':
            options->json = true;
            break;
        case 'h':
            return Request::HELP;
        case 'V':
            return Request::VERSION;
        case -1:
            if (argc - optind != 2 || options->root.empty()) {
                (void)fprintf(stderr, "crl_compare: wants --root ROOT and two files\n");
                return Request::MISUSE;
            }
            options->first = argv[optind];
            options->second = argv[optind + 1];
            return Request::COMPARE;
        default:
            return Request::MISUSE; // getopt_long has said why
        }
    }
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

bool Load(const Options &options, const std::string &path, CrlFile *file)
{
    std::string failedPath;
    const uint32_t status = LoadCrlFile(options.root, path, file, &failedPath);
    if (status != SIGKIT_OK) {
        (void)fprintf(stderr, "crl_compare: %s: %s\n", Printable(failedPath).c_str(), LoadFailure(status).c_str());
    }
    return status == SIGKIT_OK;
}

// Compares the files and writes the answer to `output`.
int Compare(const Options &options, int output)
{
    CrlFile first;
    CrlFile second;
    if (!Load(options, options.first, &first) || !Load(options, options.second, &second)) {
        return EXIT_UNUSABLE;
    }
    Comparison comparison = {first, second, SIGKIT_OK, SIGKIT_CRL_CONFLICT};
    comparison.status = SigkitCrlCompare(first.ctx, first.bundle, second.bundle, &comparison.result);
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
    Options options;
    switch (ParseOptions(argc, argv, &options)) {
    case Request::HELP:
        return Print(USAGE);
    case Request::VERSION:
        return Print("crl_compare " CRL_COMPARE_VERSION "\n");
    case Request::MISUSE:
        (void)fprintf(stderr, "Try 'crl_compare --help'.\n");
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
