// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Signature values: padding, lengths, keys, and what a key may be used for.
#include <openssl/evp.h>
#include <openssl/rsa.h>

#include <algorithm>
#include <cstdlib>
#include <memory>

#include "vectors/make_vectors_case.h"
#include "vectors/make_vectors_element.h"
#include "vectors/make_vectors_rules.h"

namespace vectors
{
namespace
{
constexpr Rule PKCS1 = {"RFC 8017", "8.2.2",
                        "The padded digest is rebuilt and compared whole with what the key recovers."};
constexpr Rule LENGTH = {"RFC 8017", "8.2.2", "A signature has exactly as many octets as the modulus."};
constexpr Rule KEY_LENGTH = {"protocol", "algorithms", "RSA keys have 2048 bits or more."};
constexpr Rule EXPONENT = {"RFC 8017", "3.1", "The public exponent is an odd number of at least 3."};
constexpr Rule MODULUS = {"RFC 8017", "3.1", "The modulus is a product of odd primes."};
constexpr Rule KEY_USAGE = {"RFC 5280", "4.2.1.3",
                            "A key may be used for what its keyUsage names, and without one for all."};
constexpr Rule PURPOSE = {"RFC 5280", "4.2.1.12", "A certificate that names purposes is for these alone."};
constexpr Rule NAMED_PURPOSE = {"protocol", "roles",
                                "codeSigning is named: neither silence nor anyExtendedKeyUsage names it."};

// ---- Padding -------------------------------------------------------------------------------------------------------

constexpr size_t MODULUS_SIZE = 256;
const Bytes SHA256_INFO = der::Hex("30 31 30 0d 06 09 60 86 48 01 65 03 04 02 01 05 00 04 20");

// The private operation on octets as they are.
Bytes Raw(const Bytes &block)
{
    const std::unique_ptr<EVP_PKEY_CTX, decltype(&EVP_PKEY_CTX_free)> context(
        EVP_PKEY_CTX_new(KeyOf("Signer").get(), nullptr), EVP_PKEY_CTX_free);
    Bytes signature(MODULUS_SIZE);
    size_t size = signature.size();
    if (context == nullptr || EVP_PKEY_sign_init(context.get()) != 1 ||
        EVP_PKEY_CTX_set_rsa_padding(context.get(), RSA_NO_PADDING) != 1 ||
        EVP_PKEY_sign(context.get(), signature.data(), &size, block.data(), block.size()) != 1) {
        std::abort();
    }
    return signature;
}

// 00 01 FF .. FF 00 in front of `info`, to the length of the modulus.
Bytes Padded(const Bytes &info, uint8_t blockType = 1, uint8_t fill = 0xFF)
{
    return der::Concatenate({{0x00, blockType}, der::Fill(MODULUS_SIZE - info.size() - 3, fill), {0x00}, info});
}

using Block = std::function<Bytes(const Bytes &digest)>;

Case &AddPadding(Group *group, const std::string &name, const Block &block)
{
    return Refused(group, {"padding_" + name, GOOD, "signature/signer/signature", SIGKIT_ERR_SIGNATURE}, PKCS1,
                   [block](Package *p) {
                       p->message.sign = [block](const Bytes &octets) {
                           return Raw(block(HashOf(forge::Digest::Sha256, octets)));
                       };
                   });
}

Bytes InfoWith(const char *header, const Bytes &digest)
{
    return der::Concatenate({der::Hex(header), digest});
}

void AddPaddings(Group *group)
{
    AddPadding(group, "ended_early_with_octets_behind", [](const Bytes &digest) {
        const Bytes info = der::Concatenate({SHA256_INFO, digest});
        const Bytes head = der::Concatenate({{0x00, 0x01}, der::Fill(8, 0xFF), {0x00}, info});
        return der::Concatenate({head, der::Fill(MODULUS_SIZE - head.size(), 0xA5)});
    }).cve = {"CVE-2006-4339", "CVE-2022-24772"};
    AddPadding(group, "with_garbage_in_the_parameters", [](const Bytes &digest) {
        const Bytes algorithm =
            der::Sequence({der::Oid("2.16.840.1.101.3.4.2.1"), der::OctetString(der::Fill(60, 0xA5))});
        return Padded(der::Sequence({algorithm, der::OctetString(digest)}));
    }).cve = {"CVE-2018-16152", "CVE-2022-24771"};
    AddPadding(group, "with_long_lengths", [](const Bytes &digest) {
        return Padded(InfoWith("30 82 00 33 30 0d 06 09 60 86 48 01 65 03 04 02 01 05 00 04 82 00 20", digest));
    }).cve = {"CVE-2014-1568"};
    AddPadding(group, "without_parameters", [](const Bytes &digest) {
        return Padded(InfoWith("30 2f 30 0b 06 09 60 86 48 01 65 03 04 02 01 04 20", digest));
    }).importance = "medium";
    AddPadding(group, "with_the_identifier_of_sha384", [](const Bytes &digest) {
        return Padded(InfoWith("30 31 30 0d 06 09 60 86 48 01 65 03 04 02 02 05 00 04 20", digest));
    });
    AddPadding(group, "without_an_algorithm", [](const Bytes &digest) { return Padded(digest); });
    AddPadding(group, "of_block_type_0", [](const Bytes &digest) {
        return Padded(der::Concatenate({SHA256_INFO, digest}), 0, 0);
    });
    AddPadding(group, "of_block_type_2", [](const Bytes &digest) {
        return Padded(der::Concatenate({SHA256_INFO, digest}), 2);
    });
    AddPadding(group, "with_another_octet_among_the_ff", [](const Bytes &digest) {
        Bytes block = Padded(der::Concatenate({SHA256_INFO, digest}));
        block[20] = 0xFE;
        return block;
    });
    AddPadding(group, "with_a_digest_of_31_octets", [](const Bytes &digest) {
        const char *const header = "30 30 30 0d 06 09 60 86 48 01 65 03 04 02 01 05 00 04 1f";
        return Padded(InfoWith(header, der::Truncate(digest, 1)));
    });
    AddPadding(group, "with_a_further_member", [](const Bytes &digest) {
        return Padded(InfoWith("30 33 30 0d 06 09 60 86 48 01 65 03 04 02 01 05 00 04 20",
                               der::Concatenate({digest, der::Null()})));
    }).cve = {"CVE-2022-24773"};
}

Bytes SignPss(const Bytes &octets)
{
    const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(), EVP_MD_CTX_free);
    EVP_PKEY_CTX *key = nullptr;
    Bytes signature(MODULUS_SIZE);
    size_t size = signature.size();
    if (EVP_DigestSignInit(context.get(), &key, EVP_sha256(), nullptr, KeyOf("Signer").get()) != 1 ||
        EVP_PKEY_CTX_set_rsa_padding(key, RSA_PKCS1_PSS_PADDING) != 1 ||
        EVP_PKEY_CTX_set_rsa_pss_saltlen(key, RSA_PSS_SALTLEN_DIGEST) != 1 ||
        EVP_DigestSign(context.get(), signature.data(), &size, octets.data(), octets.size()) != 1) {
        std::abort();
    }
    return signature;
}

// RFC 4055, 3.1, with SHA-256 throughout and a salt of 32 octets.
Bytes PssAlgorithm()
{
    const Bytes sha256 = der::AlgorithmIdentifier("2.16.840.1.101.3.4.2.1");
    const Bytes mask = der::AlgorithmIdentifier("1.2.840.113549.1.1.8", sha256);
    const Bytes parameters =
        der::Sequence({der::Explicit(0, sha256), der::Explicit(1, mask), der::Explicit(2, der::Integer(32))});
    return der::AlgorithmIdentifier("1.2.840.113549.1.1.10", parameters);
}

// ---- Lengths -------------------------------------------------------------------------------------------------------

// Attributes whose signature by the signer's key begins with a zero octet; a further attribute is varied for that.
void FindLeadingZero(std::vector<Bytes> *attributes)
{
    for (int64_t number = 0;; ++number) {
        std::vector<Bytes> trial = *attributes;
        trial.push_back(der::Attribute("1.3.6.1.4.1.99999.2",
                                       {der::Tlv(der::INTEGER, {0x40, uint8_t(number >> 8), uint8_t(number & 0xFF)})}));
        std::sort(trial.begin(), trial.end());
        if (SignWith(KeyOf("Signer"), forge::Digest::Sha256, der::Set(trial))[0] == 0) {
            *attributes = trial;
            return;
        }
    }
}

void AddLengths(Group *group)
{
    const std::string twin = "signature::beginning_with_a_zero_octet";
    const std::string place = "signature/signer/signature";
    Accepted(group, "beginning_with_a_zero_octet", LENGTH, [](Package *p) { p->message.attributes = FindLeadingZero; });
    Lenient(group, {"that_lost_its_leading_zero", twin, place, SIGKIT_OK}, LENGTH,
            "Leading zeros are put back up to the next multiple of four octets; the number is the same.",
            [](Package *p) {
                p->message.attributes = FindLeadingZero;
                p->message.sign = [](const Bytes &octets) {
                    Bytes signature = SignWith(KeyOf("Signer"), forge::Digest::Sha256, octets);
                    signature.erase(signature.begin());
                    return signature;
                };
            });
    const auto lengthened = [](const Bytes &before) {
        return [before](Package *p) {
            p->message.sign = [before](const Bytes &octets) {
                return der::Concatenate({before, SignWith(KeyOf("Signer"), forge::Digest::Sha256, octets)});
            };
        };
    };
    Refused(group, {"with_four_leading_zeros_more", GOOD, place, SIGKIT_ERR_SIGNATURE}, LENGTH,
            lengthened(der::Fill(4, 0)));
    Refused(group, {"with_an_octet_behind", GOOD, place, SIGKIT_ERR_SIGNATURE}, LENGTH, [](Package *p) {
        p->message.sign = [](const Bytes &octets) {
            return der::Concatenate({SignWith(KeyOf("Signer"), forge::Digest::Sha256, octets), {0x00}});
        };
    });
    Refused(group, {"of_no_octets", GOOD, place, SIGKIT_ERR_SIGNATURE}, LENGTH,
            [](Package *p) { p->message.sign = [](const Bytes &) { return Bytes(); }; });
    for (const auto &[name, octet] : {std::pair<const char *, uint8_t>("of_zeros", 0x00), {"of_ones", 0xFF}}) {
        Refused(group, {name, GOOD, place, SIGKIT_ERR_SIGNATURE}, LENGTH, [octet = octet](Package *p) {
            p->message.sign = [octet](const Bytes &) { return Bytes(MODULUS_SIZE, octet); };
        });
    }
    Refused(group, {"by_pss_under_the_name_of_pkcs1", GOOD, place, SIGKIT_ERR_SIGNATURE}, SIGNER_ALGORITHM,
            [](Package *p) { p->message.sign = SignPss; });
    Narrow(group, {"by_pss", GOOD, "signature/signer", SIGKIT_ERR_SIGNATURE}, SIGNER_ALGORITHM,
           "Signatures are RSASSA-PKCS1-v1_5 alone.",
           [](Package *p) {
               p->message.sign = SignPss;
               p->message.signerInfo = [](der::SignerInfo *info) { info->signatureAlgorithm = PssAlgorithm(); };
           })
        .features = {"rsa_pss"};
}

// ---- Keys ----------------------------------------------------------------------------------------------------------

// The signer has a key of its own of this length.
void UseKey(Package *package, int bits)
{
    forge::Key key = KeyOf("Signer of " + std::to_string(bits) + " bits", bits);
    package->parties[SIGNER].request.subjectKey = key;
}

// Puts another number into the public key of the signer's certificate. member: 0 modulus, 1 exponent.
void SetKeyNumber(Package *package, size_t member, const Bytes &octets)
{
    package->parties[SIGNER].toBeSigned = [member, octets](const Bytes &toBeSigned) {
        const Bytes changed =
            EditAt(toBeSigned, {6, 1, 0, member}, [octets](const Bytes &) { return der::IntegerRaw(octets); });
        const Bytes key = ElementAt(changed, {6, 1, 0});
        return EditAt(changed, {7, 0, 0, 1, 0}, [key](const Bytes &) { // subjectKeyIdentifier
            return der::OctetString(HashOf(forge::Digest::Sha1, key));
        });
    };
}

void AddKeyLengths(Group *group)
{
    const std::string place = "signature/certificates/Signer/subjectPublicKeyInfo";
    for (const int bits : {512, 1024}) {
        Lenient(group, {"key_of_" + std::to_string(bits) + "_bits", GOOD, place, SIGKIT_OK}, KEY_LENGTH,
                "Lengths below 4096 bits are not judged: which keys it certifies is the authority's decision.",
                [bits](Package *p) { UseKey(p, bits); })
            .importance = "high";
    }
    for (const int bits : {3072, 4096}) {
        Accepted(group, "key_of_" + std::to_string(bits) + "_bits", KEY_LENGTH,
                 [bits](Package *p) { UseKey(p, bits); });
    }
    Narrow(group, {"key_of_4104_bits", GOOD, place, SIGKIT_ERR_SIGNATURE}, KEY_LENGTH,
           "A modulus has at most 512 octets, so that memory and time are bounded.",
           [](Package *p) { UseKey(p, 4104); });
}

void AddBrokenKeys(Group *group)
{
    const std::string place = "signature/certificates/Signer/subjectPublicKeyInfo";
    Lenient(group, {"key_with_the_exponent_1", GOOD, place, SIGKIT_OK}, EXPONENT,
            "Exponents are not judged: which keys it certifies is the authority's decision.",
            [](Package *p) {
                SetKeyNumber(p, 1, {0x01});
                p->message.sign = [](const Bytes &octets) {
                    return Padded(der::Concatenate({SHA256_INFO, HashOf(forge::Digest::Sha256, octets)}));
                };
            })
        .importance = "high";
    const struct {
        const char *name;
        size_t member;
        Bytes octets;
    } rows[] = {{"key_with_the_exponent_0", 1, {0x00}},
                {"key_with_the_exponent_2", 1, {0x02}},
                {"key_with_the_modulus_0", 0, {0x00}},
                {"key_with_the_modulus_1", 0, {0x01}},
                {"key_with_an_even_modulus", 0, Bytes(MODULUS_SIZE, 0x7E)}};
    for (const auto &row : rows) {
        Refused(group, {row.name, GOOD, place, SIGKIT_ERR_SIGNATURE}, row.member == 1 ? EXPONENT : MODULUS,
                [member = row.member, octets = row.octets](Package *p) { SetKeyNumber(p, member, octets); });
    }
    Narrow(group, {"key_of_an_elliptic_curve", GOOD, "signature", SIGKIT_ERR_CMS_DECODE}, SIGNER_ALGORITHM,
           "Keys are RSA alone: one kind of signature is one kind of mistake.",
           [](Package *p) {
               static const forge::Key key = [] {
                   forge::Key made;
                   if (!forge::GenerateEcKey(&made).ok) {
                       std::abort();
                   }
                   return made;
               }();
               p->parties[SIGNER].request.subjectKey = key;
               p->message.signerInfo = [](der::SignerInfo *info) {
                   info->signatureAlgorithm = der::AlgorithmIdentifier("1.2.840.10045.4.3.2", std::nullopt);
               };
           })
        .features = {"ecdsa"};
}

// ---- Usages --------------------------------------------------------------------------------------------------------

void AddUsages(Group *group)
{
    const std::string usage = "signature/certificates/Signer/extensions/keyUsage";
    const std::string purpose = "signature/certificates/Signer/extensions/extKeyUsage";
    const auto withUsage = [](uint32_t bits) {
        return [bits](Package *p) { p->parties[SIGNER].request.keyUsage = bits; };
    };
    const auto withPurposes = [](std::vector<std::string> purposes) {
        return [purposes](Package *p) { p->parties[SIGNER].request.extendedKeyUsage = purposes; };
    };
    Accepted(group, "usage_with_non_repudiation", KEY_USAGE,
             withUsage(forge::DIGITAL_SIGNATURE | forge::NON_REPUDIATION));
    Refused(group, {"usage_without_digital_signature", GOOD, usage, SIGKIT_ERR_CERT_USAGE}, SIGNING_KEYS,
            withUsage(forge::NON_REPUDIATION))
        .importance = "medium";
    Refused(group, {"usage_of_a_ca", GOOD, usage, SIGKIT_ERR_CERT_USAGE}, KEY_USAGE,
            withUsage(forge::KEY_CERT_SIGN | forge::CRL_SIGN));
    Lenient(group, {"usage_of_decipher_only", GOOD, usage, SIGKIT_OK}, KEY_USAGE,
            "In the second octet decipherOnly has the value that digitalSignature has in the first.",
            withUsage(forge::DECIPHER_ONLY));
    Narrow(group, {"usage_missing", GOOD, usage, SIGKIT_ERR_CERT_USAGE}, KEY_USAGE,
           "A certificate that does not say what its key is for is not one for signing packages.", withUsage(0));
    Refused(group, {"purpose_missing", GOOD, purpose, SIGKIT_ERR_CERT_USAGE}, NAMED_PURPOSE, withPurposes({}));
    Refused(group, {"purpose_of_timestamps", GOOD, purpose, SIGKIT_ERR_CERT_USAGE}, PURPOSE,
            withPurposes({forge::PURPOSE_TIME_STAMPING}));
    Refused(group, {"purpose_of_servers", GOOD, purpose, SIGKIT_ERR_CERT_USAGE}, PURPOSE,
            withPurposes({"1.3.6.1.5.5.7.3.1"}));
    Refused(group, {"purpose_of_everything", GOOD, purpose, SIGKIT_ERR_CERT_USAGE}, NAMED_PURPOSE,
            withPurposes({"2.5.29.37.0"}))
        .importance = "medium";
    Accepted(group, "purpose_of_code_before_another", PURPOSE,
             withPurposes({forge::PURPOSE_CODE_SIGNING, "1.3.6.1.5.5.7.3.4"}));
    Narrow(
        group,
        {"purpose_of_code_behind_another", "signature::purpose_of_code_before_another", purpose, SIGKIT_ERR_CERT_USAGE},
        PURPOSE, "Only the first purpose counts, so that a certificate is for one thing.",
        withPurposes({"1.3.6.1.5.5.7.3.4", forge::PURPOSE_CODE_SIGNING}));
}
} // namespace

void AddSignatureValues(Group *group)
{
    for (const auto add : {AddPaddings, AddLengths, AddKeyLengths, AddBrokenKeys, AddUsages}) {
        add(group);
    }
}
} // namespace vectors
