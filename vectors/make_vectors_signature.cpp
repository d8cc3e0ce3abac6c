// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Signatures: what belongs together, signers, signed attributes, digests.
#include <algorithm>
#include <cstdlib>

#include "tests/forge/digest.h"
#include "tests/forge/keys.h"
#include "vectors/make_vectors_case.h"
#include "vectors/make_vectors_element.h"
#include "vectors/make_vectors_rules.h"

namespace vectors
{
namespace
{
constexpr Rule ATTRIBUTES = {"RFC 5652", "5.4", "With signed attributes the signature is over their DER encoding."};
constexpr Rule ATTRIBUTES_DER = {"RFC 5652", "5.3", "Signed attributes are encoded in DER, as a sorted SET OF."};
constexpr Rule BOTH_ATTRIBUTES = {"RFC 5652", "11", "Signed attributes hold one contentType and one messageDigest."};
constexpr Rule CONTENT_TYPE = {"RFC 5652", "11.1", "The attribute contentType is that of the signed data."};
constexpr Rule ONE_SIGNER = {"protocol", "files", "A signature file holds one message, of one signer."};
constexpr Rule DIGEST_LIST = {"RFC 5652", "5.1", "digestAlgorithms may hold any number of algorithms, and none."};
constexpr Rule DETACHED = {"RFC 5652", "5.2", "A detached signature carries no content of its own."};
constexpr Rule IGNORED = {"RFC 5652", "5.3", "Attributes that a verifier does not know do not count."};

constexpr char ID_CONTENT_TYPE[] = "1.2.840.113549.1.9.3";
constexpr char ID_MESSAGE_DIGEST[] = "1.2.840.113549.1.9.4";
constexpr char ID_SIGNING_TIME[] = "1.2.840.113549.1.9.5";
constexpr char ID_DATA[] = "1.2.840.113549.1.7.1";

Bytes FlipLastBit(Bytes octets)
{
    octets.back() ^= 0x01;
    return octets;
}

Change WithAttributes(std::function<void(std::vector<Bytes> *)> change)
{
    return [change](Package *p) { p->message.attributes = change; };
}

Change WithSignerInfo(std::function<void(der::SignerInfo *)> change)
{
    return [change](Package *p) { p->message.signerInfo = change; };
}

Bytes *FindAttribute(std::vector<Bytes> *attributes, const char *type)
{
    const Bytes identifier = der::Oid(type);
    for (Bytes &attribute : *attributes) {
        if (ElementAt(attribute, {0}) == identifier) {
            return &attribute;
        }
    }
    std::abort(); // this source asks for one that is not there
}

void Remove(std::vector<Bytes> *attributes, const char *type)
{
    attributes->erase(attributes->begin() + (FindAttribute(attributes, type) - attributes->data()));
}

// ---- What belongs together -----------------------------------------------------------------------------------------

void AddContent(Group *group)
{
    Accepted(group, "good", WHOLE_SIGNATURE, nullptr);
    Accepted(group, "empty_content", WHOLE_SIGNATURE, [](Package *p) { p->content.clear(); });
    Refused(group, {"content_with_a_turned_bit", GOOD, "content", NOT_MATCHED}, WHOLE_SIGNATURE,
            [](Package *p) { p->contentFile = [](Bytes octets) { return octets[0] ^= 0x01, octets; }; });
    Refused(group, {"content_cut_by_one_octet", GOOD, "content#cut", NOT_MATCHED}, WHOLE_SIGNATURE,
            [](Package *p) { p->contentFile = [](const Bytes &octets) { return der::Truncate(octets, 1); }; });
    Refused(group, {"content_with_one_octet_more", GOOD, "content#tail", NOT_MATCHED}, WHOLE_SIGNATURE,
            [](Package *p) { p->contentFile = [](Bytes octets) { return octets.push_back(0), octets; }; });
    Refused(group, {"content_that_is_empty", GOOD, "content#cut", NOT_MATCHED}, WHOLE_SIGNATURE,
            [](Package *p) { p->contentFile = [](const Bytes &) { return Bytes(); }; });
    Refused(group, {"signature_with_a_turned_bit", GOOD, "signature/signer/signature", SIGKIT_ERR_TIMESTAMP_IMPRINT},
            WHOLE_SIGNATURE,
            WithSignerInfo([](der::SignerInfo *info) { info->signature = FlipLastBit(*info->signature); }));
    Refused(group,
            {"signature_with_a_turned_bit_and_its_token", GOOD, "signature/signer/signature", SIGKIT_ERR_SIGNATURE},
            WHOLE_SIGNATURE, [](Package *p) {
                p->message.sign = [](const Bytes &octets) {
                    return FlipLastBit(SignWith(KeyOf("Signer"), forge::Digest::Sha256, octets));
                };
            });
    Refused(group, {"signature_of_another_key", GOOD, "signature/signer/signature", SIGKIT_ERR_SIGNATURE}, WHO_SIGNED,
            [](Package *p) {
                p->message.sign = [](const Bytes &octets) {
                    return SignWith(KeyOf("Somebody else"), forge::Digest::Sha256, octets);
                };
            });
}

void AddSigners(Group *group)
{
    Lenient(group, {"no_signer_over_empty_content", "signature::empty_content", "signature/signers", SIGKIT_OK},
            ONE_SIGNER,
            "An empty content without a signer says nothing; whoever packs content never signs an empty one.",
            [](Package *p) {
                p->content.clear();
                p->message.signedData = [](der::SignedData *data) { data->signerInfos = der::Set({}); };
            });
    Refused(group, {"no_signer", GOOD, "signature/signers", SIGKIT_ERR_NOT_BEGUN}, ONE_SIGNER, [](Package *p) {
        p->message.signedData = [](der::SignedData *data) { data->signerInfos = der::Set({}); };
    });
    Refused(group, {"the_same_signer_twice", GOOD, "signature/signers", SIGKIT_ERR_CMS_DECODE}, ONE_SIGNER,
            [](Package *p) {
                p->message.signedData = [](der::SignedData *data) {
                    const Bytes signer = ContentOf(*data->signerInfos);
                    data->signerInfos = der::Set({signer, signer});
                };
            });
    Refused(group, {"sid_names_no_certificate", GOOD, "signature/signer/sid", SIGKIT_ERR_SIGNER_NOT_FOUND}, WHO_SIGNED,
            WithSignerInfo([](der::SignerInfo *info) {
                info->sid = EditAt(*info->sid, {1}, [](const Bytes &) { return der::Integer(0x5B5B); });
            }));
    Refused(group, {"sid_names_the_ca", GOOD, "signature/signer/sid", SIGKIT_ERR_CERT_USAGE}, WHO_SIGNED,
            WithSignerInfo([](der::SignerInfo *info) {
                info->sid = der::IssuerAndSerialNumber(ElementAt(*info->sid, {0}), der::Integer(0x5A02));
                info->sid = EditAt(*info->sid, {0, 2, 0, 1}, [](const Bytes &) { return der::Utf8("Root CA"); });
            }));
    Narrow(group, {"sid_by_key_identifier", GOOD, "signature/signer", SIGKIT_ERR_CMS_DECODE}, WHO_SIGNED,
           "Signers are named by issuer and serial number alone, which is one way less to find a wrong one.",
           WithSignerInfo([](der::SignerInfo *info) {
               Bytes identifier;
               if (!forge::KeyIdentifier(KeyOf("Signer"), &identifier).ok) {
                   std::abort();
               }
               info->version = der::Integer(3);
               info->sid = der::Implicit(0, false, identifier);
           }))
        .features = {"key_identifier"};
    Refused(group,
            {"certificate_of_the_signer_missing", GOOD, "signature/certificates/Signer", SIGKIT_ERR_SIGNER_NOT_FOUND},
            WHO_SIGNED, [](Package *p) { p->message.certificates = {SIGNING_CA}; });
    Accepted(group, "certificates_reordered", ANY_CERTIFICATES, [](Package *p) {
        p->message.certificates = {SIGNING_CA, SIGNER};
    });
    Accepted(group, "certificate_of_the_ca_in_the_crl_file", ANY_CERTIFICATES, [](Package *p) {
        p->message.certificates = {SIGNER};
        p->crlFileCertificates = {SIGNING_CA};
    });
}

// ---- Signed attributes ---------------------------------------------------------------------------------------------

void AddAttributeSets(Group *group)
{
    Accepted(group, "without_signed_attributes", ATTRIBUTES, [](Package *p) { p->message.signedAttributes = false; });
    Accepted(group, "with_a_signing_time", IGNORED, WithAttributes([](std::vector<Bytes> *attributes) {
                 attributes->push_back(der::Attribute(ID_SIGNING_TIME, {der::UtcTime("260115120000Z")}));
                 std::sort(attributes->begin(), attributes->end());
             }));
    // What was signed is the encoding of the attributes: without them it is the content, and nothing is wrong with it.
    Accepted(group, "attributes_stripped_and_taken_for_the_content", ATTRIBUTES, [](Package *p) {
        const Bytes digest = HashOf(forge::Digest::Sha256, p->content);
        p->content = der::Set({der::Attribute(ID_CONTENT_TYPE, {der::Oid(ID_DATA)}),
                               der::Attribute(ID_MESSAGE_DIGEST, {der::OctetString(digest)})});
        p->message.signedAttributes = false;
    });
    Refused(group,
            {"attributes_stripped", "signature::without_signed_attributes", "signature/signer/signature", NOT_MATCHED},
            ATTRIBUTES, [](Package *p) {
                p->message.signedAttributes = true;
                p->message.signerInfo = [](der::SignerInfo *info) { info->signedAttrs.reset(); };
            });
    Lenient(
        group,
        {"message_digest_missing", "signature::without_signed_attributes", "signature/signer/signedAttrs", SIGKIT_OK},
        BOTH_ATTRIBUTES,
        "Without a messageDigest the signature is taken as one over the content, and the attributes as unsigned.",
        [](Package *p) {
            p->message.signedAttributes = false;
            p->message.signerInfo = [](der::SignerInfo *info) {
                const Bytes type = der::Attribute(ID_CONTENT_TYPE, {der::Oid(ID_DATA)});
                info->signedAttrs = der::SignedAttributes({type});
            };
        });
    Lenient(group, {"content_type_missing", GOOD, "signature/signer/signedAttrs/contentType", SIGKIT_OK},
            BOTH_ATTRIBUTES, "Of the signed attributes only messageDigest is read: it alone binds the content.",
            WithAttributes([](std::vector<Bytes> *attributes) { Remove(attributes, ID_CONTENT_TYPE); }));
    Lenient(group, {"content_type_of_a_token", GOOD, "signature/signer/signedAttrs/contentType", SIGKIT_OK},
            CONTENT_TYPE, "Content types are not read: the content is a file, whatever it is called.",
            WithAttributes([](std::vector<Bytes> *attributes) {
                *FindAttribute(attributes, ID_CONTENT_TYPE) =
                    der::Attribute(ID_CONTENT_TYPE, {der::Oid("1.2.840.113549.1.9.16.1.4")});
                std::sort(attributes->begin(), attributes->end());
            }));
    Lenient(group,
            {"two_message_digests_the_last_right", GOOD, "signature/signer/signedAttrs/messageDigest#1", SIGKIT_OK},
            BOTH_ATTRIBUTES, "Of a repeated attribute the last one counts; the signer made both.",
            WithAttributes([](std::vector<Bytes> *attributes) {
                const Bytes wrong = der::OctetString(der::Fill(32, 0x00));
                attributes->insert(attributes->begin(), der::Attribute(ID_MESSAGE_DIGEST, {wrong}));
                std::sort(attributes->begin(), attributes->end());
            }));
    Refused(group,
            {"two_message_digests_the_last_wrong", GOOD, "signature/signer/signedAttrs/messageDigest#2", NOT_MATCHED},
            BOTH_ATTRIBUTES, WithAttributes([](std::vector<Bytes> *attributes) {
                const Bytes wrong = der::OctetString(der::Fill(32, 0xFF));
                attributes->push_back(der::Attribute(ID_MESSAGE_DIGEST, {wrong}));
                std::sort(attributes->begin(), attributes->end());
            }));
}

void AddAttributeOrders(Group *group)
{
    Lenient(
        group, {"attributes_reordered_and_signed_so", GOOD, "signature/signer/signedAttrs/order", SIGKIT_OK},
        ATTRIBUTES_DER, "What was signed is what is carried: the octets are hashed as they stand, not sorted anew.",
        WithAttributes([](std::vector<Bytes> *attributes) { std::reverse(attributes->begin(), attributes->end()); }));
    Case &reordered = Refused(
        group,
        {"attributes_reordered_behind_the_signature", GOOD, "signature/signer/signedAttrs/order", SIGKIT_ERR_SIGNATURE},
        ATTRIBUTES_DER, WithSignerInfo([](der::SignerInfo *info) {
            const Bytes first = ElementAt(*info->signedAttrs, {0});
            const Bytes second = ElementAt(*info->signedAttrs, {1});
            info->signedAttrs = der::SignedAttributes({second, first});
        }));
    reordered.importance = "medium";
    Refused(group,
            {"attribute_removed_behind_the_signature", GOOD, "signature/signer/signedAttrs/contentType",
             SIGKIT_ERR_SIGNATURE},
            ATTRIBUTES, WithSignerInfo([](der::SignerInfo *info) {
                info->signedAttrs = EditAt(*info->signedAttrs, {0}, [](const Bytes &) { return Bytes(); });
            }));
    Refused(group,
            {"attribute_added_behind_the_signature", GOOD, "signature/signer/signedAttrs/signingTime",
             SIGKIT_ERR_SIGNATURE},
            ATTRIBUTES, WithSignerInfo([](der::SignerInfo *info) {
                const Bytes time = der::Attribute(ID_SIGNING_TIME, {der::UtcTime("260115120000Z")});
                info->signedAttrs = EditAt(*info->signedAttrs, {1}, [time](const Bytes &last) {
                    return der::Concatenate({last, time});
                });
            }));
    Case &malformed = Refused(
        group, {"attribute_malformed", GOOD, "signature/signer/signedAttrs/messageDigest", SIGKIT_ERR_CMS_DECODE},
        BOTH_ATTRIBUTES, WithAttributes([](std::vector<Bytes> *attributes) {
            *FindAttribute(attributes, ID_MESSAGE_DIGEST) = der::Sequence({der::Oid(ID_MESSAGE_DIGEST), der::Set({})});
        }));
    malformed.cve = {"CVE-2009-0591"};
    Refused(group, {"attributes_signed_with_their_own_tag", GOOD, "signature/signer/signature", SIGKIT_ERR_SIGNATURE},
            ATTRIBUTES, [](Package *p) {
                p->message.sign = [](const Bytes &octets) {
                    return SignWith(KeyOf("Signer"), forge::Digest::Sha256, der::Retag(0xA0, octets));
                };
            });
}

void AddMessageDigest(Group *group, const std::string &name, const std::function<Bytes(const Bytes &)> &change)
{
    const std::string place = "signature/signer/signedAttrs/messageDigest";
    Refused(group, {"message_digest_" + name, GOOD, place, NOT_MATCHED}, MESSAGE_DIGEST,
            WithAttributes([change](std::vector<Bytes> *attributes) {
                Bytes *attribute = FindAttribute(attributes, ID_MESSAGE_DIGEST);
                const Bytes digest = ContentOf(ElementAt(*attribute, {1, 0}));
                *attribute = der::Attribute(ID_MESSAGE_DIGEST, {der::OctetString(change(digest))});
                std::sort(attributes->begin(), attributes->end());
            }));
}

void AddMessageDigests(Group *group)
{
    AddMessageDigest(group, "of_something_else",
                     [](const Bytes &) { return HashOf(forge::Digest::Sha256, Octets("something else")); });
    AddMessageDigest(group, "of_no_octets", [](const Bytes &) { return Bytes(); });
    AddMessageDigest(group, "of_its_first_octet", [](const Bytes &digest) { return Bytes{digest[0]}; });
    AddMessageDigest(group, "of_31_octets", [](const Bytes &digest) { return der::Truncate(digest, 1); });
    AddMessageDigest(group, "of_33_octets", [](const Bytes &digest) { return der::Concatenate({digest, {0}}); });
    AddMessageDigest(group, "beginning_with_the_same_octet_and_zero", [](const Bytes &digest) {
        Bytes wrong = digest;
        std::fill(wrong.begin() + 1, wrong.end(), uint8_t{0});
        return wrong;
    });
}

// ---- Digests -------------------------------------------------------------------------------------------------------

void AddDigests(Group *group)
{
    for (const auto &[name, digest] : {std::pair("sha384", forge::Digest::Sha384), {"sha512", forge::Digest::Sha512}}) {
        Accepted(group, std::string("digest_") + name, SIGNER_ALGORITHM, [digest = digest](Package *p) {
            p->message.digest = digest;
        }).features = {name};
        Accepted(group, std::string("digest_") + name + "_without_signed_attributes", SIGNER_ALGORITHM,
                 [digest = digest](Package *p) {
                     p->message.digest = digest;
                     p->message.signedAttributes = false;
                 })
            .features = {name};
    }
    Refused(group, {"digest_sha1", GOOD, "signature", SIGKIT_ERR_SIGNATURE}, STRONG_DIGEST, [](Package *p) {
        p->message.digest = forge::Digest::Sha1;
    }).cve = {"CVE-2005-4900"};
    Refused(group, {"digest_algorithm_unknown", GOOD, "signature/signer/digestAlgorithm", SIGKIT_ERR_SIGNATURE},
            SIGNER_ALGORITHM, WithSignerInfo([](der::SignerInfo *info) {
                info->digestAlgorithm = der::AlgorithmIdentifier("1.3.6.1.4.1.99999.7", std::nullopt);
            }))
        .cve = {"CVE-2015-1792"};
    Refused(group,
            {"digest_algorithm_is_not_the_signatures", GOOD, "signature/signer/digestAlgorithm", SIGKIT_ERR_SIGNATURE},
            SIGNER_ALGORITHM, WithSignerInfo([](der::SignerInfo *info) {
                info->digestAlgorithm = forge::DigestAlgorithm(forge::Digest::Sha384);
            }));
    Accepted(group, "digest_algorithm_with_null_parameters", SIGNER_ALGORITHM,
             WithSignerInfo([](der::SignerInfo *info) {
                 info->digestAlgorithm = der::AlgorithmIdentifier("2.16.840.1.101.3.4.2.1");
             }));
    Accepted(group, "signature_algorithm_with_the_digest", SIGNER_ALGORITHM, WithSignerInfo([](der::SignerInfo *info) {
                 info->signatureAlgorithm = der::AlgorithmIdentifier("1.2.840.113549.1.1.11");
             }));
    Lenient(group, {"signature_algorithm_of_another_digest", GOOD, "signature/signer/signatureAlgorithm", SIGKIT_OK},
            SIGNER_ALGORITHM,
            "signatureAlgorithm is not read: digestAlgorithm and the certificate's key say all of it.",
            WithSignerInfo([](der::SignerInfo *info) {
                info->signatureAlgorithm = der::AlgorithmIdentifier("1.2.840.113549.1.1.13");
            }));
    Lenient(group, {"signature_algorithm_of_another_key", GOOD, "signature/signer/signatureAlgorithm", SIGKIT_OK},
            SIGNER_ALGORITHM,
            "signatureAlgorithm is not read: digestAlgorithm and the certificate's key say all of it.",
            WithSignerInfo([](der::SignerInfo *info) {
                info->signatureAlgorithm = der::AlgorithmIdentifier("1.2.840.10045.4.3.2", std::nullopt);
            }));
    Accepted(group, "digest_algorithms_empty", DIGEST_LIST, [](Package *p) {
        p->message.signedData = [](der::SignedData *data) { data->digestAlgorithms = der::Set({}); };
    });
    Lenient(group, {"content_carried_beside_the_file", GOOD, "signature/encapContentInfo/eContent", SIGKIT_OK},
            DETACHED, "What the message carries is not looked at: the file is the content.", [](Package *p) {
                p->message.signedData = [](der::SignedData *data) {
                    data->encapContentInfo = der::Sequence(
                        {der::Oid(ID_DATA), der::Explicit(0, der::OctetString(Octets("another content\n")))});
                };
            });
}

} // namespace

Group SignatureCases()
{
    Group group = {"signature", {}};
    for (const auto add : {AddContent, AddSigners, AddAttributeSets, AddAttributeOrders, AddMessageDigests, AddDigests,
                           AddSignatureValues}) {
        add(&group);
    }
    return group;
}
} // namespace vectors
