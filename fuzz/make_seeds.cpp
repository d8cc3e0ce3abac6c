// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Writes the seeds of every target. Usage: fuzz_make_seeds DIRECTORY, or fuzz_make_seeds --trust-anchor FILE.cpp, which
// writes the trust anchor of the command line's target as source text.
//
// Every octet follows from this source and the derived keys, so the same seeds come out each time.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <string>
#include <system_error>

#include "fuzz/seeds.h"
#include "fuzz/support/host.h"
#include "fuzz/support/pki.h"
#include "src/trust_anchor.h"

namespace
{

void PrintOctets(std::FILE *file, const char *declaration, const uint8_t *octets, size_t size)
{
    std::fprintf(file, "%s[] = {", declaration);
    for (size_t i = 0; i < size; ++i) {
        std::fprintf(file, "%s0x%02X,", i % 16 == 0 ? "\n    " : " ", octets[i]);
    }
    std::fputs("\n};\n", file);
}

int WriteTrustAnchor(const char *path)
{
    std::FILE *const file = std::fopen(path, "w");
    if (file == nullptr) {
        std::perror(path);
        return 1;
    }
    const forge::Bytes &root = FuzzRootCertificate();
    std::fputs("#include \"src/trust_anchor.h\"\n\n", file);
    PrintOctets(file, "uint8_t g_rootCert0", root.data(), ROOT_CERT_FIRST_SIZE);
    PrintOctets(file, "const uint8_t g_rootCert1", root.data() + ROOT_CERT_FIRST_SIZE, ROOT_CERT_SECOND_SIZE);
    return std::fclose(file) == 0 ? 0 : 1;
}

int WriteSeeds(const std::string &directory)
{
    for (const Seed &seed : MakeSeeds()) {
        std::error_code failure;
        std::filesystem::create_directories(directory + "/" + seed.target, failure);
        const forge::Status status = forge::WriteFile(directory + "/" + seed.target + "/" + seed.name, seed.octets);
        if (!status.ok) {
            std::fprintf(stderr, "fuzz_make_seeds: %s\n", status.reason.c_str());
            return 1;
        }
    }
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc == 3 && std::string(argv[1]) == "--trust-anchor") {
        return WriteTrustAnchor(argv[2]);
    }
    if (argc == 2) {
        return WriteSeeds(argv[1]);
    }
    std::fputs("usage: fuzz_make_seeds DIRECTORY | --trust-anchor FILE.cpp\n", stderr);
    return 2;
}
