// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// CRLs: their dates, who signed them, for what they count, and which of several decides.
#include <algorithm>

#include "vectors/make_vectors_case.h"
#include "vectors/make_vectors_element.h"
#include "vectors/make_vectors_rules.h"

namespace vectors
{
namespace
{
constexpr Rule COVERED = {"protocol", "revocation", "For every certificate below the root a CRL must be found."};
constexpr Rule CURRENT = {"RFC 5280", "6.3.3 (a)", "A CRL counts until its nextUpdate."};
constexpr Rule THIS_UPDATE = {"protocol", "revocation", "A CRL made after the token's time knows more, and counts."};
constexpr Rule NEXT_UPDATE = {"protocol", "revocation", "A CRL that does not say until when it counts does not count."};
constexpr Rule VERSIONS = {"RFC 5280", "5", "CRLs of version 1 and of version 2 are read."};
constexpr Rule SIGNATURE = {"RFC 5280", "6.3.3 (g)", "A CRL is signed with a key that the path of its issuer proves."};
constexpr Rule SAME_ANCHOR = {"RFC 5280", "8",
                              "A CA is known by its name; the paths of its certificates and CRLs end at one root."};
constexpr Rule CRL_SIGN = {"RFC 5280", "6.3.3 (f)", "The key of a CRL's issuer may sign CRLs."};
constexpr Rule NEWEST = {"RFC 5280", "5.2.3", "Of the CRLs of one issuer the most recent one counts."};
constexpr Rule INDIRECT = {"RFC 5280", "6.3.3 (b)(1)",
                           "An indirect CRL counts where the certificate names its issuer."};
constexpr Rule ENTRY_ISSUER = {"RFC 5280", "5.3.3", "certificateIssuer says whose certificate an entry is about."};
constexpr Rule SCOPE = {"RFC 5280", "6.3.3 (b)(2)", "A CRL counts for the certificates of its scope alone."};
constexpr Rule REASONS = {"RFC 5280", "6.3.3", "CRLs for some reasons leave the others open."};
constexpr Rule DELTA = {"RFC 5280", "5.2.4", "A delta CRL counts only beside the CRL that it continues."};
constexpr Rule CRITICAL = {"RFC 5280", "5.2", "An unknown critical extension makes a CRL useless."};
constexpr Rule NO_ENTRIES = {"RFC 5280", "5.1.2.6", "Where nothing is revoked the list is absent."};
constexpr Rule ALGORITHMS = {"RFC 5280", "5.1.1.2", "signatureAlgorithm and the signature member say the same."};
constexpr Rule PATH = {"RFC 5280", "6.1.3 (a)(3)", "Every certificate of the path is asked for."};
constexpr Rule ELSEWHERE = {"protocol", "files", "CRLs come from the CRL file; those in the message do not count."};

struct Role {
    const char *name;
    size_t crl;
    const char *label;
};
constexpr Role ROLES[] = {{"root", ROOT_CRL, "crls/CRL of Root CA"},
                          {"ca_of_the_signer", SIGNING_CRL, "crls/CRL of Signing CA"},
                          {"ca_of_the_authority", TIMESTAMP_CRL, "crls/CRL of Timestamp CA"}};

// ---- Dates ---------------------------------------------------------------------------------------------------------

Change Next(size_t crl, int64_t time)
{
    return [crl, time](Package *p) { p->crls[crl].request.nextUpdate = time; };
}

void AddDates(Group *group)
{
    for (const Role &role : ROLES) {
        const std::string name = std::string("of_the_") + role.name;
        const size_t crl = role.crl;
        Accepted(group, name + "_until_this_second", CURRENT, Next(crl, SIGNING_TIME));
        Refused(group,
                {name + "_until_the_last_second", "crl::" + name + "_until_this_second",
                 std::string(role.label) + "/nextUpdate", SIGKIT_ERR_NO_CRL},
                CURRENT, Next(crl, SIGNING_TIME - 1));
        Accepted(group, name + "_from_the_next_second", THIS_UPDATE,
                 [crl](Package *p) { p->crls[crl].request.thisUpdate = SIGNING_TIME + 1; });
        Refused(group, {name + "_missing", GOOD, role.label, SIGKIT_ERR_NO_CRL}, COVERED,
                [crl](Package *p) { p->crls.erase(p->crls.begin() + static_cast<ptrdiff_t>(crl)); });
        Refused(group,
                {name + "_with_a_turned_bit", GOOD, std::string(role.label) + "/signatureValue", SIGKIT_ERR_NO_CRL},
                SIGNATURE,
                [crl](Package *p) { p->crls[crl].whole = [](Bytes octets) { return octets.back() ^= 0x01, octets; }; });
    }
}

// ---- Form ----------------------------------------------------------------------------------------------------------

void AddForms(Group *group)
{
    const std::string crl = "crls/CRL of Signing CA";
    Refused(group, {"without_next_update", GOOD, crl + "/nextUpdate", SIGKIT_ERR_NO_CRL}, NEXT_UPDATE, [](Package *p) {
        p->crls[SIGNING_CRL].request.omitNextUpdate = true;
    }).importance = "medium";
    Narrow(group, {"of_version_1", GOOD, crl, SIGKIT_ERR_CRL_LOAD}, VERSIONS,
           "CRLs of version 1 are not read: they cannot say for what they count.",
           [](Package *p) { p->crls[SIGNING_CRL].request.version = 1; });
    Accepted(group, "without_extensions", VERSIONS, [](Package *p) {
        p->crls[SIGNING_CRL].request.crlNumber = -1;
        p->crls[SIGNING_CRL].request.authorityKeyIdentifier = false;
    });
    Lenient(group, {"with_an_empty_list", GOOD, crl + "/revokedCertificates", SIGKIT_OK}, NO_ENTRIES,
            "An empty list says what an absent one says.",
            [](Package *p) {
                p->crls[SIGNING_CRL].toBeSigned = At({4}, [](const Bytes &next) {
                    return der::Concatenate({next, der::Sequence({})});
                });
            })
        .importance = "low";
    Refused(group, {"by_sha1", GOOD, crl, SIGKIT_ERR_NO_CRL}, STRONG_DIGEST, [](Package *p) {
        p->crls[SIGNING_CRL].request.digest = forge::Digest::Sha1;
    }).cve = {"CVE-2005-4900"};
    Accepted(group, "by_sha512", SIGNATURE, [](Package *p) {
        p->crls[SIGNING_CRL].request.digest = forge::Digest::Sha512;
    }).features = {"sha512"};
    Lenient(group, {"algorithm_in_the_crl_another", GOOD, crl + "/signature", SIGKIT_OK}, ALGORITHMS,
            "The algorithm beside the signature is the one that is used, and read.", [](Package *p) {
                p->crls[SIGNING_CRL].toBeSigned =
                    At({1}, [](const Bytes &) { return der::AlgorithmIdentifier("1.2.840.113549.1.1.12"); });
            });
    Refused(group, {"by_another_key", GOOD, crl, SIGKIT_ERR_NO_CRL}, SIGNATURE,
            [](Package *p) { p->crls[SIGNING_CRL].request.issuerKey = KeyOf("Somebody else"); });
    Refused(group,
            {"by_a_ca_that_may_not_sign_crls", GOOD, "signature/certificates/Signing CA/extensions/keyUsage",
             SIGKIT_ERR_NO_CRL},
            CRL_SIGN, [](Package *p) { p->parties[SIGNING_CA].request.keyUsage = forge::KEY_CERT_SIGN; });
}

// ---- Files ---------------------------------------------------------------------------------------------------------

void AddFiles(Group *group)
{
    Accepted(group, "in_reverse_order", COVERED, [](Package *p) { std::reverse(p->crls.begin(), p->crls.end()); });
    Accepted(group, "given_twice", COVERED, [](Package *p) { p->crls.push_back(p->crls[SIGNING_CRL]); });
    Accepted(group, "of_somebody_else_beside_them", COVERED, [](Package *p) {
        const size_t other = AddCa(p, "Another CA", ROOT);
        p->parties[other].request.issuerKey = KeyOf("Somebody else");
        AddCrl(p, other);
        p->crlFileCertificates = {other};
    });
    Accepted(group, "in_the_message_as_well", ELSEWHERE, [](Package *p) {
        Package revoking = *p;
        Revoke(&revoking, SIGNING_CRL, SIGNER, SIGNING_TIME - DAY);
        const Bytes crls = MakeFiles(revoking).crls;
        p->message.signedData = [crls](der::SignedData *data) { data->crls = der::Implicit(1, true, crls); };
    });
    Refused(group,
            {"in_the_message_alone", "crl::of_the_signer_in_the_message_as_well", "crls/CRL of Signing CA",
             SIGKIT_ERR_NO_CRL},
            ELSEWHERE, [](Package *p) {
                const Bytes crls = MakeFiles(*p).crls;
                p->message.signedData = [crls](der::SignedData *data) { data->crls = der::Implicit(1, true, crls); };
                p->crls.erase(p->crls.begin() + SIGNING_CRL);
            });
    Accepted(group, "of_the_signer_in_the_message_as_well", ELSEWHERE, [](Package *p) {
        const Bytes crls = MakeFiles(*p).crls;
        p->message.signedData = [crls](der::SignedData *data) { data->crls = der::Implicit(1, true, crls); };
    });
}

// A CRL that nobody signed, with the signature value of the signing CA's: whoever finds outcomes again by signature
// values alone takes one for the other.
CrlPlan ForgedCrl(const Package &package)
{
    Package alone = package;
    alone.crls = {package.crls[SIGNING_CRL]};
    const Bytes signature = ElementAt(MakeFiles(alone).crls, {2});
    CrlPlan forged = package.crls[SIGNING_CRL];
    forged.request.crlNumber = 2;
    forged.whole = At({2}, [signature](const Bytes &) { return signature; });
    return forged;
}

void AddForged(Group *group)
{
    Accepted(group, "forged_with_a_signature_of_another_behind_that_one", COVERED,
             [](Package *p) { p->crls.push_back(ForgedCrl(*p)); });
    Narrow(group,
           {"forged_with_a_signature_of_another_before_that_one", GOOD, "crls/CRL of Signing CA#1", SIGKIT_ERR_NO_CRL},
           COVERED, "Of CRLs with one signature value the first is kept; this one was not signed.",
           [](Package *p) { p->crls.insert(p->crls.begin(), ForgedCrl(*p)); })
        .importance = "medium";
}

// ---- Several of one issuer -----------------------------------------------------------------------------------------

// A second CRL of the signing CA, a day newer, behind the first.
size_t AddNewer(Package *package)
{
    const size_t newer = AddCrl(package, SIGNING_CA);
    package->crls[newer].request.thisUpdate += DAY;
    package->crls[newer].request.nextUpdate += DAY;
    package->crls[newer].request.crlNumber = 2;
    return newer;
}

void AddSeveral(Group *group)
{
    const std::string older = "crls/CRL of Signing CA#1";
    const std::string newer = "crls/CRL of Signing CA#2";
    Accepted(group, "two_of_one_issuer", NEWEST, [](Package *p) { AddNewer(p); });
    Refused(group,
            {"two_of_one_issuer_the_newer_revokes", "crl::two_of_one_issuer", newer + "/revokedCertificates/Signer",
             SIGKIT_ERR_CERT_REVOKED},
            NEWEST, [](Package *p) { Revoke(p, AddNewer(p), SIGNER, SIGNING_TIME - DAY); });
    Narrow(group,
           {"two_of_one_issuer_the_older_revokes", "crl::two_of_one_issuer", older + "/revokedCertificates/Signer",
            SIGKIT_ERR_CERT_REVOKED},
           NEWEST, "A CRL that lists the certificate outranks one that does not, however old it is.",
           [](Package *p) {
               Revoke(p, SIGNING_CRL, SIGNER, SIGNING_TIME - DAY);
               AddNewer(p);
           })
        .importance = "medium";
    Accepted(group, "two_of_one_issuer_that_list_for_later", NEWEST, [](Package *p) {
        Revoke(p, SIGNING_CRL, SIGNER, SIGNING_TIME + DAY);
        Revoke(p, AddNewer(p), SIGNER, SIGNING_TIME + DAY);
    });
    Lenient(group,
            {"two_of_one_issuer_the_newer_dates_it_back", "crl::two_of_one_issuer_that_list_for_later",
             newer + "/revokedCertificates/Signer/revocationDate", SIGKIT_OK},
            NEWEST, "Of equals the first in the file decides; give a device one CRL of each issuer.", [](Package *p) {
                Revoke(p, SIGNING_CRL, SIGNER, SIGNING_TIME + DAY);
                Revoke(p, AddNewer(p), SIGNER, SIGNING_TIME - DAY);
            });
    Lenient(group,
            {"expired_one_that_lists_for_later", "revocation::signer_no_reason_after",
             "crls/CRL of Signing CA/nextUpdate", SIGKIT_OK},
            CURRENT, "An expired CRL that lists the certificate still decides, by the date of the entry.",
            [](Package *p) {
                Revoke(p, SIGNING_CRL, SIGNER, SIGNING_TIME + 1);
                p->crls[SIGNING_CRL].request.nextUpdate = SIGNING_TIME - 1;
            });
    Narrow(group,
           {"expired_one_that_revokes_beside_a_current_one", "crl::expired_one_beside_a_current_one",
            older + "/revokedCertificates/Signer", SIGKIT_ERR_CERT_REVOKED},
           NEWEST, "An expired CRL still proves a revocation.", [](Package *p) {
               Revoke(p, SIGNING_CRL, SIGNER, SIGNING_TIME - DAY);
               p->crls[SIGNING_CRL].request.nextUpdate = SIGNING_TIME - 1;
               AddNewer(p);
           });
    Accepted(group, "expired_one_beside_a_current_one", NEWEST, [](Package *p) {
        p->crls[SIGNING_CRL].request.nextUpdate = SIGNING_TIME - 1;
        AddNewer(p);
    });
}

// ---- Scope ---------------------------------------------------------------------------------------------------------

constexpr char ID_SCOPE[] = "2.5.29.28";               // issuingDistributionPoint
constexpr char ID_DISTRIBUTION_POINTS[] = "2.5.29.31"; // cRLDistributionPoints

Change Scoped(const Bytes &members)
{
    return [members](Package *p) {
        p->crls[SIGNING_CRL].request.extensions.push_back({ID_SCOPE, true, der::Tlv(der::SEQUENCE, members)});
    };
}

// distributionPoint [0] { fullName [0] { name } }
Bytes PointNamed(const Bytes &name)
{
    return der::Explicit(0, der::Implicit(0, true, name));
}

void AddScopes(Group *group)
{
    const std::string place = "crls/CRL of Signing CA/crlExtensions/issuingDistributionPoint";
    const std::string reason = "Of a CRL's extensions only indirectCRL is read: every CRL counts as complete.";
    const Bytes yes = {0xFF};
    Accepted(group, "for_user_certificates", SCOPE, Scoped(der::Implicit(1, false, yes)));
    const struct {
        const char *name;
        Bytes members;
        const Rule *rule;
    } rows[] = {
        {"for_ca_certificates", der::Implicit(2, false, yes), &SCOPE},
        {"for_attribute_certificates", der::Implicit(5, false, yes), &SCOPE},
        {"for_some_reasons", der::Implicit(3, false, {0x06, 0x40}), &REASONS},
        {"for_another_distribution_point", PointNamed(der::Implicit(6, false, der::Text("http://x.example/crl"))),
         &SCOPE},
    };
    for (const auto &row : rows) {
        Lenient(group, {row.name, "crl::for_user_certificates", place, SIGKIT_OK}, *row.rule, reason,
                Scoped(row.members))
            .importance = "high";
    }
}

// The signer's certificate and the CRL of its CA name the same distribution point, in kinds of names that are rarely
// met: they have to be compared with care.
void AddDistributionPoints(Group *group)
{
    const struct {
        const char *name;
        Bytes point;
        const char *cve;
    } rows[] = {
        {"for_a_distribution_point_by_x400_address", der::Implicit(3, true, der::Sequence({})), "CVE-2023-0286"},
        {"for_a_distribution_point_of_an_edi_party", der::Implicit(5, true, der::Explicit(1, der::Utf8("party"))),
         "CVE-2020-1971"},
    };
    for (const auto &row : rows) {
        const Bytes point = PointNamed(row.point);
        Accepted(group, row.name, SCOPE, [point](Package *p) {
            const Bytes points = der::Sequence({der::Sequence({point})});
            p->parties[SIGNER].request.extensions.push_back({ID_DISTRIBUTION_POINTS, false, points});
            Scoped(point)(p);
        }).cve = {row.cve};
    }
}

void AddExtensions(Group *group)
{
    const std::string place = "crls/CRL of Signing CA/crlExtensions/";
    const std::string reason = "Of a CRL's extensions only indirectCRL is read: every CRL counts as complete.";
    const auto with = [](const std::string &identifier, const Bytes &value, bool critical) {
        return [=](Package *p) { p->crls[SIGNING_CRL].request.extensions.push_back({identifier, critical, value}); };
    };
    constexpr char UNKNOWN[] = "1.3.6.1.4.1.99999.8";
    Accepted(group, "with_an_unknown_extension", CRITICAL, with(UNKNOWN, der::Null(), false));
    Lenient(group, {"with_an_unknown_critical_extension", "crl::with_an_unknown_extension", place + UNKNOWN, SIGKIT_OK},
            CRITICAL, reason, with(UNKNOWN, der::Null(), true));
    Lenient(group, {"that_is_a_delta", GOOD, place + "deltaCRLIndicator", SIGKIT_OK}, DELTA, reason,
            with("2.5.29.27", der::Integer(1), true))
        .importance = "high";
}

// ---- Indirect CRLs -------------------------------------------------------------------------------------------------

constexpr char ID_CERTIFICATE_ISSUER[] = "2.5.29.29";

Bytes GeneralNames(uint8_t number, const std::string &commonName)
{
    Bytes name;
    if (!forge::EncodeName(NameOf(commonName), &name).ok) {
        std::abort();
    }
    return der::Implicit(number, true, der::Explicit(4, name));
}

// cRLDistributionPoints { { cRLIssuer [2] { directoryName } } }
void NameCrlIssuer(Package *package, const std::string &commonName)
{
    const Bytes points = der::Sequence({der::Sequence({GeneralNames(2, commonName)})});
    package->parties[SIGNER].request.extensions.push_back({ID_DISTRIBUTION_POINTS, false, points});
}

// The signing CA's CRL is made by somebody whom the root certifies for CRLs; returns its place in the list of parties.
size_t MoveCrl(Package *package)
{
    const size_t issuer = AddCa(package, "CRL Issuer", ROOT);
    package->parties[issuer].request.basicConstraints = forge::BasicConstraints::NotCa;
    package->parties[issuer].request.keyUsage = forge::CRL_SIGN;
    package->crls[SIGNING_CRL].issuer = issuer;
    package->crls[SIGNING_CRL].request.indirectCrl = true;
    package->crlFileCertificates = {issuer};
    return issuer;
}

// The first entry of the moved CRL, and with it those behind it, is about a certificate of this CA.
void NameEntryIssuer(Package *package, const std::string &commonName)
{
    const Bytes names = der::Sequence({GeneralNames(4, commonName)});
    const Bytes inner = der::Tlv(der::SEQUENCE, ContentOf(ElementAt(names, {0})));
    const Bytes extension = der::Extension(ID_CERTIFICATE_ISSUER, inner, der::Boolean());
    package->crls[SIGNING_CRL].toBeSigned = At({5, 0, 1}, [extension](const Bytes &date) {
        return der::Concatenate({date, der::Sequence({extension})});
    });
}

void AddIndirect(Group *group)
{
    Accepted(group, "indirect_one_that_the_certificate_names", INDIRECT, [](Package *p) {
        MoveCrl(p);
        NameCrlIssuer(p, "CRL Issuer");
    }).features = {"indirect_crl"};
    Lenient(group,
            {"indirect_one_that_the_certificate_does_not_name", "crl::indirect_one_that_the_certificate_names",
             "signature/certificates/Signer/extensions/cRLDistributionPoints", SIGKIT_OK},
            INDIRECT, "An indirect CRL is taken from everybody below the root who may sign CRLs: that is a CA's power.",
            [](Package *p) { MoveCrl(p); })
        .features = {"indirect_crl"};
    Refused(group,
            {"of_a_crl_issuer_that_is_not_marked_indirect", "crl::indirect_one_that_the_certificate_names",
             "crls/CRL of CRL Issuer/crlExtensions/issuingDistributionPoint", SIGKIT_ERR_NO_CRL},
            INDIRECT,
            [](Package *p) {
                MoveCrl(p);
                NameCrlIssuer(p, "CRL Issuer");
                p->crls[SIGNING_CRL].request.indirectCrl = false;
            })
        .features = {"indirect_crl"};
    Refused(group,
            {"indirect_one_that_revokes", "crl::indirect_one_that_revokes_elsewhere",
             "crls/CRL of CRL Issuer/revokedCertificates", SIGKIT_ERR_CERT_REVOKED},
            ENTRY_ISSUER,
            [](Package *p) {
                MoveCrl(p);
                NameCrlIssuer(p, "CRL Issuer");
                Revoke(p, SIGNING_CRL, SIGNER, SIGNING_TIME - DAY);
                NameEntryIssuer(p, "Signing CA");
            })
        .features = {"indirect_crl"};
    Accepted(group, "indirect_one_that_revokes_elsewhere", ENTRY_ISSUER, [](Package *p) {
        MoveCrl(p);
        NameCrlIssuer(p, "CRL Issuer");
        p->crls[SIGNING_CRL].request.revoked.push_back({{0x5B, 0x77}, SIGNING_TIME - DAY, -1});
        NameEntryIssuer(p, "Signing CA");
    }).features = {"indirect_crl"};
    Narrow(group,
           {"indirect_one_that_revokes_the_number_of_another_ca", "crl::indirect_one_that_revokes_elsewhere",
            "crls/CRL of CRL Issuer/revokedCertificates", SIGKIT_ERR_CERT_REVOKED},
           ENTRY_ISSUER, "An entry counts by its serial number alone, for the certificates of all issuers.",
           [](Package *p) {
               MoveCrl(p);
               NameCrlIssuer(p, "CRL Issuer");
               Revoke(p, SIGNING_CRL, SIGNER, SIGNING_TIME - DAY);
               NameEntryIssuer(p, "Timestamp CA");
           })
        .features = {"indirect_crl"};
}

void AddCircles(Group *group)
{
    Accepted(group, "issuer_of_an_indirect_one_covered_by_the_root", PATH, [](Package *p) {
        MoveCrl(p);
        NameCrlIssuer(p, "CRL Issuer");
        p->crls[SIGNING_CRL].request.thisUpdate -= 1;
    }).features = {"indirect_crl"};
    Refused(group,
            {"issuer_of_an_indirect_one_covered_by_itself", "crl::issuer_of_an_indirect_one_covered_by_the_root",
             "crls/CRL of Root CA", SIGKIT_ERR_PATH_TOO_DEEP},
            PATH,
            [](Package *p) {
                MoveCrl(p);
                NameCrlIssuer(p, "CRL Issuer");
                p->crls[SIGNING_CRL].request.thisUpdate -= 1;
                p->crls.erase(p->crls.begin() + ROOT_CRL);
            })
        .features = {"indirect_crl"};
}

// ---- Rolled-over authorities and namesakes -------------------------------------------------------------------------

// The signing CA has a new key, with a new certificate of the root, and signs its CRL with it.
size_t RollOver(Package *package)
{
    const size_t renewed = AddCa(package, "Signing CA", ROOT);
    package->parties[renewed].request.subjectKey = KeyOf("Signing CA, renewed");
    package->crls[SIGNING_CRL].issuer = renewed;
    package->crlFileCertificates = {renewed};
    return renewed;
}

void AddRollOver(Group *group)
{
    const std::string entry = "crls/CRL of Root CA/revokedCertificates/Signing CA";
    Accepted(group, "of_the_ca_under_its_new_key", SIGNATURE, [](Package *p) { RollOver(p); });
    Refused(group,
            {"of_the_ca_under_its_new_key_the_old_one_revoked", "crl::of_the_ca_under_its_new_key", entry,
             SIGKIT_ERR_CERT_REVOKED},
            PATH, [](Package *p) {
                RollOver(p);
                Revoke(p, ROOT_CRL, SIGNING_CA, SIGNING_TIME - DAY);
            });
    Refused(group,
            {"of_the_ca_under_its_new_key_the_new_one_revoked", "crl::of_the_ca_under_its_new_key", entry,
             SIGKIT_ERR_CERT_REVOKED},
            SIGNATURE, [](Package *p) { Revoke(p, ROOT_CRL, RollOver(p), SIGNING_TIME - DAY); });
    Refused(group,
            {"of_the_ca_under_its_new_key_that_has_ended", "crl::of_the_ca_under_its_new_key",
             "crls/certificate of Signing CA/validity/notAfter", SIGKIT_ERR_CERT_EXPIRED},
            SIGNATURE, [](Package *p) { p->parties[RollOver(p)].request.notAfter = SIGNING_TIME - 1; });
    Accepted(group, "of_a_namesake_below_another_ca", SAME_ANCHOR,
             [](Package *p) { p->parties[RollOver(p)].issuer = TIMESTAMP_CA; });
    Refused(group,
            {"of_a_namesake_below_another_root", "crl::of_a_namesake_below_another_ca",
             "crls/certificate of Signing CA", SIGKIT_ERR_NO_CRL},
            SAME_ANCHOR, [](Package *p) {
                const size_t namesake = RollOver(p);
                p->parties[namesake].request.issuer = NameOf("Another Root CA");
                p->parties[namesake].request.issuerKey = KeyOf("Somebody else");
            });
}

// Below the signing CA there is a CA of the root's name; its CRL, which revokes nothing, is the first of the file.
void AddNamesakeOfTheRoot(Package *package)
{
    const size_t namesake = AddCa(package, "Root CA", SIGNING_CA);
    package->parties[namesake].request.subjectKey = KeyOf("Namesake of the root");
    package->crlFileCertificates = {namesake};
    const size_t crl = AddCrl(package, namesake);
    std::rotate(package->crls.begin(), package->crls.begin() + static_cast<ptrdiff_t>(crl), package->crls.end());
}

void AddNamesakes(Group *group)
{
    Accepted(group, "of_a_namesake_of_the_root_beside_the_roots", PATH, AddNamesakeOfTheRoot);
    Refused(group,
            {"of_a_namesake_of_the_root_below_a_revoked_ca", "crl::of_a_namesake_of_the_root_beside_the_roots",
             "crls/CRL of Root CA#2/revokedCertificates/Signing CA", SIGKIT_ERR_CERT_REVOKED},
            PATH, [](Package *p) {
                Revoke(p, ROOT_CRL, SIGNING_CA, SIGNING_TIME - DAY);
                AddNamesakeOfTheRoot(p);
            });
}
} // namespace

Group CrlCases()
{
    Group group = {"crl", {}};
    for (const auto add : {AddDates, AddForms, AddFiles, AddForged, AddSeveral, AddScopes, AddDistributionPoints,
                           AddExtensions, AddIndirect, AddCircles, AddRollOver, AddNamesakes}) {
        add(&group);
    }
    return group;
}
} // namespace vectors
