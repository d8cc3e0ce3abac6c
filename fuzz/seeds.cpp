// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "fuzz/seeds.h"

#include "fuzz/support/armour.h"
#include "fuzz/support/container.h"
#include "fuzz/support/host.h"
#include "fuzz/support/pki.h"
#include "fuzz/support/tlv.h"
#include "fuzz/timestamp_answer.h"
#include "tests/forge/der.h"
#include "tests/support/timestamp_requests.h"

namespace
{

forge::Bytes Text(const std::string &text)
{
    return forge::Bytes(text.begin(), text.end());
}

forge::Bytes Join(const std::vector<forge::Bytes> &parts)
{
    forge::Bytes joined;
    for (const forge::Bytes &part : parts) {
        joined.insert(joined.end(), part.begin(), part.end());
    }
    return joined;
}

void AddAll(std::vector<Seed> *seeds, const char *target, const char *name, const std::vector<forge::Bytes> &objects)
{
    for (size_t i = 0; i < objects.size(); ++i) {
        seeds->push_back({target, name + std::to_string(i), objects[i]});
    }
}

// As many entries as a CRL may have, and one more.
std::vector<forge::Bytes> LongCrls()
{
    std::vector<uint8_t> serials;
    for (uint8_t serial = 1; serial <= 20; ++serial) {
        serials.push_back(serial);
    }
    const forge::Bytes full = FuzzCrl({FUZZ_CA_A, 30, false, serials, 1});
    serials.push_back(21);
    return {full, FuzzCrl({FUZZ_CA_A, 31, false, serials, 1})};
}

// Headers without end: elements within elements, and lengths that promise what is not there.
forge::Bytes Nested()
{
    forge::Bytes octets;
    for (int i = 0; i < 60; ++i) {
        octets.insert(octets.end(), {0x30, 0x84, 0x00, 0x00, 0x00, static_cast<uint8_t>(6 * (59 - i))});
    }
    return octets;
}

void AddMessages(std::vector<Seed> *seeds)
{
    const forge::MessageRequest request = FuzzMessageRequest(Text("checksum"));
    const forge::Bytes message = FuzzMessage(request);
    seeds->push_back({"signed_data", "message", message});
    seeds->push_back({"signed_data", "nested", Nested()});
    seeds->push_back({"signed_data", "truncated", forge::Bytes(message.begin(), message.begin() + 900)});
    forge::Bytes token;
    if (!forge::MakeToken(request.tokenRequest, forge::Bytes(128, 1), &token).ok) {
        FuzzFail("the token of a seed cannot be made");
    }
    seeds->push_back({"signed_data", "token", token});
    TlvForest forest = TlvParse(token);
    for (const TlvNode *const node : TlvAll(&forest)) {
        // The one OCTET STRING that wraps a SEQUENCE.
        if (node->identifier == 0x04 && node->nested && node->children.front().identifier == 0x30) {
            seeds->push_back({"tst_info", "plain", TlvEncode(node->children)});
            TlvNode full = node->children.front();
            full.children.push_back(TlvParseOne({0x30, 0x03, 0x02, 0x01, 0x01})); // accuracy
            full.children.push_back(TlvLeaf(0x01, {0xFF}));                       // ordering
            full.children.push_back(TlvLeaf(0x02, {0x00, 0x80}));                 // nonce
            full.children.push_back(TlvParseOne({0xA0, 0x02, 0x05, 0x00}));       // tsa
            full.children.push_back(TlvParseOne({0xA1, 0x02, 0x30, 0x00}));       // extensions
            seeds->push_back({"tst_info", "full", TlvEncode(full)});
            break;
        }
    }
}

// Answers of a timestamp authority: tokens that are taken and such as are not, and a rejection.
void AddAnswers(std::vector<Seed> *seeds)
{
    const auto add = [seeds](const char *name, const forge::TokenRequest &request, bool isAnswer) {
        forge::Bytes token;
        forge::Bytes answer;
        if (!forge::MakeToken(request, FUZZ_STAMPED_SIGNATURE, &token).ok ||
            !forge::MakeTimestampResponse(token, &answer).ok) {
            FuzzFail("the answer %s cannot be made", name);
        }
        seeds->push_back({"timestamp_answer", name, isAnswer ? answer : token});
    };
    forge::TokenRequest request = FuzzMessageRequest(Text("checksum")).tokenRequest;
    request.nonce = FUZZ_NONCE;
    add("granted", request, true);
    add("token", request, false);
    request.genTimeText = "20260201000000.5Z";
    add("fraction", request, true);
    request.genTimeText.clear();
    request.certificates.clear();
    add("no_certificate", request, true);
    request.nonce.clear();
    add("no_nonce", request, true);
    const forge::Bytes text = forge::DerElement(forge::DER_UTF8_STRING, Text("no such digest"));
    seeds->push_back({"timestamp_answer", "rejection",
                      forge::DerSequence({forge::DerSequence(
                          {forge::DerInteger(2), forge::DerSequence({text}), forge::DerNamedBits(1u << 0)})})});
}

void AddTexts(std::vector<Seed> *seeds)
{
    const std::vector<std::string> texts = {"QUJDRA==",     "QUJD",  "QUI=\r\n", "QU\nJD  \nREVG", "A",
                                            "====",         "QU JD", "\r\r",     "QU*D\x7F\x01/+", "    ",
                                            "QUJDR\xC3\xA9"};
    for (size_t i = 0; i < texts.size(); ++i) {
        seeds->push_back({"base64", "text" + std::to_string(i), Text(texts[i])});
    }
}

void AddFiles(std::vector<Seed> *seeds)
{
    const std::vector<forge::Bytes> &certs = FuzzCertificates();
    const std::vector<forge::Bytes> &crls = FuzzCrls();
    const forge::Bytes both = Join({certs[FUZZ_CERT_CA_A], crls[FUZZ_CRL_CA_A], certs[FUZZ_CERT_TSA]});
    const forge::Bytes pem = FuzzArmourObjects(both, false);
    const forge::Bytes end = Text("-----END CERTIFICATE-----\n");
    const forge::Bytes broken = Join({Text("-----BEGIN CERTIFICATE-----\nQUJD\n"), end, pem});
    const forge::Bytes other = Join({FuzzArmour("PRIVATE KEY", {1, 2, 3}, false), pem});
    const forge::Bytes endless = Text("-----BEGIN X509 CRL-----\n-----BEGIN CERTIFICATE-----\nQUJDREVGR0hJSktMTU5P\n");
    const std::vector<forge::Bytes> files = {both,  pem,     FuzzArmourObjects(both, true),     broken,
                                             other, endless, Join({both, forge::Bytes(20, 0)}), Nested()};
    for (const char *const target : {"add_cert", "add_crl"}) {
        AddAll(seeds, target, "file", files);
    }
    seeds->push_back({"add_cert", "root", FuzzRootCertificate()});
    seeds->push_back({"add_cert", "many", Join(std::vector<forge::Bytes>(17, certs[FUZZ_CERT_CRL_ISSUER]))});
    seeds->push_back({"add_crl", "many", Join(std::vector<forge::Bytes>(17, crls[FUZZ_CRL_INDIRECT]))});
    seeds->push_back({"add_crl", "root", Join({FuzzRootCertificate(), crls[FUZZ_CRL_ROOT]})});
}

void AddPair(std::vector<Seed> *seeds, const char *name, const forge::Bytes &first, const forge::Bytes &second,
             uint8_t flags = 0)
{
    FuzzContainer container;
    container.flags[0] = flags;
    container.parts = {first, second, {}};
    seeds->push_back({"crl_compare", name, FuzzPack(container)});
}

void AddComparisons(std::vector<Seed> *seeds)
{
    const std::vector<forge::Bytes> &certs = FuzzCertificates();
    const std::vector<forge::Bytes> &crls = FuzzCrls();
    const forge::Bytes &ca = certs[FUZZ_CERT_CA_A];
    const forge::Bytes newer = FuzzCrl({FUZZ_CA_A, 40, false, {}, -1, 0, FUZZ_GEN_TIME});
    const forge::Bytes newerRoot = FuzzCrl({FUZZ_ROOT, 41, false, {FUZZ_SERIAL_CA_A}, 1, 0, FUZZ_GEN_TIME});
    const forge::Bytes old = Join({ca, crls[FUZZ_CRL_ROOT], crls[FUZZ_CRL_CA_A]});
    AddPair(seeds, "equal", old, old);
    AddPair(seeds, "newer", old, Join({ca, crls[FUZZ_CRL_ROOT], newer}));
    AddPair(seeds, "newer_pem", old, Join({ca, crls[FUZZ_CRL_ROOT], newer}), FUZZ_ARMOUR_CRLS);
    AddPair(seeds, "conflict", Join({ca, newerRoot, crls[FUZZ_CRL_CA_A]}), Join({ca, crls[FUZZ_CRL_ROOT], newer}));
    AddPair(seeds, "dropped", old, Join({ca, newerRoot}));
    AddPair(seeds, "twice", old, Join({ca, crls[FUZZ_CRL_ROOT], crls[FUZZ_CRL_CA_A], newer}));
    AddPair(seeds, "stranger", old, Join({certs[FUZZ_CERT_CA_B], crls[14]}));
    AddPair(seeds, "one_more", old, Join({certs[FUZZ_CERT_CA_B], old, crls[FUZZ_CRL_CA_B]}));
    AddPair(seeds, "indirect", Join({certs[10], crls[FUZZ_CRL_INDIRECT], crls[FUZZ_CRL_ROOT]}), old);
    AddPair(seeds, "cycle", Join({certs[5], certs[6], certs[7], certs[8], crls[6], crls[FUZZ_CRL_CA_B]}), old);
}

void AddCommandLines(std::vector<Seed> *seeds)
{
    const std::string operation = "-f\nCHECK_PKG_INTEGRITY\n";
    const std::vector<std::string> lines = {
        operation + "-h\n@/m\n-e\n@/e\n-c\n@/c\n",
        operation + "-h\n@/m.cms\n-e\n@/e\n-c\n@/c.pem\n",
        operation + "-hm.p7s\n-ee\n-cc\n",
        operation + "-h\n@/m\n-e\n@/e.other\n-c\n@/c\n",
        operation + "-h\n@/m\n-e\n@/e\n-c\n@/c.revoked\n",
        operation + "-h\n@/m\n-e\n@/e\n-c\n@/c.stranger\n",
        operation + "-h\n@/m.unsigned\n-e\n@/empty\n-c\n@/c\n",
        operation + "-h\n@/m.unsigned\n-e\n@/e\n-c\n@/c\n",
        operation + "-h\n@/m.unsigned\n-e\n@/directory\n-c\n@/c\n",
        operation + "-h\n@/m.untimed\n-e\n@/e\n-c\n@/c\n",
        operation + "-h\n@/m.cut\n-e\n@/e\n-c\n@/c\n",
        operation + "-h\n@/large\n-e\n@/directory\n-c\n@/loop\n",
        operation + "-h\nlink\n-e\n@/directory\n-c\nc\n",
        operation + "-h\n@/none\n-e\n\n-c\n" + std::string(200, 'x') + "\n",
        "-f\n" + std::string(40, 'C') + "\n",
        "-f\nOTHER\n-q\n",
        "--\n-f\n",
        "-c\n",
        "a\nb\nc\nd\ne\nf\ng\nh\ni\nj\nk\n",
    };
    for (size_t i = 0; i < lines.size(); ++i) {
        seeds->push_back({"command_line", "line" + std::to_string(i), Text(lines[i])});
    }
}

void AddTimestampRequests(std::vector<Seed> *seeds)
{
    for (const timestamp_requests::Shape &shape : timestamp_requests::FieldShapes()) {
        seeds->push_back({"timestamp_request", shape.name, timestamp_requests::Encode(shape)});
    }
    for (const timestamp_requests::Refusal &refusal : timestamp_requests::Refusals()) {
        seeds->push_back({"timestamp_request", refusal.name, refusal.octets});
    }
}

// Every kind of object that pkgsign shows, and files of several.
void AddInspected(std::vector<Seed> *seeds)
{
    const std::vector<Seed> others = *seeds;
    for (const Seed &seed : others) {
        const std::string target = seed.target;
        const bool isFew = target == "add_crl" || target == "signed_data" || target == "timestamp_answer";
        if (isFew || seed.name == "openssl_sha256" || seed.name == "certificate0" || seed.name == "crl0") {
            seeds->push_back({"inspect", target + "_" + seed.name, seed.octets});
        }
    }
    const forge::Bytes message = FuzzMessage(FuzzMessageRequest(Text("checksum")));
    seeds->push_back({"inspect", "message_in_armour", FuzzArmour("CMS", message, false)});
    seeds->push_back(
        {"inspect", "streamed",
         forge::Bytes{0x30, 0x80, 0x06, 0x01, 0x2A, 0xA0, 0x80, 0x30, 0x80, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00}});
}

// A check explains what the verification comes to: its seeds are the packages that the verification has.
void AddChecks(std::vector<Seed> *seeds)
{
    const std::vector<Seed> all = *seeds;
    for (const Seed &seed : all) {
        if (seed.target == "detached") {
            seeds->push_back({"check", seed.name, seed.octets});
        }
    }
}

} // namespace

std::vector<Seed> MakeSeeds()
{
    std::vector<Seed> seeds;
    AddAll(&seeds, "certificate", "certificate", FuzzCertificates());
    AddAll(&seeds, "crl", "crl", FuzzCrls());
    AddAll(&seeds, "crl", "long", LongCrls());
    seeds.push_back({"certificate", "nested", Nested()});
    seeds.push_back({"crl", "nested", Nested()});
    AddMessages(&seeds);
    AddAnswers(&seeds);
    AddTexts(&seeds);
    AddFiles(&seeds);
    AddDetachedSeeds(&seeds);
    AddChecks(&seeds);
    AddComparisons(&seeds);
    AddCommandLines(&seeds);
    AddTimestampRequests(&seeds);
    AddInspected(&seeds);
    return seeds;
}
