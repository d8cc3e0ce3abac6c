// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Encodings: length forms, trailing octets, values of other types, and what DER forbids and BER allows.
#include <algorithm>

#include "vectors/make_vectors_case.h"
#include "vectors/make_vectors_element.h"
#include "vectors/make_vectors_rules.h"

namespace vectors
{
namespace
{
constexpr Rule MESSAGE_BER = {"RFC 5652", "2", "A message is in BER, but for its signed attributes and certificates."};
constexpr Rule LENGTHS = {"X.690", "8.1.3", "A length is definite in one or more octets, or indefinite."};
constexpr Rule DER_LENGTHS = {"X.690", "10.1", "In DER a length is definite and has as few octets as possible."};
constexpr Rule DER_STRINGS = {"X.690", "10.2", "In DER strings are primitive."};
constexpr Rule DER_BITS = {"X.690", "11.2", "In DER unused bits are zero, and named bits end with a one."};
constexpr Rule DER_BOOLEAN = {"X.690", "11.1", "In DER the BOOLEAN TRUE is FF."};
constexpr Rule DER_DEFAULT = {"X.690", "11.5", "In DER a member with its default value is left out."};
constexpr Rule DER_INTEGER = {"X.690", "8.3.2", "The first nine bits of an INTEGER are not all alike."};
constexpr Rule ONE_MESSAGE = {"protocol", "files", "A signature file holds one message and nothing behind it."};
constexpr Rule ONLY_CRLS = {"protocol", "files", "A CRL file holds CRLs and certificates and nothing else."};
constexpr Rule MEMBERS = {"RFC 5652", "5.1", "A SignedData has these members and no others."};
constexpr Rule SIGNER_MEMBERS = {"RFC 5652", "5.3", "A SignerInfo has these members and no others."};
constexpr Rule CERT_MEMBERS = {"RFC 5280", "4.1", "A certificate has these members and no others."};
constexpr Rule DIGEST_TYPE = {"RFC 5652", "11.2", "messageDigest is an OCTET STRING."};
constexpr Rule ONE_EXTENSION = {"RFC 5280", "4.2", "A certificate has each extension at most once."};
constexpr Rule SERIAL_NUMBER = {"RFC 5280", "4.1.2.2",
                                "Users of certificates handle serial numbers that are not positive."};
constexpr Rule CONTENT_INFO = {"RFC 5652", "3", "A message is a ContentInfo around a SignedData."};
constexpr Rule CERTIFICATE_SET = {"RFC 5652", "10.2.2",
                                  "Certificates of other formats may stand among those of X.509."};
constexpr Rule UNKNOWN_ATTRIBUTE = {"RFC 5652", "5.3", "Attributes that a verifier does not know do not count."};

// The element with its length in the long form of so many octets.
Edit LongLength(uint8_t octets)
{
    return [octets](const Bytes &element) { return der::TlvLong(element[0], ContentOf(element), octets); };
}

Bytes Indefinite(const Bytes &element)
{
    return der::TlvIndefinite(element[0], ContentOf(element));
}

// ---- Length forms --------------------------------------------------------------------------------------------------

struct Target {
    const char *name;
    const char *place;
    bool ber;        // may be in BER
    uint32_t status; // of what cannot be decoded
    Change (*apply)(const Edit &edit);
};

Change ToMessage(const Edit &edit)
{
    return [edit](Package *p) { p->message.whole = edit; };
}

Change ToSignerInfos(const Edit &edit)
{
    return [edit](Package *p) {
        p->message.signedData = [edit](der::SignedData *data) { data->signerInfos = edit(*data->signerInfos); };
    };
}

Change ToToken(const Edit &edit)
{
    return [edit](Package *p) { p->token.whole = edit; };
}

Change ToCertificate(const Edit &edit)
{
    return [edit](Package *p) { p->parties[SIGNER].toBeSigned = At({4}, edit); };
}

Change ToCrl(const Edit &edit)
{
    return [edit](Package *p) { p->crls[SIGNING_CRL].toBeSigned = At({2}, edit); };
}

Change ToSignedAttributes(const Edit &edit)
{
    return [edit](Package *p) {
        p->message.attributes = [edit](std::vector<Bytes> *attributes) {
            attributes->front() = edit(attributes->front());
            std::sort(attributes->begin(), attributes->end());
        };
    };
}

constexpr Target TARGETS[] = {
    {"message", "signature", true, SIGKIT_ERR_CMS_DECODE, ToMessage},
    {"signer_infos", "signature/signers", true, SIGKIT_ERR_CMS_DECODE, ToSignerInfos},
    {"token", "token", true, SIGKIT_ERR_CMS_DECODE, ToToken},
    {"validity_of_a_certificate", "signature/certificates/Signer/validity", false, SIGKIT_ERR_CMS_DECODE,
     ToCertificate},
    {"issuer_of_a_crl", "crls/CRL of Signing CA/issuer", false, SIGKIT_ERR_CRL_LOAD, ToCrl},
    {"signed_attribute", "signature/signer/signedAttrs/contentType", false, SIGKIT_ERR_CMS_DECODE, ToSignedAttributes},
};

void AddLengthForm(Group *group, const Target &target, const std::string &name, bool decoded, const Edit &edit)
{
    const Refusal refusal = {std::string(target.name) + "_with_" + name, GOOD, std::string(target.place) + "#length",
                             decoded ? SIGKIT_OK : target.status};
    const Change change = target.apply(edit);
    if (target.ber && decoded) {
        Accepted(group, refusal.name, LENGTHS, change);
    } else if (target.ber) {
        Narrow(group, refusal, MESSAGE_BER, "Lengths are definite and have at most four octets.", change).features = {
            "ber"};
    } else if (decoded) {
        Lenient(group, refusal, DER_LENGTHS, "A length may have octets to spare.", change).importance = "low";
    } else {
        Refused(group, refusal, DER_LENGTHS, change).importance = "medium";
    }
    if (target.ber && decoded) {
        group->cases.back().features = {"ber"};
    }
}

void AddLengthForms(Group *group)
{
    for (const Target &target : TARGETS) {
        AddLengthForm(group, target, "a_length_of_3_octets", true, LongLength(3));
        AddLengthForm(group, target, "a_length_of_4_octets", true, LongLength(4));
        AddLengthForm(group, target, "a_length_of_5_octets", false, LongLength(5));
        AddLengthForm(group, target, "an_indefinite_length", false, Indefinite);
    }
    const struct {
        const char *name;
        Bytes length;
        std::vector<std::string> cve;
    } rows[] = {{"a_length_beyond_the_file", {0x84, 0x7F, 0xFF, 0xFF, 0xFF}, {"CVE-2016-2109"}},
                {"the_length_of_four_gigabytes", {0x84, 0xFF, 0xFF, 0xFF, 0xFF}, {"CVE-2016-2109"}},
                {"a_length_of_127_octets", {0xFF, 0x00, 0x00, 0x00}, {}},
                {"a_length_of_0", {0x00}, {}}};
    for (const auto &row : rows) {
        Refused(group, {std::string("message_with_") + row.name, GOOD, "signature", SIGKIT_ERR_CMS_DECODE}, LENGTHS,
                ToMessage([length = row.length](const Bytes &element) {
                    return der::TlvRawLength(element[0], length, ContentOf(element));
                }))
            .cve = row.cve;
    }
    Refused(
        group, {"message_with_a_high_tag_number", GOOD, "signature#identifier", SIGKIT_ERR_CMS_DECODE}, CONTENT_INFO,
        ToMessage([](const Bytes &element) {
            return der::Concatenate({{0x3F, 0xFF, 0xFF, 0xFF, 0xFF, 0x7F}, Bytes(element.begin() + 1, element.end())});
        }));
}

// ---- Beginnings and ends of files ----------------------------------------------------------------------------------

Edit WithTail(size_t octets)
{
    return [octets](const Bytes &file) { return der::Concatenate({file, der::Fill(octets, 0x00)}); };
}

Edit WithoutTail(size_t octets)
{
    return [octets](const Bytes &file) { return der::Truncate(file, octets); };
}

Change ToCrlFile(const Edit &edit)
{
    return [edit](Package *p) { p->crlFile = edit; };
}

void AddTails(Group *group)
{
    const std::string behind = "What stands behind a message is left alone; the message is judged in full.";
    for (const size_t octets : {1u, 100u}) {
        Lenient(group, {"message_with_" + std::to_string(octets) + "_octets_behind", GOOD, "signature#tail", SIGKIT_OK},
                ONE_MESSAGE, behind, ToMessage(WithTail(octets)));
    }
    Lenient(group, {"message_twice_in_a_row", GOOD, "signature#tail", SIGKIT_OK}, ONE_MESSAGE, behind,
            ToMessage([](const Bytes &file) {
                return der::Concatenate({file, file});
            }));
    for (const size_t octets : {1u, 32u}) {
        Lenient(group, {"crls_with_" + std::to_string(octets) + "_octets_behind", GOOD, "crls#tail", SIGKIT_OK},
                ONLY_CRLS, "A tail of up to 32 octets that does not decode is dropped.", ToCrlFile(WithTail(octets)));
    }
    Refused(group, {"crls_with_33_octets_behind", GOOD, "crls#tail", SIGKIT_ERR_CRL_LOAD}, ONLY_CRLS,
            ToCrlFile(WithTail(33)));
    for (const size_t octets : {1u, 10u, 1000u}) {
        const std::string name = std::to_string(octets) + (octets == 1 ? "_octet" : "_octets");
        Refused(group, {"message_cut_by_" + name, GOOD, "signature#cut", SIGKIT_ERR_CMS_DECODE}, CONTENT_INFO,
                ToMessage(WithoutTail(octets)));
    }
    Refused(group, {"crls_cut_by_1_octet", GOOD, "crls#cut", SIGKIT_ERR_CRL_LOAD}, ONLY_CRLS,
            ToCrlFile(WithoutTail(1)));
}

void AddOtherFiles(Group *group)
{
    const auto replace = [](const Bytes &octets) { return [octets](const Bytes &) { return octets; }; };
    Refused(group, {"message_of_no_octets", GOOD, "signature#cut", SIGKIT_ERR_FILE_EMPTY}, CONTENT_INFO,
            ToMessage(replace({})));
    Refused(group, {"message_of_37_octets", GOOD, "signature#cut", SIGKIT_ERR_ARMOUR}, CONTENT_INFO,
            ToMessage([](const Bytes &file) { return Bytes(file.begin(), file.begin() + 37); }));
    Refused(group, {"message_that_is_text", GOOD, "signature", SIGKIT_ERR_CMS_DECODE}, CONTENT_INFO,
            ToMessage(replace(Octets("This is a text, and longer than 38 characters.\n"))));
    Refused(group, {"message_that_is_the_crl_file", GOOD, "signature", SIGKIT_ERR_CMS_DECODE}, CONTENT_INFO,
            [](Package *p) {
                const Bytes crls = MakeFiles(*p).crls;
                p->message.whole = [crls](const Bytes &) { return crls; };
            });
    Refused(group, {"message_without_its_content_info", GOOD, "signature", SIGKIT_ERR_CMS_DECODE}, CONTENT_INFO,
            ToMessage([](const Bytes &message) {
                return ElementAt(message, {1, 0});
            }));
    Refused(group, {"crls_of_no_octets", GOOD, "crls#cut", SIGKIT_ERR_FILE_EMPTY}, ONLY_CRLS, ToCrlFile(replace({})));
    Refused(group, {"crls_that_are_the_message", GOOD, "crls", SIGKIT_ERR_CRL_LOAD}, ONLY_CRLS, [](Package *p) {
        const Bytes message = MakeFiles(*p).signature;
        p->crlFile = [message](const Bytes &) { return message; };
    });
    Lenient(group, {"message_of_another_content_type", GOOD, "signature/contentType", SIGKIT_OK}, CONTENT_INFO,
            "Content types are not read: only a SignedData decodes as one.",
            ToMessage(At({0}, [](const Bytes &) { return der::Oid("1.2.840.113549.1.7.3"); })));
}

// ---- Members and their types ---------------------------------------------------------------------------------------

Change WithData(const std::function<void(der::SignedData *)> &change)
{
    return [change](Package *p) { p->message.signedData = change; };
}

Change WithSigner(const std::function<void(der::SignerInfo *)> &change)
{
    return [change](Package *p) { p->message.signerInfo = change; };
}

void AddMembers(Group *group)
{
    const std::string version = "Versions are not read: what the members say decides.";
    Lenient(group, {"signed_data_without_a_version", GOOD, "signature/version", SIGKIT_OK}, MEMBERS, version,
            WithData([](der::SignedData *data) { data->version.reset(); }))
        .importance = "low";
    Lenient(group, {"signed_data_of_version_9", GOOD, "signature/version", SIGKIT_OK}, MEMBERS, version,
            WithData([](der::SignedData *data) { data->version = der::Integer(9); }))
        .importance = "low";
    Lenient(group, {"signer_info_of_version_9", GOOD, "signature/signer/version", SIGKIT_OK}, SIGNER_MEMBERS, version,
            WithSigner([](der::SignerInfo *info) { info->version = der::Integer(9); }))
        .importance = "low";
    Refused(group, {"signed_data_with_a_further_member", GOOD, "signature", SIGKIT_ERR_CMS_DECODE}, MEMBERS,
            WithData([](der::SignedData *data) { data->trailing = der::Null(); }));
    Refused(group, {"signer_info_with_a_further_member", GOOD, "signature/signer", SIGKIT_ERR_CMS_DECODE},
            SIGNER_MEMBERS, WithSigner([](der::SignerInfo *info) { info->trailing = der::Null(); }));
    Refused(group, {"signed_data_without_signer_infos", GOOD, "signature/signers", SIGKIT_ERR_CMS_DECODE}, MEMBERS,
            WithData([](der::SignedData *data) { data->signerInfos.reset(); }));
    Refused(group, {"signer_info_without_a_signature", GOOD, "signature/signer/signature", SIGKIT_ERR_PARAM},
            SIGNER_MEMBERS, WithSigner([](der::SignerInfo *info) { info->signature.reset(); }));
    Refused(group, {"certificate_with_a_further_member", GOOD, "signature/certificates/Signer", SIGKIT_ERR_CMS_DECODE},
            CERT_MEMBERS, [](Package *p) {
                p->parties[SIGNER].toBeSigned = At({7}, [](const Bytes &extensions) {
                    return der::Concatenate({extensions, der::Null()});
                });
            });
    Accepted(group, "certificate_with_unique_identifiers", CERT_MEMBERS, [](Package *p) {
        p->parties[SIGNER].toBeSigned = At({6}, [](const Bytes &key) {
            return der::Concatenate(
                {key, der::Implicit(1, false, {0x00, 0x55}), der::Implicit(2, false, {0x00, 0xAA})});
        });
    });
    Narrow(group,
           {"certificate_of_another_format_beside_it", "signature::certificate_of_the_ca_in_the_crl_file",
            "signature/certificates/another format", SIGKIT_ERR_CMS_DECODE},
           CERTIFICATE_SET, "Certificates are those of X.509; whoever packs content has no others.", [](Package *p) {
               p->crlFileCertificates = {SIGNING_CA};
               p->message.certificates = {SIGNER};
               p->message.signedData = [](der::SignedData *data) {
                   const Bytes other =
                       der::Implicit(3, true, der::Concatenate({der::Oid("1.3.6.1.4.1.99999.9"), der::Null()}));
                   data->certificates = der::CertificateSet({ContentOf(*data->certificates), other});
               };
           });
}

void AddStrings(Group *group)
{
    const auto constructed = [](const Bytes &string) { return der::Tlv(0x24, string); };
    Narrow(group, {"signature_in_pieces", GOOD, "signature/signer/signature", SIGKIT_ERR_TIMESTAMP_IMPRINT},
           MESSAGE_BER, "Strings are primitive, as in DER.",
           WithSigner([constructed](der::SignerInfo *info) { info->signature = constructed(*info->signature); }))
        .features = {"ber"};
    Narrow(group, {"content_of_the_token_in_pieces", GOOD, "token/encapContentInfo/eContent", SIGKIT_ERR_ASN_TAG},
           MESSAGE_BER, "Strings are primitive, as in DER.",
           [constructed](Package *p) {
               p->token.signedData = [constructed](der::SignedData *data) {
                   data->encapContentInfo = EditAt(*data->encapContentInfo, {1, 0}, constructed);
               };
           })
        .features = {"ber"};
    const auto digest = [](const Edit &edit) {
        return [edit](Package *p) {
            p->message.attributes = [edit](std::vector<Bytes> *attributes) {
                attributes->back() = EditAt(attributes->back(), {1, 0}, edit);
                std::sort(attributes->begin(), attributes->end());
            };
        };
    };
    Refused(group, {"message_digest_in_pieces", GOOD, "signature/signer/signedAttrs/messageDigest", NOT_MATCHED},
            DER_STRINGS, digest(constructed));
    Lenient(group, {"message_digest_that_is_text", GOOD, "signature/signer/signedAttrs/messageDigest", SIGKIT_OK},
            DIGEST_TYPE, "The octets count, whatever their type is called.",
            digest([](const Bytes &string) { return der::Retag(der::UTF8_STRING, string); }))
        .importance = "low";
}

// ---- DER in certificates -------------------------------------------------------------------------------------------

// What is made of an extension of a certificate's, by its place in the list.
Change ToExtension(size_t party, size_t index, const Place &place, const Edit &edit)
{
    Place whole = {7, 0, index};
    whole.insert(whole.end(), place.begin(), place.end());
    return [party, whole, edit](Package *p) { p->parties[party].toBeSigned = At(whole, edit); };
}

// subjectKeyIdentifier, authorityKeyIdentifier, basicConstraints, keyUsage, extKeyUsage
enum : size_t { BASIC_CONSTRAINTS = 2, KEY_USAGE = 3 };

void AddValues(Group *group)
{
    const std::string signer = "signature/certificates/Signer/";
    const auto to = [](uint8_t tag, const Bytes &content) {
        return [tag, content](const Bytes &) { return der::Tlv(tag, content); };
    };
    Refused(group,
            {"ca_that_is_true_by_another_octet", GOOD, "signature/certificates/Signing CA/extensions/basicConstraints",
             SIGKIT_ERR_NO_ROOT},
            DER_BOOLEAN, ToExtension(SIGNING_CA, BASIC_CONSTRAINTS, {2, 0, 0}, to(der::BOOLEAN, {0x01})))
        .importance = "medium";
    Lenient(group, {"extension_that_says_not_critical", GOOD, signer + "extensions/subjectKeyIdentifier", SIGKIT_OK},
            DER_DEFAULT, "A default value may be written out.",
            ToExtension(SIGNER, 0, {0},
                        [](const Bytes &identifier) {
                            return der::Concatenate({identifier, der::Boolean(0x00)});
                        }))
        .importance = "low";
    Lenient(group, {"key_usage_with_bits_to_spare", GOOD, signer + "extensions/keyUsage", SIGKIT_OK}, DER_BITS,
            "The count of unused bits is not read.",
            ToExtension(SIGNER, KEY_USAGE, {2, 0}, to(der::BIT_STRING, {0x00, 0x80})))
        .importance = "low";
    Refused(group, {"key_usage_of_no_octets", GOOD, signer + "extensions/keyUsage", SIGKIT_ERR_CMS_DECODE}, DER_BITS,
            ToExtension(SIGNER, KEY_USAGE, {2, 0}, to(der::BIT_STRING, {0x00})));
    Lenient(group, {"signature_value_with_unused_bits", GOOD, signer + "signatureValue", SIGKIT_OK}, DER_BITS,
            "The count of unused bits is not read.",
            [](Package *p) { p->parties[SIGNER].whole = At({2}, [](Bytes bits) { return bits[4] = 0x01, bits; }); })
        .cve = {"CVE-2014-8275"};
    Lenient(group, {"extension_twice", GOOD, signer + "extensions/keyUsage#2", SIGKIT_OK}, ONE_EXTENSION,
            "Of a repeated extension the last one counts; the CA made both.",
            ToExtension(SIGNER, KEY_USAGE, {}, [](const Bytes &usage) {
                return der::Concatenate({usage, usage});
            }));
}

void AddSerialNumbers(Group *group)
{
    const auto serial = [](const Bytes &content) {
        return [content](Package *p) {
            p->parties[SIGNER].toBeSigned = At({1}, [content](const Bytes &) { return der::IntegerRaw(content); });
        };
    };
    Accepted(group, "serial_number_that_is_negative", SERIAL_NUMBER, serial({0xFF, 0x12}));
    Narrow(group, {"serial_number_0", GOOD, "signature/certificates/Signer/serialNumber", SIGKIT_ERR_SIGNER_NOT_FOUND},
           SERIAL_NUMBER, "The number 0 has no octets left once its zero is dropped, and finds none.", serial({0x00}));
    Accepted(group, "serial_number_of_20_octets", SERIAL_NUMBER, serial(der::Fill(20, 0x7A)));
    Lenient(group,
            {"serial_number_with_a_zero_to_spare", GOOD, "signature/certificates/Signer/serialNumber", SIGKIT_OK},
            DER_INTEGER, "One leading zero is dropped, needed or not.", serial({0x00, 0x5A, 0x03}))
        .importance = "low";
}

Bytes Nested(size_t depth)
{
    Bytes nested;
    for (size_t i = 0; i < depth; ++i) {
        nested = der::Tlv(der::SEQUENCE, nested);
    }
    return nested;
}

void AddUnknownAttributes(Group *group)
{
    const auto attribute = [](const Bytes &value) {
        return [value](Package *p) {
            p->unsignedAttributes = [value](std::vector<Bytes> *attributes) {
                attributes->push_back(der::Attribute("1.3.6.1.4.1.99999.4", {value}));
            };
        };
    };
    Accepted(group, "attribute_nested_1000_deep", UNKNOWN_ATTRIBUTE, attribute(Nested(1000)));
    Accepted(group, "attribute_with_a_high_tag_number", UNKNOWN_ATTRIBUTE, attribute({0x9F, 0x81, 0x22, 0x01, 0x00}));
}
} // namespace

Group EncodingCases()
{
    Group group = {"encoding", {}};
    for (const auto add : {AddLengthForms, AddTails, AddOtherFiles, AddMembers, AddStrings, AddValues, AddSerialNumbers,
                           AddUnknownAttributes}) {
        add(&group);
    }
    return group;
}
} // namespace vectors
