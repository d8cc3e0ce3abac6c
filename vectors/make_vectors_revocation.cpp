// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Revocation: every reason, for whoever is revoked, with a date before, at and after the time of the token.
#include "vectors/make_vectors_case.h"
#include "vectors/make_vectors_element.h"

namespace vectors
{
namespace
{
constexpr Rule BY_DATE = {"RFC 3161", "appendix B", "What a token places before the revocation of its signer stands."};
constexpr Rule WHATEVER_DATE = {"RFC 3161", "4", "Unless the reason says an ordinary end, the date excuses nothing."};
constexpr Rule AUTHORITY_BY_DATE = {"RFC 3161", "4",
                                    "What an authority stamped before an ordinary end of its certificate stands."};
constexpr Rule CA_BY_DATE = {"protocol", "revocation",
                             "A CA whose end was an ordinary one counts as revoked from its date on."};
constexpr Rule CA_WHATEVER_DATE = {"protocol", "revocation", "What a CA's stolen key signed cannot be dated."};
constexpr Rule UNSPECIFIED = {"RFC 3161", "4", "The reason unspecified, where it is given, is an ordinary end."};
constexpr Rule REMOVED = {"RFC 5280", "6.3.3 (k)",
                          "An entry with the reason removeFromCRL says that nothing is revoked."};
constexpr Rule ENTRY = {"RFC 5280", "6.3.3 (j)", "An entry counts for a certificate by issuer and serial number."};
constexpr Rule EXTENSION = {"RFC 5280", "5.3",
                            "A critical extension of an entry that is not known makes the CRL useless."};

// Who is revoked, and in which CRL. What counts "whatever the date" is a CA's key, and one that signs timestamps.
struct Victim {
    const char *name;
    const char *label;
    size_t party;
    size_t crl;
    const char *crlLabel;
    bool dateExcuses;
};
constexpr Victim VICTIMS[] = {
    {"signer", "Signer", SIGNER, SIGNING_CRL, "Signing CA", true},
    {"ca_of_the_signer", "Signing CA", SIGNING_CA, ROOT_CRL, "Root CA", false},
    {"authority", "Timestamp Authority", TIMESTAMP, TIMESTAMP_CRL, "Timestamp CA", false},
    {"ca_of_the_authority", "Timestamp CA", TIMESTAMP_CA, ROOT_CRL, "Root CA", false},
};

constexpr int REMOVE_FROM_CRL = 8;

struct Reason {
    const char *name;
    int code;
    bool ordinaryEnd;
};
constexpr Reason REASONS[] = {
    {"no_reason", -1, false},
    {"unspecified", 0, false}, // an ordinary end by RFC 3161, not to verify_tool
    {"key_compromise", 1, false},
    {"ca_compromise", 2, false},
    {"affiliation_changed", 3, true},
    {"superseded", 4, true},
    {"cessation_of_operation", 5, true},
    {"certificate_hold", 6, false},
    {"remove_from_crl", REMOVE_FROM_CRL, false},
    {"privilege_withdrawn", 9, false},
    {"aa_compromise", 10, false},
};

struct Date {
    const char *name;
    int64_t seconds;
    bool over; // the token's time
};
constexpr Date DATES[] = {{"before", -1, true}, {"at", 0, true}, {"after", 1, false}};

std::string EntryOf(const Victim &victim)
{
    return std::string("crls/CRL of ") + victim.crlLabel + "/revokedCertificates/" + victim.label;
}

void AddOne(Group *group, const Victim &victim, const Reason &reason, const Date &date)
{
    const std::string name = std::string(victim.name) + "_" + reason.name + "_" + date.name;
    const auto change = [victim, reason, date](Package *p) {
        Revoke(p, victim.crl, victim.party, SIGNING_TIME + date.seconds, reason.code);
    };
    const std::string entry = EntryOf(victim);
    const bool isCa = victim.crl == ROOT_CRL;
    const Rule &byDate = isCa ? CA_BY_DATE : victim.dateExcuses ? BY_DATE : AUTHORITY_BY_DATE;
    const Rule &whateverDate = isCa ? CA_WHATEVER_DATE : WHATEVER_DATE;
    if (!date.over && (victim.dateExcuses || reason.ordinaryEnd)) {
        Accepted(group, name, byDate, change);
    } else if (reason.code == REMOVE_FROM_CRL) {
        Narrow(group, {name, "signature::good", entry, SIGKIT_ERR_CERT_REVOKED}, REMOVED,
               "The reason belongs to delta CRLs, which are not read; an entry is an entry.", change);
    } else if (date.over) {
        const bool later = victim.dateExcuses || reason.ordinaryEnd; // then the twin is the same with a later date
        const std::string after = std::string("revocation::") + victim.name + "_" + reason.name + "_after";
        Refused(group,
                {name, later ? after : "signature::good", later ? entry + "/revocationDate" : entry,
                 SIGKIT_ERR_CERT_REVOKED},
                later ? byDate : whateverDate, change);
    } else if (reason.code == 0) {
        Narrow(group,
               {name, "revocation::" + std::string(victim.name) + "_superseded_after", entry + "/reasonCode",
                SIGKIT_ERR_CERT_REVOKED},
               isCa ? CA_BY_DATE : UNSPECIFIED,
               "Unspecified reads like no reason at all: nobody who knew of an ordinary end would have left it open.",
               change)
            .importance = "medium";
    } else {
        Refused(group,
                {name, "revocation::" + std::string(victim.name) + "_superseded_after", entry + "/reasonCode",
                 SIGKIT_ERR_CERT_REVOKED},
                whateverDate, change);
    }
}

void AddTable(Group *group)
{
    for (const Victim &victim : VICTIMS) {
        for (const Reason &reason : REASONS) {
            for (const Date &date : DATES) {
                AddOne(group, victim, reason, date);
            }
        }
    }
}

void AddSeveralEntries(Group *group)
{
    const std::string entries = "crls/CRL of Signing CA/revokedCertificates";
    Accepted(group, "somebody_else_listed", ENTRY, [](Package *p) {
        p->crls[SIGNING_CRL].request.revoked.push_back({{0x5B, 0x03}, SIGNING_TIME - DAY, -1});
    });
    Accepted(group, "same_number_listed_by_another_ca", ENTRY,
             [](Package *p) { Revoke(p, TIMESTAMP_CRL, SIGNER, SIGNING_TIME - DAY); });
    Accepted(group, "longer_number_with_the_same_end", ENTRY, [](Package *p) {
        p->crls[SIGNING_CRL].request.revoked.push_back({{0x01, 0x5A, 0x03}, SIGNING_TIME - DAY, -1});
    });
    Accepted(group, "shorter_number_with_the_same_beginning", ENTRY, [](Package *p) {
        p->crls[SIGNING_CRL].request.revoked.push_back({{0x5A}, SIGNING_TIME - DAY, -1});
    });
    Accepted(group, "listed_twice_with_later_dates", ENTRY, [](Package *p) {
        Revoke(p, SIGNING_CRL, SIGNER, SIGNING_TIME + DAY);
        Revoke(p, SIGNING_CRL, SIGNER, SIGNING_TIME + 2 * DAY);
    });
    Refused(group,
            {"listed_twice_the_second_time_in_force", "revocation::listed_twice_with_later_dates",
             entries + "/Signer#2/revocationDate", SIGKIT_ERR_CERT_REVOKED},
            ENTRY, [](Package *p) {
                Revoke(p, SIGNING_CRL, SIGNER, SIGNING_TIME + DAY);
                Revoke(p, SIGNING_CRL, SIGNER, SIGNING_TIME - DAY);
            });
    Refused(group, {"last_of_twenty_entries", "limits::crl_of_20_entries", entries, SIGKIT_ERR_CERT_REVOKED}, ENTRY,
            [](Package *p) {
                for (uint8_t i = 1; i < 20; ++i) {
                    p->crls[SIGNING_CRL].request.revoked.push_back({{0x5B, i}, SIGNING_TIME - DAY, -1});
                }
                Revoke(p, SIGNING_CRL, SIGNER, SIGNING_TIME - DAY);
            });
}

void AddOddEntries(Group *group)
{
    Lenient(group,
            {"unknown_critical_extension_of_an_entry", "revocation::somebody_else_listed",
             "crls/CRL of Signing CA/revokedCertificates", SIGKIT_OK},
            EXTENSION, "Of an entry's extensions only the reason is read; the entry counts all the same.",
            [](Package *p) {
                p->crls[SIGNING_CRL].request.revoked.push_back({{0x5B, 0x03}, SIGNING_TIME - DAY, -1});
                p->crls[SIGNING_CRL].toBeSigned = At({5, 0, 1}, [](const Bytes &date) {
                    const Bytes unknown = der::Extension("1.3.6.1.4.1.99999.5", der::Null(), der::Boolean());
                    return der::Concatenate({date, der::Sequence({unknown})});
                });
            });
    Refused(group,
            {"entry_of_the_year_1950", "revocation::signer_no_reason_after", EntryOf(VICTIMS[0]) + "/revocationDate",
             SIGKIT_ERR_CERT_REVOKED},
            BY_DATE, [](Package *p) {
                Revoke(p, SIGNING_CRL, SIGNER, -631152000); // 1950-01-01
            });
    Accepted(group, "entry_of_the_year_2050", BY_DATE, [](Package *p) {
        Revoke(p, SIGNING_CRL, SIGNER, 2524608000); // 2050-01-01: the first in GeneralizedTime
    });
    Accepted(group, "entry_of_the_year_2049", BY_DATE, [](Package *p) {
        Revoke(p, SIGNING_CRL, SIGNER, 2524607999); // 2049-12-31 23:59:59: the last in UTCTime
    });
}
} // namespace

Group RevocationCases()
{
    Group group = {"revocation", {}};
    AddTable(&group);
    AddSeveralEntries(&group);
    AddOddEntries(&group);
    return group;
}
} // namespace vectors
