// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Limits: each at the most that fits, and one beyond.
#include <algorithm>

#include "vectors/make_vectors_case.h"
#include "vectors/make_vectors_element.h"
#include "vectors/make_vectors_rules.h"

namespace vectors
{
namespace
{
constexpr Rule NO_LIMIT = {"protocol", "limits", "No standard limits this number; a verifier that limits it says so."};
constexpr Rule FILE_SIZE = {"protocol", "limits",
                            "A verifier limits the size of what it reads into memory, and says so."};
constexpr Rule DIGEST_SIZE = {"RFC 5652", "11.2", "messageDigest is as long as the digest."};
constexpr Rule USAGE_BITS = {"RFC 5280", "4.2.1.3", "KeyUsage has nine bits; others mean nothing."};

constexpr char FIXED[] = "Every record has room for a fixed number, so that memory and time are bounded.";

// One case with the most that fits, and one with one more.
struct Limit {
    const char *name; // with %d in the place of the number
    const char *difference;
    int most;
    uint32_t status;
};

std::string Numbered(const std::string &name, int number)
{
    std::string text = name;
    return text.replace(text.find("%d"), 2, std::to_string(number));
}

void AddLimit(Group *group, const Limit &limit, const std::function<void(Package *, int)> &change,
              std::vector<std::string> features = {})
{
    const std::string fits = Numbered(limit.name, limit.most);
    const int most = limit.most;
    Accepted(group, fits, NO_LIMIT, [change, most](Package *p) { change(p, most); }).features = features;
    Narrow(group, {Numbered(limit.name, limit.most + 1), "limits::" + fits, limit.difference, limit.status}, NO_LIMIT,
           FIXED, [change, most](Package *p) { change(p, most + 1); })
        .features = features;
}

// ---- CRLs and certificates -----------------------------------------------------------------------------------------

void AddEntries(Group *group)
{
    AddLimit(group, {"crl_of_%d_entries", "crls/CRL of Signing CA/revokedCertificates", 20, SIGKIT_ERR_CRL_LOAD},
             [](Package *p, int number) {
                 for (uint8_t i = 1; i <= number; ++i) {
                     p->crls[SIGNING_CRL].request.revoked.push_back({{0x5B, i}, SIGNING_TIME - DAY, -1});
                 }
             });
}

// Further CRLs of the signing CA, up to this number in all.
void FillCrls(Package *package, int number)
{
    while (package->crls.size() < static_cast<size_t>(number)) {
        const size_t crl = AddCrl(package, SIGNING_CA);
        package->crls[crl].request.crlNumber = static_cast<int64_t>(package->crls.size());
        package->crls[crl].request.thisUpdate += static_cast<int64_t>(package->crls.size());
    }
}

void AddCrlCounts(Group *group)
{
    AddLimit(group, {"file_of_%d_crls", "crls/CRL of Signing CA#15", 16, SIGKIT_ERR_CRL_LOAD}, FillCrls);
    const auto armoured = [](Package *p, int number) {
        FillCrls(p, number);
        for (CrlPlan &crl : p->crls) {
            crl.whole = [](const Bytes &der) { return Octets(forge::Armour(forge::LABEL_CRL, der)); };
        }
    };
    const Rule &rule = NO_LIMIT;
    Accepted(group, "file_of_15_crls_in_pem", rule, [armoured](Package *p) { armoured(p, 15); }).features = {"pem"};
    Accepted(group, "file_of_16_crls_in_pem", rule, [armoured](Package *p) { armoured(p, 16); }).features = {"pem"};
    Lenient(group,
            {"file_of_16_crls_in_pem_the_last_revokes", "limits::file_of_16_crls_in_pem",
             "crls/CRL of Signing CA#14/revokedCertificates/Signer", SIGKIT_OK},
            rule, "A PEM block for which no image is left is skipped with a line in the log; give CRLs in DER.",
            [armoured](Package *p) {
                armoured(p, 16);
                Revoke(p, 15, SIGNER, SIGNING_TIME - DAY);
            })
        .features = {"pem"};
    group->cases.back().importance = "high";
}

// So many further CAs, whose certificates come with the CRLs.
void AddCertificateCounts(Group *group)
{
    AddLimit(group, {"store_of_%d_certificates", "crls/certificate of Further CA 12", 16, SIGKIT_ERR_LIST_FULL},
             [](Package *p, int number) {
                 for (int i = 5; i < number; ++i) {
                     const size_t ca = AddCa(p, "Further CA " + std::to_string(i - 4), ROOT);
                     p->parties[ca].request.subjectKey = KeyOf("Further CA");
                     p->crlFileCertificates.push_back(ca);
                 }
             });
    AddLimit(group, {"message_of_%d_certificates", "signature/certificates/Timestamp CA", 2, SIGKIT_ERR_CMS_DECODE},
             [](Package *p, int number) {
                 p->message.certificates = {SIGNER, SIGNING_CA, TIMESTAMP_CA};
                 p->message.certificates.resize(static_cast<size_t>(number));
             });
    AddLimit(group, {"token_of_%d_certificates", "token/certificates/Signing CA", 2, SIGKIT_ERR_SIGNED_DATA},
             [](Package *p, int number) {
                 p->token.certificates = {TIMESTAMP, TIMESTAMP_CA, SIGNING_CA};
                 p->token.certificates.resize(static_cast<size_t>(number));
             });
}

// A path of so many certificates, root and signer included; the CAs come with the CRLs.
void LengthenPath(Package *package, int number)
{
    size_t last = ROOT;
    for (int i = 3; i < number; ++i) {
        last = AddCa(package, "CA " + std::to_string(i), last);
        package->crlFileCertificates.push_back(last);
        AddCrl(package, last);
    }
    package->parties[SIGNING_CA].issuer = last;
    package->crlFileCertificates.push_back(SIGNING_CA);
    package->message.certificates = {SIGNER};
}

void AddPaths(Group *group)
{
    AddLimit(group, {"path_of_%d_certificates", "crls", 11, SIGKIT_ERR_NO_ROOT}, LengthenPath);
}

// ---- Members -------------------------------------------------------------------------------------------------------

void AddNames(Group *group)
{
    const auto named = [](bool joined) {
        return [joined](Package *p, int number) {
            forge::Name name;
            for (int i = 0; i < number; ++i) {
                name.push_back({"OU", "part " + std::to_string(i), joined && i > 0});
            }
            p->parties[SIGNER].request.subject = name;
        };
    };
    const char *const place = "signature/certificates";
    AddLimit(group, {"name_of_%d_parts", place, 10, SIGKIT_ERR_CMS_DECODE}, named(false));
    AddLimit(group, {"part_of_a_name_of_%d_attributes", place, 10, SIGKIT_ERR_CMS_DECODE}, named(true));
    AddLimit(group,
             {"extended_key_usage_of_%d_purposes", "signature/certificates/Signer/extensions/extKeyUsage", 10,
              SIGKIT_ERR_CMS_DECODE},
             [](Package *p, int number) {
                 p->parties[SIGNER].request.extendedKeyUsage = {forge::PURPOSE_CODE_SIGNING};
                 for (int i = 1; i < number; ++i) {
                     p->parties[SIGNER].request.extendedKeyUsage.push_back("1.3.6.1.4.1.99999.10." + std::to_string(i));
                 }
             });
}

void AddOctets(Group *group)
{
    const auto digest = [](size_t size) {
        return [size](Package *p) {
            p->message.attributes = [size](std::vector<Bytes> *attributes) {
                attributes->back() = EditAt(attributes->back(), {1, 0},
                                            [size](const Bytes &) { return der::OctetString(der::Fill(size, 0x5A)); });
                std::sort(attributes->begin(), attributes->end());
            };
        };
    };
    const std::string place = "signature/signer/signedAttrs/messageDigest";
    Refused(group, {"message_digest_of_64_octets", GOOD, place, NOT_MATCHED}, DIGEST_SIZE, digest(64));
    Refused(group, {"message_digest_of_65_octets", GOOD, place, SIGKIT_ERR_VALUE_TOO_LONG}, DIGEST_SIZE, digest(65));
    const auto usage = [](const Bytes &bits) {
        return [bits](Package *p) {
            p->parties[SIGNER].toBeSigned =
                At({7, 0, 3, 2, 0}, [bits](const Bytes &) { return der::Tlv(der::BIT_STRING, bits); });
        };
    };
    Narrow(group,
           {"key_usage_of_3_octets", GOOD, "signature/certificates/Signer/extensions/keyUsage", SIGKIT_ERR_CMS_DECODE},
           USAGE_BITS, "A key usage has one or two octets, in which all that is defined finds room.",
           usage({0x00, 0x80, 0x00, 0x01}));
    for (const size_t size : {4096u, 4097u}) {
        Accepted(group, "content_of_" + std::to_string(size) + "_octets", NO_LIMIT,
                 [size](Package *p) { p->content = der::Fill(size, 'x'); });
    }
}

void AddFileSizes(Group *group)
{
    const auto armoured = [](Package *p) {
        for (CrlPlan &crl : p->crls) {
            crl.whole = [](const Bytes &der) { return Octets(forge::Armour(forge::LABEL_CRL, der)); };
        }
    };
    const auto message = [](Package *p) {
        p->message.whole = [](const Bytes &der) { return Octets(forge::Armour(forge::LABEL_CMS, der)); };
    };
    const struct {
        const char *file;
        Change change;
    } rows[] = {{"crls", armoured}, {"signature", message}};
    for (const auto &row : rows) {
        const std::string name = std::string(row.file) + "_file_of_";
        Case &fits = Accepted(group, name + "2000000_octets", FILE_SIZE, row.change);
        fits.padding = {row.file, 2000000, '\n'};
        fits.features = {"pem"};
        Case &beyond = Narrow(
            group,
            {name + "2000001_octets", "limits::" + name + "2000000_octets", "padding/size", SIGKIT_ERR_FILE_TOO_BIG},
            FILE_SIZE, "Files that are read as a whole have at most 2,000,000 octets.", row.change);
        beyond.padding = {row.file, 2000001, '\n'};
        beyond.features = {"pem"};
    }
}
} // namespace

Group LimitCases()
{
    Group group = {"limits", {}};
    for (const auto add :
         {AddEntries, AddCrlCounts, AddCertificateCounts, AddPaths, AddNames, AddOctets, AddFileSizes}) {
        add(&group);
    }
    return group;
}
} // namespace vectors
