// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <map>

#include "pkgsign/commands/command.h"
#include "pkgsign/crypto/types.h"
#include "pkgsign/files/files.h"

namespace pkgsign
{
namespace
{

struct Options {
    std::string directory;
    std::string out;
    std::string check;
    std::string version;
};

constexpr char NAME_CHARACTERS[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._-+/";
constexpr char VERSION_KEY[] = "version ";
constexpr size_t VERSION_DIGITS_MAX = 18; // fits 64 bits
constexpr size_t DIGEST_DIGITS = 64;

// A closed set of characters: no update step can read a name in two ways.
Status CheckName(const std::string &name)
{
    const std::string path = "/" + name;
    if (name.find_first_not_of(NAME_CHARACTERS) != std::string::npos || path.find("/.") != std::string::npos ||
        path.find("/-") != std::string::npos) {
        return Fail("the name '" + Printable(name) +
                    "' has a character other than letters, digits and . _ - + /, or a part of it begins with . or -; "
                    "rename the file");
    }
    return {};
}

Status DigestFile(const std::string &path, std::string *textOut)
{
    const MdCtxPtr ctx(EVP_MD_CTX_new());
    uint8_t digest[EVP_MAX_MD_SIZE] = {};
    unsigned int size = 0;
    if (ctx == nullptr || EVP_DigestInit_ex(ctx.get(), EVP_sha256(), nullptr) != 1) {
        return FailCrypto("cannot digest");
    }
    const Status status = ReadPieces(path, [&](const uint8_t *data, size_t count) {
        return EVP_DigestUpdate(ctx.get(), data, count) == 1 ? Status() : FailCrypto("cannot digest");
    });
    if (!status.ok || EVP_DigestFinal_ex(ctx.get(), digest, &size) != 1) {
        return status.ok ? FailCrypto("cannot digest") : status;
    }
    std::string text;
    for (unsigned int i = 0; i < size; ++i) {
        char two[4] = {};
        (void)std::snprintf(two, sizeof(two), "%02x", static_cast<unsigned>(digest[i]));
        text += two;
    }
    *textOut = std::move(text);
    return {};
}

// A path whose directory is free of links; its last part may be one.
std::filesystem::path Place(const std::filesystem::path &path)
{
    std::error_code error;
    return std::filesystem::weakly_canonical(std::filesystem::absolute(path, error).parent_path(), error) /
           path.filename();
}

// All regular files below a directory, by name; anything else in it is refused. The checksum file itself and what
// belongs to it are left out.
Status FindFiles(const Options &options, std::vector<std::string> *namesOut)
{
    namespace fs = std::filesystem;
    std::error_code error;
    std::vector<std::string> names;
    const std::string own = options.out.empty() ? options.check : options.out;
    const fs::path ownPath = Place(own);
    for (fs::recursive_directory_iterator file(options.directory, error), end; !error && file != end;
         file.increment(error)) {
        const std::string name = file->path().lexically_relative(options.directory).generic_string();
        const fs::path path = Place(file->path());
        const bool isLink = file->is_symlink(error);
        if (!isLink && (path == ownPath || path == fs::path(ownPath.string() + ".cms") || file->is_directory(error))) {
            continue;
        }
        if (isLink || !file->is_regular_file(error)) {
            return Fail("'" + Printable(file->path().string()) + "' is no regular file; a package holds nothing else");
        }
        const Status status = CheckName(name);
        if (!status.ok) {
            return status;
        }
        names.push_back(name);
    }
    if (error || names.empty()) {
        return Fail("'" + Printable(options.directory) + "' holds no files of a package");
    }
    std::sort(names.begin(), names.end());
    *namesOut = std::move(names);
    return {};
}

void ShowProgress(size_t done, size_t all)
{
    if (isatty(STDERR_FILENO) == 1) {
        (void)std::fprintf(stderr, "\r%zu of %zu files%s", done, all, done == all ? "\n" : "");
    }
}

// One line for each file, as sha256sum writes them, behind the line of the version.
Status ComputeLines(const Options &options, const std::vector<std::string> &names, std::string *linesOut)
{
    std::string lines;
    for (size_t i = 0; i < names.size(); ++i) {
        std::string digest;
        const Status status = DigestFile(options.directory + "/" + names[i], &digest);
        if (!status.ok) {
            return status;
        }
        lines += digest + "  " + names[i] + "\n";
        ShowProgress(i + 1, names.size());
    }
    *linesOut = std::move(lines);
    return {};
}

bool IsVersion(const std::string &text)
{
    return !text.empty() && text.size() <= VERSION_DIGITS_MAX &&
           text.find_first_not_of("0123456789") == std::string::npos && (text == "0" || text[0] != '0');
}

// The name of the file in a line of the one form that is taken, or nothing.
std::string NameIn(const std::string &line)
{
    const bool hasForm = line.size() > DIGEST_DIGITS + 2 && line.compare(DIGEST_DIGITS, 2, "  ") == 0 &&
                         line.find_first_not_of("0123456789abcdef") == DIGEST_DIGITS;
    const std::string name = hasForm ? line.substr(DIGEST_DIGITS + 2) : "";
    return !name.empty() && CheckName(name).ok ? name : "";
}

Status Check(const Options &options, Session *session)
{
    Bytes data;
    std::vector<std::string> names;
    std::string lines;
    Status status = ReadWhole(options.check, &data);
    const std::string text(data.begin(), data.end());
    const size_t end = text.find('\n');
    if (status.ok && (text.rfind(VERSION_KEY, 0) != 0 || end == std::string::npos ||
                      !IsVersion(text.substr(sizeof(VERSION_KEY) - 1, end - sizeof(VERSION_KEY) + 1)))) {
        return Fail("'" + Printable(options.check) + "', line 1: a checksum file begins with its version");
    }
    if (status.ok) {
        status = FindFiles(options, &names);
    }
    if (status.ok) {
        status = ComputeLines(options, names, &lines);
    }
    if (!status.ok || text.substr(end + 1) == lines) {
        session->out = status.ok ? std::to_string(names.size()) + " files are as they were\n" : "";
        return status;
    }
    size_t number = 2;
    for (size_t start = end + 1; start < text.size(); ++number) {
        const size_t stop = std::min(text.find('\n', start), text.size());
        const std::string line = text.substr(start, stop - start);
        const std::string name = NameIn(line);
        if (name.empty() || lines.find(line + "\n") == std::string::npos) {
            return Fail("'" + Printable(options.check) + "', line " + std::to_string(number) + ": " +
                        (name.empty() ? "this is not a line of a checksum file"
                                      : "'" + name + "' is missing, or not as it was"));
        }
        start = stop + 1;
    }
    return Fail("'" + Printable(options.directory) + "' holds files that '" + Printable(options.check) +
                "' does not name, or names twice or in another order");
}

Status Checksums(const Options &options, Session *session)
{
    std::vector<std::string> names;
    std::string lines;
    if (options.out.empty() == options.check.empty()) {
        return FailUsage("give either --out FILE or --check FILE");
    }
    if (!options.check.empty()) {
        return Check(options, session);
    }
    if (options.version.empty()) {
        return FailUsage("--package-version is missing: it wants a number that goes up with each package");
    }
    if (!IsVersion(options.version)) {
        return FailUsage("--package-version wants a number without leading zeros, which no update step lets go down");
    }
    Status status = CheckWritable(options.out);
    if (status.ok) {
        status = FindFiles(options, &names);
    }
    if (status.ok) {
        status = ComputeLines(options, names, &lines);
    }
    if (status.ok && !session->place.dryRun) {
        status = WriteWhole(options.out, VERSION_KEY + options.version + "\n" + lines);
    }
    session->next = "pkgsign sign " + options.out + " --out " + options.out + ".cms";
    return status;
}

} // namespace

Command ChecksumsCommand()
{
    Command command = MakeCommand<Options>(
        "checksums", "Make or check the checksum file of a package",
        "pkgsign checksums package --package-version 12 --out package/checksums", Checksums,
        [](Options *options) -> std::vector<Option> {
            return {{"DIR", "DIR", "the files of the package", &options->directory, true},
                    {"-o,--out", "FILE", "the checksum file to make", &options->out},
                    {"--package-version", "N", "the version of the package: its first line", &options->version},
                    {"--check", "FILE", "check the files against this checksum file", &options->check}};
        });
    command.hasFolder = false;
    return command;
}

} // namespace pkgsign
