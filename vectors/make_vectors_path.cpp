// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Certificate paths: dates at both edges, authorities that are none, names, constraints, roots.
#include <cstdlib>

#include "tests/forge/der.h"
#include "vectors/make_vectors_case.h"
#include "vectors/make_vectors_element.h"
#include "vectors/make_vectors_rules.h"

namespace vectors
{
namespace
{
constexpr Rule VALIDITY = {"RFC 5280", "6.1.3 (a)(2)",
                           "The time of the check lies in the validity, both ends included."};
constexpr Rule TIME_TYPE = {"RFC 5280", "4.1.2.5", "Dates up to 2049 are UTCTime, and from 2050 on GeneralizedTime."};
constexpr Rule ANCHOR = {"RFC 5280", "6.1.1 (d)", "A trust anchor is a name and a key; it is no part of the path."};
constexpr Rule SIGNATURE = {"RFC 5280", "6.1.3 (a)(1)", "A certificate is signed with its issuer's key."};
constexpr Rule IS_CA = {"RFC 5280", "6.1.4 (k)", "Whoever issues certificates is a CA by its basic constraints."};
constexpr Rule CERT_SIGN = {"RFC 5280", "6.1.4 (n)", "The key of an issuer may sign certificates."};
constexpr Rule PATH_LENGTH = {"RFC 5280", "6.1.4 (l), (m)",
                              "No more CAs follow a CA than its pathLenConstraint allows."};
constexpr Rule NAMES = {"RFC 5280", "6.1.3 (a)(4)", "A certificate's issuer is the subject of the one above it."};
constexpr Rule NAME_FORM = {"RFC 5280", "7.1", "Names are compared by their prepared values, whatever case and type."};
constexpr Rule CRITICAL = {"RFC 5280", "6.1.4 (o), 6.1.5 (f)",
                           "An unknown critical extension makes a certificate useless."};
constexpr Rule CONSTRAINTS = {"RFC 5280", "6.1.3 (b), (c)", "Names lie within the constraints of the CAs above them."};
constexpr Rule POLICIES = {"RFC 5280", "6.1.5 (g)", "A CA can require that the path has a valid policy."};
constexpr Rule ALGORITHMS = {"RFC 5280", "4.1.1.2", "signatureAlgorithm and the signature member say the same."};
constexpr Rule VERSION = {"RFC 5280", "6.1.4 (k)", "A certificate of version 1 does not say that it is a CA's."};

struct Member {
    const char *name;
    size_t party;
    const char *place;
};
constexpr Member MEMBERS[] = {{"signer", SIGNER, "signature/certificates/Signer"},
                              {"ca_of_the_signer", SIGNING_CA, "signature/certificates/Signing CA"},
                              {"authority", TIMESTAMP, "token/certificates/Timestamp Authority"},
                              {"ca_of_the_authority", TIMESTAMP_CA, "token/certificates/Timestamp CA"}};

// ---- Dates ---------------------------------------------------------------------------------------------------------

Change From(size_t party, int64_t time)
{
    return [party, time](Package *p) { p->parties[party].request.notBefore = time; };
}

Change Until(size_t party, int64_t time)
{
    return [party, time](Package *p) { p->parties[party].request.notAfter = time; };
}

void AddDates(Group *group)
{
    for (const Member &member : MEMBERS) {
        const std::string name = member.name;
        const std::string place = std::string(member.place) + "/validity/";
        Accepted(group, name + "_valid_from_this_second", VALIDITY, From(member.party, SIGNING_TIME));
        Refused(group,
                {name + "_valid_from_the_next_second", "path::" + name + "_valid_from_this_second", place + "notBefore",
                 SIGKIT_ERR_CERT_NOT_YET_VALID},
                VALIDITY, From(member.party, SIGNING_TIME + 1));
        Accepted(group, name + "_valid_until_this_second", VALIDITY, Until(member.party, SIGNING_TIME));
        Refused(group,
                {name + "_valid_until_the_last_second", "path::" + name + "_valid_until_this_second",
                 place + "notAfter", SIGKIT_ERR_CERT_EXPIRED},
                VALIDITY, Until(member.party, SIGNING_TIME - 1));
    }
}

// The root is another certificate of the same name and key.
Change OwnRoot(const Change &change)
{
    return [change](Package *p) {
        p->otherRoot = true;
        change(p);
    };
}

void AddRootDates(Group *group)
{
    const std::string reason = "The root's dates are asked for, too: it says itself until when it is to be trusted.";
    Accepted(group, "root_valid_from_this_second", ANCHOR, OwnRoot(From(ROOT, SIGNING_TIME)));
    Narrow(group,
           {"root_valid_from_the_next_second", "path::root_valid_from_this_second", "root/validity/notBefore",
            SIGKIT_ERR_CERT_NOT_YET_VALID},
           ANCHOR, reason, OwnRoot(From(ROOT, SIGNING_TIME + 1)));
    Accepted(group, "root_valid_until_this_second", ANCHOR, OwnRoot(Until(ROOT, SIGNING_TIME)));
    Narrow(group,
           {"root_valid_until_the_last_second", "path::root_valid_until_this_second", "root/validity/notAfter",
            SIGKIT_ERR_CERT_EXPIRED},
           ANCHOR, reason, OwnRoot(Until(ROOT, SIGNING_TIME - 1)));
}

// All of a package at another time: certificates and CRLs that begin and end around it.
Change AtTime(int64_t time, int64_t begin, int64_t end)
{
    return [time, begin, end](Package *p) {
        if (!forge::DerGeneralizedTime(time, &p->genTime).ok) {
            std::abort();
        }
        for (size_t party = SIGNING_CA; party < p->parties.size(); ++party) {
            p->parties[party].request.notBefore = begin;
            p->parties[party].request.notAfter = end;
        }
        for (CrlPlan &crl : p->crls) {
            crl.request.thisUpdate = begin;
            crl.request.nextUpdate = end;
        }
    };
}

constexpr int64_t LAST_OF_2049 = 2524607999;
constexpr int64_t FIRST_OF_1950 = -631152000;

void AddCenturies(Group *group)
{
    Accepted(group, "last_second_of_2049", TIME_TYPE, AtTime(LAST_OF_2049, LAST_OF_2049 - DAY, LAST_OF_2049));
    Refused(group,
            {"first_second_of_2050_behind_the_end", "path::last_second_of_2049", "token/tstInfo/genTime",
             SIGKIT_ERR_CERT_EXPIRED},
            TIME_TYPE, AtTime(LAST_OF_2049 + 1, LAST_OF_2049 - DAY, LAST_OF_2049));
    Accepted(group, "first_second_of_2050", TIME_TYPE, AtTime(LAST_OF_2049 + 1, LAST_OF_2049 - DAY, LAST_OF_2049 + 1));
    Refused(group,
            {"second_second_of_2050_behind_the_end", "path::first_second_of_2050", "token/tstInfo/genTime",
             SIGKIT_ERR_CERT_EXPIRED},
            TIME_TYPE, AtTime(LAST_OF_2049 + 2, LAST_OF_2049 - DAY, LAST_OF_2049 + 1));
    Accepted(group, "from_1950_on", TIME_TYPE, From(SIGNER, FIRST_OF_1950));
    Accepted(group, "until_9999", TIME_TYPE, Until(SIGNER, 253402300799));
    Lenient(group,
            {"end_in_2026_in_generalized_time", GOOD, "signature/certificates/Signer/validity/notAfter", SIGKIT_OK},
            TIME_TYPE, "Either type is read for any year; only who encodes has to choose.",
            [](Package *p) {
                p->parties[SIGNER].toBeSigned =
                    At({4, 1}, [](const Bytes &) { return der::GeneralizedTime("20261111120000Z"); });
            })
        .importance = "low";
}

void AddBefore1970(Group *group)
{
    const auto own = [](int64_t time, int64_t begin) {
        return OwnRoot([time, begin](Package *p) {
            p->parties[ROOT].request.notBefore = FIRST_OF_1950;
            AtTime(time, begin, 10 * DAY)(p);
        });
    };
    Accepted(group, "last_second_of_1969", VALIDITY, own(-1, -1));
    Refused(group,
            {"last_second_of_1969_before_the_beginning", "path::second_0_of_1970", "token/tstInfo/genTime",
             SIGKIT_ERR_CERT_NOT_YET_VALID},
            VALIDITY, own(-1, 0));
    Accepted(group, "second_0_of_1970", VALIDITY, own(0, 0));
    Accepted(group, "first_second_of_1950", VALIDITY, own(FIRST_OF_1950, FIRST_OF_1950));
}

// ---- Authorities ---------------------------------------------------------------------------------------------------

void AddAuthorities(Group *group)
{
    const std::string ca = "signature/certificates/Signing CA/extensions/";
    const auto change = [](const std::function<void(forge::CertificateRequest *)> &edit) {
        return [edit](Package *p) { edit(&p->parties[SIGNING_CA].request); };
    };
    Refused(group, {"ca_without_basic_constraints", GOOD, ca + "basicConstraints", SIGKIT_ERR_NO_ROOT}, IS_CA,
            change([](forge::CertificateRequest *r) { r->basicConstraints = forge::BasicConstraints::Absent; }))
        .cve = {"CVE-2002-0862", "CVE-2011-0228"};
    Refused(group, {"ca_that_says_it_is_none", GOOD, ca + "basicConstraints", SIGKIT_ERR_NO_ROOT}, IS_CA,
            change([](forge::CertificateRequest *r) { r->basicConstraints = forge::BasicConstraints::NotCa; }))
        .cve = {"CVE-2021-3450"};
    Refused(group, {"ca_that_may_not_sign_certificates", GOOD, ca + "keyUsage", SIGKIT_ERR_NO_ROOT}, CERT_SIGN,
            change([](forge::CertificateRequest *r) { r->keyUsage = forge::CRL_SIGN; }));
    Narrow(group, {"ca_without_a_key_usage", GOOD, ca + "keyUsage", SIGKIT_ERR_NO_ROOT}, CERT_SIGN,
           "A CA's certificate says what its key is for; one that does not is none.",
           change([](forge::CertificateRequest *r) { r->keyUsage = 0; }));
    Lenient(group, {"ca_by_usages_that_are_not_defined", GOOD, ca + "keyUsage", SIGKIT_OK}, CERT_SIGN,
            "In the second octet bits 13 and 14 have the values that keyCertSign and cRLSign have in the first.",
            [](Package *p) {
                p->parties[SIGNING_CA].toBeSigned = At({7, 0, 3, 2, 0}, [](const Bytes &) {
                    return der::Tlv(der::BIT_STRING, {0x01, 0x00, 0x06});
                });
            });
    Refused(group, {"ca_of_version_1", GOOD, "signature/certificates/Signing CA", SIGKIT_ERR_CMS_DECODE}, VERSION,
            change([](forge::CertificateRequest *r) { r->version = 1; }))
        .cve = {"CVE-2014-1959"};
    group->cases.back().importance = "medium";
    Refused(group,
            {"signer_below_a_signer", "path::signer_below_a_second_ca", "crls/certificate of Second CA/extensions",
             SIGKIT_ERR_NO_ROOT},
            IS_CA,
            [](Package *p) {
                const size_t second = AddSigner(p, "Second CA", SIGNING_CA, forge::PURPOSE_CODE_SIGNING);
                p->parties[SIGNER].issuer = second;
                p->crlFileCertificates = {second};
                AddCrl(p, second);
            })
        .cve = {"CVE-2002-0862", "CVE-2011-0228"};
}

// The signer is below a second CA, which is below the signing CA; its certificate comes with the CRLs.
Change BelowSecondCa(const Change &change)
{
    return [change](Package *p) {
        const size_t second = AddCa(p, "Second CA", SIGNING_CA);
        p->parties[SIGNER].issuer = second;
        p->crlFileCertificates = {second};
        AddCrl(p, second);
        if (change) {
            change(p);
        }
    };
}

void AddPathLengths(Group *group)
{
    const std::string ca = "signature/certificates/Signing CA/extensions/";
    Accepted(group, "signer_below_a_second_ca", PATH_LENGTH, BelowSecondCa(nullptr));
    Accepted(group, "path_length_of_1", PATH_LENGTH,
             BelowSecondCa([](Package *p) { p->parties[SIGNING_CA].request.pathLength = 1; }));
    Lenient(group, {"path_length_of_0", "path::path_length_of_1", ca + "basicConstraints", SIGKIT_OK}, PATH_LENGTH,
            "Path lengths are not looked at: a CA's certificate is given only to whom all packages are entrusted.",
            BelowSecondCa([](Package *p) { p->parties[SIGNING_CA].request.pathLength = 0; }));
    Accepted(group, "signer_below_the_root", SIGNATURE, [](Package *p) {
        p->parties[SIGNER].issuer = ROOT;
        p->message.certificates = {SIGNER};
        p->crls.erase(p->crls.begin() + SIGNING_CRL);
    });
}

// ---- Extensions ----------------------------------------------------------------------------------------------------

Change WithExtension(size_t party, const std::string &identifier, const Bytes &value, bool critical)
{
    return [=](Package *p) { p->parties[party].request.extensions.push_back({identifier, critical, value}); };
}

void AddExtensions(Group *group)
{
    const std::string ca = "signature/certificates/Signing CA/extensions/";
    constexpr char UNKNOWN[] = "1.3.6.1.4.1.99999.6";
    const std::string reason = "Extensions that it does not know are passed over, critical or not.";
    for (const Member &member : MEMBERS) {
        const std::string name = std::string(member.name) + "_with_an_unknown_extension";
        Accepted(group, name, CRITICAL, WithExtension(member.party, UNKNOWN, der::Null(), false));
        Lenient(group,
                {name + "_critical", "path::" + name, std::string(member.place) + "/extensions/" + UNKNOWN, SIGKIT_OK},
                CRITICAL, reason, WithExtension(member.party, UNKNOWN, der::Null(), true));
    }
    Bytes excluded;
    Bytes permitted;
    if (!forge::EncodeName({{"C", "XX"}}, &excluded).ok || !forge::EncodeName({{"C", "XX"}}, &permitted).ok) {
        std::abort();
    }
    const auto tree = [](uint8_t which, const Bytes &name) {
        return der::Sequence({der::Implicit(which, true, der::Sequence({der::Explicit(4, name)}))});
    };
    Accepted(group, "names_permitted", CONSTRAINTS, WithExtension(SIGNING_CA, "2.5.29.30", tree(0, permitted), true));
    Lenient(group, {"names_excluded", "path::names_permitted", ca + "nameConstraints", SIGKIT_OK}, CONSTRAINTS,
            "Name constraints are not looked at: below this root all CAs serve one purpose.",
            WithExtension(SIGNING_CA, "2.5.29.30", tree(1, excluded), true));
    const Bytes required = der::Sequence({der::Implicit(0, false, {0x00})});
    const Bytes distant = der::Sequence({der::Implicit(0, false, {0x05})});
    Accepted(group, "policy_required_five_steps_below", POLICIES,
             WithExtension(SIGNING_CA, "2.5.29.36", distant, true));
    Lenient(group, {"policy_required", "path::policy_required_five_steps_below", ca + "policyConstraints", SIGKIT_OK},
            POLICIES, "Policies are not looked at: below this root all CAs serve one purpose.",
            WithExtension(SIGNING_CA, "2.5.29.36", required, true));
}

// ---- Names ---------------------------------------------------------------------------------------------------------

Change IssuerNamed(const forge::Name &name)
{
    return [name](Package *p) { p->parties[SIGNER].request.issuer = name; };
}

void AddNames(Group *group)
{
    const std::string place = "signature/certificates/Signer/issuer";
    forge::Name name = NameOf("Signing CA");
    Refused(group, {"issuer_of_another_name", GOOD, place, SIGKIT_ERR_NO_ROOT}, NAMES,
            IssuerNamed(NameOf("Another CA")));
    Refused(group, {"issuer_name_with_a_part_missing", GOOD, place, SIGKIT_ERR_NO_ROOT}, NAMES,
            IssuerNamed({name[0], name[2]}));
    Refused(group, {"issuer_name_reordered", GOOD, place, SIGKIT_ERR_NO_ROOT}, NAMES,
            IssuerNamed({name[0], name[2], name[1]}));
    Refused(group, {"issuer_name_with_a_null_character", GOOD, place, SIGKIT_ERR_NO_ROOT}, NAMES,
            IssuerNamed(NameOf(std::string("Signing CA\0", 11))));
    Narrow(group, {"issuer_name_in_capitals", GOOD, place, SIGKIT_ERR_NO_ROOT}, NAME_FORM,
           "Names are compared octet by octet; CAs copy them so.", IssuerNamed(NameOf("SIGNING CA")));
    name[2].stringTag = forge::DER_PRINTABLE_STRING;
    Accepted(group, "issuer_name_as_a_printable_string", NAME_FORM, IssuerNamed(name));
    Lenient(group, {"issuer_name_with_a_second_attribute", GOOD, place, SIGKIT_OK}, NAMES,
            "Of each part of a name the first attribute is compared; the signature decides.",
            [](Package *p) {
                forge::Name issuer = NameOf("Signing CA");
                issuer.push_back({"OU", "longer than the common name", true}); // so it is sorted behind it
                p->parties[SIGNER].request.issuer = issuer;
            })
        .importance = "low";
}

// ---- Signatures and roots ------------------------------------------------------------------------------------------

void AddSignatures(Group *group)
{
    for (const Member &member : MEMBERS) {
        const std::string name = member.name;
        const size_t party = member.party;
        Refused(group,
                {"signature_of_the_" + name + "_with_a_turned_bit", GOOD, std::string(member.place) + "/signatureValue",
                 SIGKIT_ERR_NO_ROOT},
                SIGNATURE, [party](Package *p) {
                    p->parties[party].whole = [](Bytes octets) { return octets.back() ^= 0x01, octets; };
                });
    }
    Refused(group, {"signer_certified_by_another_key", GOOD, "signature/certificates/Signer", SIGKIT_ERR_NO_ROOT},
            SIGNATURE, [](Package *p) { p->parties[SIGNER].request.issuerKey = KeyOf("Somebody else"); });
    Refused(group, {"signer_certified_by_sha1", GOOD, "signature/certificates/Signer", SIGKIT_ERR_NO_ROOT},
            STRONG_DIGEST, [](Package *p) { p->parties[SIGNER].request.digest = forge::Digest::Sha1; })
        .cve = {"CVE-2005-4900"};
    for (const auto &[name, digest] : {std::pair("sha384", forge::Digest::Sha384), {"sha512", forge::Digest::Sha512}}) {
        Accepted(group, std::string("signer_certified_by_") + name, SIGNATURE, [digest = digest](Package *p) {
            p->parties[SIGNER].request.digest = digest;
        }).features = {name};
    }
    const auto algorithm = [](const char *identifier) {
        return [identifier](const Bytes &) { return der::AlgorithmIdentifier(identifier); };
    };
    Refused(group,
            {"algorithm_beside_the_signature_another", GOOD, "signature/certificates/Signer/signatureAlgorithm",
             SIGKIT_ERR_NO_ROOT},
            ALGORITHMS,
            [algorithm](Package *p) { p->parties[SIGNER].whole = At({1}, algorithm("1.2.840.113549.1.1.12")); })
        .cve = {"CVE-2014-8275"};
    Lenient(group, {"algorithm_in_the_certificate_another", GOOD, "signature/certificates/Signer/signature", SIGKIT_OK},
            ALGORITHMS, "The algorithm beside the signature is the one that is used, and read.",
            [algorithm](Package *p) { p->parties[SIGNER].toBeSigned = At({2}, algorithm("1.2.840.113549.1.1.12")); })
        .cve = {"CVE-2014-8275"};
}

void AddRoots(Group *group)
{
    Accepted(group, "root_of_another_certificate", TRUST_ANCHOR, OwnRoot([](Package *) {}));
    Refused(
        group,
        {"root_of_another_key", "path::root_of_another_certificate", "root/subjectPublicKeyInfo", SIGKIT_ERR_NO_ROOT},
        TRUST_ANCHOR, OwnRoot([](Package *p) {
            const forge::Key real = p->parties[ROOT].request.subjectKey;
            p->parties[ROOT].request.subjectKey = KeyOf("Somebody else");
            p->parties[SIGNING_CA].request.issuerKey = real;
            p->parties[TIMESTAMP_CA].request.issuerKey = real;
            p->crls[ROOT_CRL].request.issuerKey = real;
        }));
    Refused(group, {"signer_that_signed_itself", GOOD, "signature/certificates/Signer", SIGKIT_ERR_SIGNER_NOT_FOUND},
            TRUST_ANCHOR, [](Package *p) {
                p->parties[SIGNER].request.issuerKey = p->parties[SIGNER].request.subjectKey;
                p->parties[SIGNER].request.issuer = NameOf("Signer");
            });
    Refused(group, {"ca_that_signed_itself", GOOD, "signature/certificates/Signing CA", SIGKIT_ERR_NO_ROOT},
            TRUST_ANCHOR, [](Package *p) {
                p->parties[SIGNING_CA].request.issuerKey = p->parties[SIGNING_CA].request.subjectKey;
                p->parties[SIGNING_CA].request.issuer = NameOf("Signing CA");
            });
    Refused(group, {"ca_certificate_missing", GOOD, "signature/certificates/Signing CA", SIGKIT_ERR_NO_ROOT},
            TRUST_ANCHOR, [](Package *p) { p->message.certificates = {SIGNER}; });
}

// ---- Detours -------------------------------------------------------------------------------------------------------

// A second certificate of the signing CA's name and key, in the CRL file.
size_t AddSecondOfSigningCa(Package *package, size_t issuer)
{
    const size_t second = AddCa(package, "Signing CA", issuer);
    package->parties[second].request.subjectKey = package->parties[SIGNING_CA].request.subjectKey;
    package->crlFileCertificates.push_back(second);
    return second;
}

void AddDetours(Group *group)
{
    Accepted(group, "ca_certified_twice", SIGNATURE, [](Package *p) { AddSecondOfSigningCa(p, ROOT); });
    Accepted(group, "namesake_of_the_ca_with_another_key", SIGNATURE, [](Package *p) {
        const size_t namesake = AddCa(p, "Signing CA", ROOT);
        p->parties[namesake].request.subjectKey = KeyOf("Namesake");
        p->crlFileCertificates = {namesake};
    });
    Narrow(group,
           {"second_certificate_of_the_ca_expired", "path::ca_certified_twice",
            "crls/certificate of Signing CA/validity/notAfter", SIGKIT_ERR_CERT_EXPIRED},
           SIGNATURE, "The first of the certificates that issued is the path; no other one is tried.",
           [](Package *p) {
               const size_t second = AddSecondOfSigningCa(p, ROOT);
               p->parties[second].request.notAfter = SIGNING_TIME - 1;
           })
        .importance = "medium";
    Refused(group,
            {"cas_that_certify_each_other", "path::signer_below_a_second_ca", "signature/certificates/Signing CA",
             SIGKIT_ERR_NO_ROOT},
            TRUST_ANCHOR, BelowSecondCa([](Package *p) {
                p->parties[SIGNING_CA].request.issuer = NameOf("Second CA");
                p->parties[SIGNING_CA].request.issuerKey = KeyOf("Second CA");
            }));
}
} // namespace

Group PathCases()
{
    Group group = {"path", {}};
    for (const auto add : {AddDates, AddRootDates, AddCenturies, AddBefore1970, AddAuthorities, AddPathLengths,
                           AddExtensions, AddNames, AddSignatures, AddRoots, AddDetours}) {
        add(&group);
    }
    return group;
}
} // namespace vectors
