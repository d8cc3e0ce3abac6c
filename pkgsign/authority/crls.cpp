// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/authority/crls.h"

#include <algorithm>

#include <openssl/x509v3.h>

#include "pkgsign/authority/certificates.h"
#include "pkgsign/files/files.h"

namespace pkgsign
{
namespace
{

constexpr long VERSION_2 = 1;

struct Reason {
    const char *name;
    int code; // CRLReason
};
constexpr char REMOVE_FROM_CRL[] = "removeFromCRL"; // of delta CRLs
constexpr Reason REASONS[] = {{"unspecified", 0},        {"keyCompromise", 1}, {"cACompromise", 2},
                              {"affiliationChanged", 3}, {"superseded", 4},    {"cessationOfOperation", 5},
                              {"certificateHold", 6},    {REMOVE_FROM_CRL, 8}, {"privilegeWithdrawn", 9},
                              {"aACompromise", 10}};

const Reason *FindReason(const std::string &name)
{
    const auto found =
        std::find_if(std::begin(REASONS), std::end(REASONS), [&](const Reason &reason) { return name == reason.name; });
    return found == std::end(REASONS) ? nullptr : &*found;
}

// RFC 5280, 5.3.1: the reason is left out rather than given as unspecified.
bool AddReason(X509_REVOKED *entry, const std::string &name)
{
    const Reason *const reason = FindReason(name);
    if (reason == nullptr || reason->code == 0) {
        return true;
    }
    ASN1_ENUMERATED *const code = ASN1_ENUMERATED_new();
    const bool added = code != nullptr && ASN1_ENUMERATED_set(code, reason->code) == 1 &&
                       X509_REVOKED_add1_ext_i2d(entry, NID_crl_reason, code, 0, 0) == 1;
    ASN1_ENUMERATED_free(code);
    return added;
}

bool AddEntry(X509_CRL *crl, const Revocation &revocation)
{
    BIGNUM *number = nullptr;
    (void)BN_hex2bn(&number, revocation.serial.c_str());
    const BnPtr owned(number);
    const IntegerPtr serial(BN_to_ASN1_INTEGER(number, nullptr));
    const TimePtr date = MakeTime(revocation.date);
    RevokedPtr entry(X509_REVOKED_new());
    if (serial == nullptr || date == nullptr || entry == nullptr ||
        X509_REVOKED_set_serialNumber(entry.get(), serial.get()) != 1 ||
        X509_REVOKED_set_revocationDate(entry.get(), date.get()) != 1 || !AddReason(entry.get(), revocation.reason) ||
        X509_CRL_add0_revoked(crl, entry.get()) != 1) {
        return false;
    }
    (void)entry.release(); // the CRL's
    return true;
}

bool AddExtensions(X509_CRL *crl, X509 *issuer, const std::string &decimal)
{
    X509V3_CTX context = {};
    X509V3_set_ctx(&context, issuer, nullptr, nullptr, crl, 0);
    const ExtensionPtr keyIdentifier(
        X509V3_EXT_conf_nid(nullptr, &context, NID_authority_key_identifier, "keyid:always"));
    BIGNUM *number = nullptr;
    (void)BN_dec2bn(&number, decimal.c_str());
    const BnPtr owned(number);
    const IntegerPtr integer(BN_to_ASN1_INTEGER(number, nullptr));
    return keyIdentifier != nullptr && integer != nullptr && X509_CRL_add_ext(crl, keyIdentifier.get(), -1) == 1 &&
           X509_CRL_add1_ext_i2d(crl, NID_crl_number, integer.get(), 0, 0) == 1;
}

bool Describe(X509_CRL *crl, const CrlFields &fields)
{
    const TimePtr thisUpdate = MakeTime(fields.thisUpdate);
    const TimePtr nextUpdate = MakeTime(fields.nextUpdate);
    return crl != nullptr && thisUpdate != nullptr && nextUpdate != nullptr &&
           X509_CRL_set_version(crl, VERSION_2) == 1 &&
           X509_CRL_set_issuer_name(crl, X509_get_subject_name(fields.issuer.get())) == 1 &&
           X509_CRL_set1_lastUpdate(crl, thisUpdate.get()) == 1 &&
           X509_CRL_set1_nextUpdate(crl, nextUpdate.get()) == 1 &&
           std::all_of(fields.entries.begin(), fields.entries.end(),
                       [&](const Revocation &revocation) { return AddEntry(crl, revocation); }) &&
           AddExtensions(crl, fields.issuer.get(), fields.number);
}

} // namespace

Status MakeCrl(const CrlFields &fields, EVP_PKEY *signingKey, Crl *crlOut)
{
    Crl crl(X509_CRL_new(), X509_CRL_free);
    if (!Describe(crl.get(), fields) || X509_CRL_sign(crl.get(), signingKey, EVP_sha256()) == 0) {
        return FailCrypto("cannot make the CRL of '" + NameText(X509_get_subject_name(fields.issuer.get())) + "'");
    }
    *crlOut = std::move(crl);
    return {};
}

std::string CrlNumber(const X509_CRL *crl)
{
    const IntegerPtr integer(static_cast<ASN1_INTEGER *>(X509_CRL_get_ext_d2i(crl, NID_crl_number, nullptr, nullptr)));
    const BnPtr number(integer == nullptr ? nullptr : ASN1_INTEGER_to_BN(integer.get(), nullptr));
    char *const text = number == nullptr ? nullptr : BN_bn2dec(number.get());
    const std::string decimal = text == nullptr ? "" : text;
    OPENSSL_free(text);
    return decimal;
}

const char *ReasonName(long code)
{
    const auto found =
        std::find_if(std::begin(REASONS), std::end(REASONS), [&](const Reason &reason) { return code == reason.code; });
    return found == std::end(REASONS) ? nullptr : found->name;
}

std::vector<Revocation> CrlEntries(X509_CRL *crl, const std::string &authority)
{
    std::vector<Revocation> entries;
    STACK_OF(X509_REVOKED) *const list = X509_CRL_get_REVOKED(crl);
    for (int i = 0; i < sk_X509_REVOKED_num(list); ++i) {
        const X509_REVOKED *const entry = sk_X509_REVOKED_value(list, i);
        Revocation revocation = {authority, SerialText(X509_REVOKED_get0_serialNumber(entry)), "unspecified",
                                 TimeSeconds(X509_REVOKED_get0_revocationDate(entry)),
                                 TimeSeconds(X509_CRL_get0_lastUpdate(crl))};
        ASN1_ENUMERATED *const code =
            static_cast<ASN1_ENUMERATED *>(X509_REVOKED_get_ext_d2i(entry, NID_crl_reason, nullptr, nullptr));
        const long value = code == nullptr ? 0 : ASN1_ENUMERATED_get(code);
        ASN1_ENUMERATED_free(code);
        const char *const name = ReasonName(value);
        if (name != nullptr && CheckReason(name).ok) {
            revocation.reason = name;
        }
        entries.push_back(std::move(revocation));
    }
    return entries;
}

Revocation Stricter(const Revocation &known, const Revocation &other)
{
    Revocation stricter = known;
    stricter.date = std::min(known.date, other.date);
    if (IsOrdinaryEnd(known.reason) && !IsOrdinaryEnd(other.reason)) {
        stricter.reason = other.reason;
    }
    return stricter;
}

bool RememberRevocation(const Revocation &revocation, Pki *pki)
{
    for (Revocation &known : pki->revocations) {
        if (known.issuer == revocation.issuer && known.serial == revocation.serial) {
            const Revocation stricter = Stricter(known, revocation);
            const bool isNew = !IsSameRevocation(stricter, known);
            known = stricter;
            return isNew;
        }
    }
    pki->revocations.push_back(revocation);
    return true;
}

bool IsSameRevocation(const Revocation &a, const Revocation &b)
{
    return a.date == b.date && a.reason == b.reason;
}

Status CheckCrlKind(const X509_CRL *crl, const std::string &source)
{
    if (X509_CRL_get_ext_by_NID(crl, NID_issuing_distribution_point, -1) >= 0 ||
        X509_CRL_get_ext_by_NID(crl, NID_delta_crl, -1) >= 0) {
        return Fail("a CRL in '" + Printable(source) +
                    "' is indirect, partial or a delta CRL; devices need complete ones");
    }
    return {};
}

Status CheckReason(const std::string &reason)
{
    if (reason == REMOVE_FROM_CRL) {
        return Fail("removeFromCRL cannot be given: a revocation is for good, and only delta CRLs have that reason");
    }
    if (FindReason(reason) != nullptr) {
        return {};
    }
    std::string names;
    for (const Reason &known : REASONS) {
        names += known.name == std::string(REMOVE_FROM_CRL) ? "" : std::string(names.empty() ? "" : ", ") + known.name;
    }
    return Fail("'" + Printable(reason) + "' is no reason; there are " + names);
}

bool IsOrdinaryEnd(const std::string &reason)
{
    return reason == "affiliationChanged" || reason == "superseded" || reason == "cessationOfOperation";
}

} // namespace pkgsign
