// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Who signs the token, and which certificates come with it.
#include <algorithm>

#include "vectors/make_vectors_case.h"
#include "vectors/make_vectors_element.h"
#include "vectors/make_vectors_rules.h"

namespace vectors
{
namespace
{
constexpr Rule ONE_SIGNER = {"RFC 3161", "2.4.2", "A token holds the signature of the authority, and no other."};
constexpr Rule SIGNED_ATTRIBUTES = {"RFC 5652", "5.3", "Content that is not plain data is signed through attributes."};
constexpr Rule CERTIFICATE_HASH = {"RFC 5816", "2.2.1",
                                   "signingCertificateV2 names the certificate that signed the token."};
constexpr Rule PURPOSE = {"RFC 3161", "2.3", "An authority's certificate has the one purpose timeStamping, critical."};

constexpr char ID_SIGNING_CERTIFICATE_V2[] = "1.2.840.113549.1.9.16.2.47";
constexpr char ID_MESSAGE_DIGEST[] = "1.2.840.113549.1.9.4";

// ---- Who signs the token -------------------------------------------------------------------------------------------

void AddTokenSigners(Group *group)
{
    Lenient(group, {"token_without_a_signer", GOOD, "token/signers", SIGKIT_OK}, ONE_SIGNER,
            "A token without a signer is the package maker's own claim of a time; the signature under it still counts.",
            [](Package *p) { p->token.signedData = [](der::SignedData *data) { data->signerInfos = der::Set({}); }; })
        .importance = "high";
    Refused(group, {"two_sign_the_token", GOOD, "token/signers", SIGKIT_ERR_SIGNED_DATA}, ONE_SIGNER, [](Package *p) {
        p->token.signedData = [](der::SignedData *data) {
            const Bytes signer = ContentOf(*data->signerInfos);
            data->signerInfos = der::Set({signer, signer});
        };
    });
    Refused(group, {"signature_of_the_token_with_a_turned_bit", GOOD, "token/signer/signature", SIGKIT_ERR_SIGNATURE},
            WHOLE_SIGNATURE,
            [](Package *p) { p->token.signerInfo = [](der::SignerInfo *info) { info->signature->back() ^= 0x01; }; });
    Refused(group, {"token_signed_by_the_signer_itself", GOOD, "token", SIGKIT_ERR_CERT_USAGE}, PURPOSE,
            [](Package *p) {
                p->token.signer = SIGNER;
                p->token.certificates = {SIGNER, SIGNING_CA};
            });
    Lenient(group, {"token_signed_without_attributes", GOOD, "token/signer/signedAttrs", SIGKIT_OK}, SIGNED_ATTRIBUTES,
            "A signature over the TSTInfo itself proves as much.",
            [](Package *p) { p->token.signedAttributes = false; });
    const auto digest = [](const std::function<Bytes(const Bytes &)> &change) {
        return [change](Package *p) {
            p->token.attributes = [change](std::vector<Bytes> *attributes) {
                for (Bytes &attribute : *attributes) {
                    if (ElementAt(attribute, {0}) == der::Oid(ID_MESSAGE_DIGEST)) {
                        attribute = EditAt(attribute, {1, 0}, [change](const Bytes &old) {
                            return der::OctetString(change(ContentOf(old)));
                        });
                    }
                }
                std::sort(attributes->begin(), attributes->end());
            };
        };
    };
    const Refusal wrong = {"message_digest_of_the_token_wrong", GOOD, "token/signer/signedAttrs/messageDigest",
                           SIGKIT_ERR_TIMESTAMP_SIGNATURE};
    Refused(group, wrong, MESSAGE_DIGEST, digest([](const Bytes &) { return der::Fill(32, 0); }));
    Refused(group, {"message_digest_of_the_token_of_no_octets", GOOD, wrong.difference, wrong.status}, MESSAGE_DIGEST,
            digest([](const Bytes &) { return Bytes(); }));
}

void AddTokenDigests(Group *group)
{
    for (const auto &[name, digest] : {std::pair("sha384", forge::Digest::Sha384), {"sha512", forge::Digest::Sha512}}) {
        Accepted(group, std::string("token_by_") + name, WHOLE_SIGNATURE, [digest = digest](Package *p) {
            p->token.digest = digest;
        }).features = {name};
    }
    Refused(group, {"token_by_sha1", GOOD, "token", SIGKIT_ERR_SIGNATURE}, STRONG_DIGEST, [](Package *p) {
        p->token.digest = forge::Digest::Sha1;
    }).cve = {"CVE-2005-4900"};
}

void AddCertificateHashes(Group *group)
{
    const std::string place = "token/signer/signedAttrs/signingCertificateV2";
    const auto change = [](const std::function<void(std::vector<Bytes> *, size_t)> &edit) {
        return [edit](Package *p) {
            p->token.attributes = [edit](std::vector<Bytes> *attributes) {
                for (size_t i = 0; i < attributes->size(); ++i) {
                    if (ElementAt((*attributes)[i], {0}) == der::Oid(ID_SIGNING_CERTIFICATE_V2)) {
                        edit(attributes, i);
                        break;
                    }
                }
                std::sort(attributes->begin(), attributes->end());
            };
        };
    };
    const std::string reason = "The attribute is not read: give an authority's key one certificate.";
    Lenient(group, {"signing_certificate_missing", GOOD, place, SIGKIT_OK}, CERTIFICATE_HASH, reason,
            change([](std::vector<Bytes> *attributes, size_t i) {
                attributes->erase(attributes->begin() + static_cast<ptrdiff_t>(i));
            }));
    Lenient(group, {"signing_certificate_of_another", GOOD, place, SIGKIT_OK}, CERTIFICATE_HASH, reason,
            change([](std::vector<Bytes> *attributes, size_t i) {
                (*attributes)[i] = EditAt((*attributes)[i], {1, 0, 0, 0, 0},
                                          [](const Bytes &) { return der::OctetString(der::Fill(32, 0)); });
            }));
}

void AddPurposes(Group *group)
{
    const std::string place = "token/certificates/Timestamp Authority/extensions/extKeyUsage";
    const auto purposes = [](std::vector<std::string> list, bool critical = true) {
        return [list, critical](Package *p) {
            p->parties[TIMESTAMP].request.extendedKeyUsage = list;
            p->parties[TIMESTAMP].request.extendedKeyUsageCritical = critical;
        };
    };
    const std::string first = "The first purpose counts, and whether it is critical is not read.";
    Lenient(group, {"purpose_not_critical", GOOD, place, SIGKIT_OK}, PURPOSE, first,
            purposes({forge::PURPOSE_TIME_STAMPING}, false));
    Lenient(group, {"purpose_before_another", GOOD, place, SIGKIT_OK}, PURPOSE, first,
            purposes({forge::PURPOSE_TIME_STAMPING, forge::PURPOSE_CODE_SIGNING}));
    Refused(group, {"purpose_behind_another", GOOD, place, SIGKIT_ERR_CERT_USAGE}, PURPOSE,
            purposes({forge::PURPOSE_CODE_SIGNING, forge::PURPOSE_TIME_STAMPING}));
    Refused(group, {"purpose_of_code", GOOD, place, SIGKIT_ERR_CERT_USAGE}, PURPOSE,
            purposes({forge::PURPOSE_CODE_SIGNING}));
    Refused(group, {"purpose_missing", GOOD, place, SIGKIT_ERR_CERT_USAGE}, PURPOSE, purposes({}));
    Refused(group,
            {"usage_without_digital_signature", GOOD, "token/certificates/Timestamp Authority/extensions/keyUsage",
             SIGKIT_ERR_CERT_USAGE},
            SIGNING_KEYS, [](Package *p) { p->parties[TIMESTAMP].request.keyUsage = forge::KEY_CERT_SIGN; });
}

// ---- Certificates in the token -------------------------------------------------------------------------------------

void AddCertificates(Group *group)
{
    Accepted(group, "certificates_reordered", ANY_CERTIFICATES, [](Package *p) {
        p->token.certificates = {TIMESTAMP_CA, TIMESTAMP};
    });
    Accepted(group, "certificate_of_its_ca_in_the_crl_file", ANY_CERTIFICATES, [](Package *p) {
        p->token.certificates = {TIMESTAMP};
        p->crlFileCertificates = {TIMESTAMP_CA};
    });
    Accepted(group, "certificate_of_somebody_else_injected", ANY_CERTIFICATES, [](Package *p) {
        const size_t other = AddSigner(p, "Another Authority", TIMESTAMP_CA, forge::PURPOSE_TIME_STAMPING);
        p->token.certificates = {TIMESTAMP, other};
        p->crlFileCertificates = {TIMESTAMP_CA};
    });
    Accepted(group, "certificate_of_the_root_injected", ANY_CERTIFICATES, [](Package *p) {
        p->token.certificates = {TIMESTAMP, ROOT};
        p->crlFileCertificates = {TIMESTAMP_CA};
    });
    Refused(group,
            {"certificate_of_the_authority_missing", GOOD, "token/certificates/Timestamp Authority",
             SIGKIT_ERR_TIMESTAMP_SIGNER},
            WHO_SIGNED, [](Package *p) { p->token.certificates = {TIMESTAMP_CA}; });
    Refused(group, {"certificate_of_its_ca_missing", GOOD, "token/certificates/Timestamp CA", SIGKIT_ERR_NO_ROOT},
            TRUST_ANCHOR, [](Package *p) { p->token.certificates = {TIMESTAMP}; });
    // Somebody else's key under the authority's name and serial number: whoever takes the first match is misled.
    const auto decoy = [](bool first) {
        return [first](Package *p) {
            const size_t place = AddSigner(p, "Timestamp Authority", TIMESTAMP_CA, forge::PURPOSE_TIME_STAMPING);
            p->parties[place].request.serialNumber = p->parties[TIMESTAMP].request.serialNumber;
            p->parties[place].request.subjectKey = KeyOf("Somebody else");
            p->parties[place].request.issuerKey = KeyOf("Somebody else");
            p->crlFileCertificates = {TIMESTAMP_CA};
            p->token.certificates =
                first ? std::vector<size_t>{place, TIMESTAMP} : std::vector<size_t>{TIMESTAMP, place};
        };
    };
    Accepted(group, "decoy_of_the_authority_behind_it", ANY_CERTIFICATES, decoy(false));
    Narrow(group,
           {"decoy_of_the_authority_before_it", "timestamp::decoy_of_the_authority_behind_it",
            "token/certificates/order", SIGKIT_ERR_NO_ROOT},
           ANY_CERTIFICATES,
           "The first certificate with the issuer and serial number is the one that is judged; this one is forged.",
           decoy(true));
    Refused(group,
            {"signed_by_a_self_signed_certificate", GOOD, "token/certificates/Timestamp Authority",
             SIGKIT_ERR_TIMESTAMP_SIGNER},
            TRUST_ANCHOR, [](Package *p) {
                p->parties[TIMESTAMP].request.issuerKey = p->parties[TIMESTAMP].request.subjectKey;
                p->parties[TIMESTAMP].request.issuer = NameOf("Timestamp Authority");
            });
}
} // namespace

void AddTokenSignerCases(Group *group)
{
    for (const auto add : {AddTokenSigners, AddTokenDigests, AddCertificateHashes, AddPurposes, AddCertificates}) {
        add(group);
    }
}
} // namespace vectors
