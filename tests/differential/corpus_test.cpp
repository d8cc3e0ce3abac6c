// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// What the library accepts in the fuzz corpora, whole and in pieces, libcrypto accepts and reads alike, field by field.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include <openssl/evp.h>

#include "tests/differential/element.h"
#include "tests/differential/facts.h"
#include "tests/support/pretended_host.h"

using der::Bytes;

namespace
{

Bytes ContentOfFile(const std::filesystem::path &path)
{
    std::ifstream file(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

// What stands between the lines of every PEM block, decoded.
std::vector<Bytes> PemBlocks(const Bytes &file)
{
    const std::string text(file.begin(), file.end());
    std::vector<Bytes> blocks;
    size_t begin = text.find("-----BEGIN ");
    while (begin != std::string::npos) {
        const size_t from = text.find('\n', begin);
        const size_t to = text.find("-----END ", begin);
        if (from == std::string::npos || to == std::string::npos || to < from) {
            break;
        }
        std::string base64 = text.substr(from, to - from);
        std::erase_if(base64, [](char character) { return character == '\n' || character == '\r'; });
        Bytes block(base64.size());
        const int size = EVP_DecodeBlock(block.data(), reinterpret_cast<const unsigned char *>(base64.data()),
                                         static_cast<int>(base64.size()));
        if (size > 0) {
            block.resize(static_cast<size_t>(size));
            blocks.push_back(block);
        }
        begin = text.find("-----BEGIN ", to);
    }
    return blocks;
}

// Every SEQUENCE in the octets, wherever it stands.
void CutSequences(const Bytes &octets, std::vector<Bytes> *pieces)
{
    for (size_t pos = 0; pos < octets.size(); ++pos) {
        ElementPlace element;
        if (octets[pos] == der::SEQUENCE && ReadElement(octets, pos, octets.size(), &element)) {
            pieces->push_back(WholeOf(octets, element));
        }
    }
}

std::vector<Bytes> PiecesOf(const Bytes &file)
{
    std::vector<Bytes> pieces = {file};
    CutSequences(file, &pieces);
    for (const Bytes &block : PemBlocks(file)) {
        CutSequences(block, &pieces);
    }
    return pieces;
}

// The one departure that the corpora show: a CRL of more entries than the library takes.
bool HasTooManyEntries(const Facts &libcrypto)
{
    const auto entries = libcrypto.fields.find("entries");
    return entries != libcrypto.fields.end() && std::stoi(entries->second) > 20;
}

// Says whether the piece was accepted.
bool Compare(const Kind &kind, const Bytes &piece)
{
    const Facts library = kind.library(piece);
    const Facts libcrypto = kind.libcrypto(piece);
    EXPECT_EQ(libcrypto.accepted && !HasTooManyEntries(libcrypto), library.accepted);
    if (library.accepted) {
        EXPECT_EQ(libcrypto.fields, library.fields);
    }
    return library.accepted;
}

} // namespace

TEST(Corpus, EveryPieceOfEveryFileIsReadAsLibcryptoReadsIt)
{
    unsigned certificates = 0;
    unsigned crls = 0;
    for (const auto &entry : std::filesystem::recursive_directory_iterator(FUZZ_CORPUS)) {
        if (!entry.is_regular_file()) {
            continue;
        }
        for (const Bytes &piece : PiecesOf(ContentOfFile(entry.path()))) {
            SCOPED_TRACE(entry.path().string() + ": " + HexOf(piece.data(), piece.size()));
            certificates += Compare(CERTIFICATE, piece) ? 1U : 0U;
            crls += Compare(CRL, piece) ? 1U : 0U;
        }
    }
    EXPECT_LT(100U, certificates) << "there is nothing to compare";
    EXPECT_LT(100U, crls) << "there is nothing to compare";
    EXPECT_EQ(0, g_pretendedHost.liveBlocks);
}
