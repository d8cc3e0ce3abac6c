// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/commands/shared.h"

#include <cstdlib>
#include <filesystem>

#include "pkgsign/files/files.h"
#include "pkgsign/files/objects.h"

namespace pkgsign
{

namespace
{

std::string UriInFolder(const std::string &folder, const std::string &given)
{
    namespace fs = std::filesystem;
    std::error_code error;
    if (IsUri(given)) {
        return given;
    }
    const fs::path path = fs::weakly_canonical(fs::absolute(given, error), error);
    const std::string inside =
        path.lexically_relative(fs::weakly_canonical(fs::absolute(folder, error), error)).string();
    return inside.empty() || inside.rfind("..", 0) == 0 ? path.string() : inside;
}

} // namespace

Staging::~Staging()
{
    std::error_code ignored;
    if (!isKept && !path.empty()) {
        (void)std::filesystem::remove_all(path, ignored);
    }
}

Status GetKey(const Workplace &place, const KeyOptions &options, const std::string &name, Key *keyOut,
              std::string *uriOut, UnsavedKey *unsavedOut)
{
    if (!options.uri.empty()) {
        *uriOut = UriInFolder(place.folder, options.uri);
        return LoadKey(options.uri, name, place.secrets, keyOut);
    }
    char *end = nullptr;
    const long bits = std::strtol(options.bits.c_str(), &end, 10);
    if (*end != '\0' || bits < KEY_BITS_MIN || bits > KEY_BITS_MAX) {
        return FailUsage("--key-bits wants " + std::to_string(KEY_BITS_MIN) + " to " + std::to_string(KEY_BITS_MAX));
    }
    return MakeNewKey(place, name, static_cast<int>(bits), !options.noEncryption, keyOut, uriOut, unsavedOut);
}

Status ReadHorizon(const std::string &text, int64_t *secondsOut)
{
    if (text.empty()) {
        return {};
    }
    const bool isNumber = text.find_first_not_of("0123456789") == std::string::npos;
    return Usage(ParseSpan(isNumber ? text + "d" : text, secondsOut));
}

Status ChooseName(const Workplace &place, const Pki &pki, const std::string &asked, Role role, std::string *nameOut)
{
    if (!asked.empty() && !IsName(asked)) {
        return FailUsage("'" + Printable(asked) + "' is no name of a certificate; it wants letters, digits and . _ -");
    }
    if (FindEntry(pki, asked) != nullptr) {
        return Fail("the folder has a certificate '" + asked + "' already; choose another --name");
    }
    std::string name = asked.empty() ? RoleName(role) : asked;
    for (int i = 2; asked.empty() && (FindEntry(pki, name) != nullptr || Exists(place.folder + "/" + KeyPath(name)));
         ++i) {
        name = RoleName(role) + ("-" + std::to_string(i)); // a key without an entry is what a crash can leave behind
    }
    *nameOut = std::move(name);
    return {};
}

const RoleNames &NamesOf(Role role)
{
    static constexpr RoleNames NAMES[] = {{Role::IssuingCa, "Issuing CA", &Lifetimes::issuingCa},
                                          {Role::Signer, "Code Signing", &Lifetimes::signer},
                                          {Role::Timestamp, "Time Stamping", &Lifetimes::timestamp}};
    return NAMES[static_cast<size_t>(role) - 1];
}

Status FindCertificate(const Workplace &place, const Pki &pki, const std::string &nameOrFile, const Entry **entryOut)
{
    const Entry *entry = FindEntry(pki, nameOrFile);
    if (entry == nullptr && (nameOrFile == "-" || Exists(nameOrFile))) {
        Certificate certificate;
        const Status status = ReadCertificate(nameOrFile, &certificate);
        if (!status.ok) {
            return status;
        }
        for (const Entry &candidate : pki.certificates) {
            Certificate known;
            if (candidate.state == State::Issued && candidate.serial == SerialText(certificate.get()) &&
                LoadCertificate(place.folder, candidate, &known).ok && X509_cmp(known.get(), certificate.get()) == 0) {
                entry = &candidate;
            }
        }
    }
    if (entry == nullptr) {
        return Fail("the folder '" + Printable(place.folder) + "' knows no certificate '" + Printable(nameOrFile) +
                    "'; see pkgsign list, or import it");
    }
    *entryOut = entry;
    return {};
}

} // namespace pkgsign
