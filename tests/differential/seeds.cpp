#include "tests/differential/seeds.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>

#include <openssl/evp.h>

#include "tests/differential/element.h"
#include "tests/differential/judge.h"
#include "tests/support/der_records.h"

using der::Bytes;

namespace
{

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

void CutSequences(const Bytes &octets, std::vector<Bytes> *pieces)
{
    for (size_t pos = 0; pos < octets.size(); ++pos) {
        Element element;
        if (octets[pos] == der::SEQUENCE && ReadElement(octets, pos, octets.size(), &element)) {
            pieces->push_back(WholeOf(octets, element));
        }
    }
}

// The pieces of the corpora that both decoders accept.
std::vector<Bytes> AcceptedPieces(const Kind &kind)
{
    std::set<std::string> seen;
    std::vector<Bytes> accepted;
    for (const std::string &path : CorpusFiles()) {
        for (const Bytes &piece : PiecesOf(ContentOfFile(path))) {
            if (!piece.empty() && kind.library(piece).accepted && kind.libcrypto(piece).accepted &&
                seen.insert(HexOf(piece)).second) {
                accepted.push_back(piece);
            }
        }
    }
    return accepted;
}

der::TbsCertificate FullCertificate(const Bytes &keyUsage)
{
    der::TbsCertificate tbs;
    tbs.serialNumber = der::IntegerRaw(der::Hex("00 E1 02 03 04 05 06 07"));
    tbs.issuer = der::Name({der::RelativeName({der::NameAttribute("2.5.4.3", der::Tlv(0x1E, der::Hex("00 43 00 41"))),
                                               der::NameAttribute("2.5.4.11", der::Ia5("Unit"))}),
                            der::RelativeName({der::NameAttribute("2.5.4.10", der::Tlv(0x14, der::Text("Teletex")))})});
    tbs.validity = der::Validity(der::GeneralizedTime("19500101000000Z"), der::GeneralizedTime("20600229235959Z"));
    tbs.issuerUniqueID = der::Implicit(1, false, der::Hex("00 01 02"));
    tbs.subjectUniqueID = der::Implicit(2, false, der::Hex("04 F0"));
    const Bytes constraints = der::Sequence({der::Boolean(), der::Integer(3)});
    tbs.extensions =
        der::CertExtensions({der::Extension("2.5.29.19", constraints, der::Boolean()), der::KeyUsageExtension(keyUsage),
                             der::ExtKeyUsageExtension({"1.3.6.1.5.5.7.3.8", "1.3.6.1.5.5.7.3.3"}),
                             der::Extension("2.5.29.14", der::OctetString(der::Fill(20, 0x11)))});
    return tbs;
}

der::TbsCertList FullCrl(size_t entries)
{
    der::TbsCertList tbs;
    std::vector<Bytes> revoked;
    for (size_t i = 0; i < entries; ++i) {
        const auto number = static_cast<int64_t>(i);
        revoked.push_back(i % 2 == 0 ? der::RevokedEntry(der::Integer(100 * number - 300))
                                     : der::RevokedEntry(der::Integer(number), der::GeneralizedTime("20230405060708Z"),
                                                         der::ReasonExtensions(number % 11)));
    }
    tbs.revokedCertificates = der::Sequence(revoked);
    const Bytes fullName = der::Implicit(0, true, der::Implicit(6, false, der::Text("http://crl")));
    const Bytes point = der::Sequence({der::Implicit(0, true, fullName), der::Implicit(1, false, {0xFF}),
                                       der::Implicit(2, false, {0xFF}), der::Implicit(3, false, der::Hex("04 60")),
                                       der::Implicit(4, false, {0xFF}), der::Implicit(5, false, {0xFF})});
    tbs.crlExtensions = der::CrlExtensions(
        {der::Extension("2.5.29.20", der::Integer(7)), der::Extension("2.5.29.28", point, der::Boolean())});
    return tbs;
}

} // namespace

std::vector<std::string> CorpusFiles()
{
    std::vector<std::string> paths;
    for (const auto &entry : std::filesystem::recursive_directory_iterator(FUZZ_CORPUS)) {
        if (entry.is_regular_file()) {
            paths.push_back(entry.path().string());
        }
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

Bytes ContentOfFile(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
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

std::vector<Bytes> GoodCertificates()
{
    std::vector<Bytes> certificates = AcceptedPieces(CERTIFICATE);
    certificates.push_back(der::CertificateOf(FullCertificate(der::BitString(1, {0x86}))));
    certificates.push_back(der::CertificateOf(FullCertificate(der::BitString(7, {0x06, 0x80}))));
    certificates.push_back(der::CertificateOf(der::TbsCertificate()));
    return certificates;
}

std::vector<Bytes> GoodCrls()
{
    std::vector<Bytes> crls = AcceptedPieces(CRL);
    crls.push_back(der::CertificateListOf(FullCrl(6)));
    crls.push_back(der::CertificateListOf(FullCrl(20)));
    crls.push_back(der::CertificateListOf(der::TbsCertList()));
    return crls;
}
