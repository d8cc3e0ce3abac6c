// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/authority/import.h"

#include "pkgsign/authority/crls.h"
#include "pkgsign/authority/requests.h"
#include "pkgsign/files/files.h"

namespace pkgsign
{
namespace
{

struct Known {
    std::string authority;
    Certificate certificate;
};

Status LoadCas(const std::string &folder, const Pki &pki, std::vector<Known> *known)
{
    for (const Entry &entry : pki.certificates) {
        if (IsCa(entry.role) && entry.state == State::Issued) {
            Known ca = {entry.authority, nullptr};
            const Status status = LoadCertificate(folder, entry, &ca.certificate);
            if (!status.ok) {
                return status;
            }
            known->push_back(std::move(ca));
        }
    }
    return {};
}

const Known *FindIssuer(const std::vector<Known> &known, X509 *certificate)
{
    for (const Known &ca : known) {
        if (X509_check_issued(ca.certificate.get(), certificate) == X509_V_OK &&
            X509_verify(certificate, X509_get0_pubkey(ca.certificate.get())) == 1) {
            return &ca;
        }
    }
    return nullptr;
}

// The authority under which a CA's revocations are kept: certificates of one name and key share it.
std::string AuthorityOf(const std::vector<Known> &known, X509 *certificate, const std::string &name)
{
    for (const Known &ca : known) {
        if (X509_NAME_cmp(X509_get_subject_name(ca.certificate.get()), X509_get_subject_name(certificate)) == 0 &&
            SamePublicKey(X509_get0_pubkey(ca.certificate.get()), X509_get0_pubkey(certificate))) {
            return ca.authority;
        }
    }
    return name;
}

// A CA gives a serial number once: two certificates with it could not be revoked apart.
Status CheckSame(const Workplace &place, const Entry &entry, const X509 *certificate)
{
    Certificate known;
    const Status status = LoadCertificate(place.folder, entry, &known);
    return !status.ok || X509_cmp(known.get(), certificate) == 0
               ? status
               : Fail("'" + entry.name + "' is another certificate of the same CA with the serial number " +
                      entry.serial);
}

// Where the key of a certificate is, when an earlier one was for the same: one that is renewed elsewhere goes on with
// it. Empty: it is not here.
std::string KeyHere(const std::string &folder, const Pki &pki, const EVP_PKEY *key)
{
    for (const Entry &entry : pki.certificates) {
        Certificate known;
        if (!entry.key.empty() && entry.state == State::Issued && LoadCertificate(folder, entry, &known).ok &&
            SamePublicKey(X509_get0_pubkey(known.get()), key)) {
            return entry.key;
        }
    }
    return {};
}

// Adds one certificate to the memory that is being changed. isDone: false when its issuer is not known (yet).
Status ImportCertificate(const Workplace &place, const Certificate &certificate, std::vector<Known> *known, Pki *pki,
                         std::string *report, bool *isDone)
{
    Role role = Role::Signer;
    Status status = ReadRole(certificate.get(), &role);
    if (!status.ok) {
        return status;
    }
    Entry entry = DescribeCertificate(certificate.get(), role);
    const Known *const issuer = FindIssuer(*known, certificate.get());
    const bool isFirstRoot = role == Role::Root && known->empty() &&
                             X509_verify(certificate.get(), X509_get0_pubkey(certificate.get())) == 1;
    *isDone = issuer != nullptr || isFirstRoot;
    if (!*isDone && role == Role::Root && !known->empty()) {
        return Fail("'" + entry.subject + "' is another root than that of the folder; a folder has one");
    }
    if (!*isDone) {
        return {};
    }
    const Entry *const same = isFirstRoot ? nullptr : FindSerial(*pki, issuer->authority, entry.serial);
    if (same != nullptr && same->state == State::Issued) {
        return CheckSame(place, *same, certificate.get());
    }
    const Entry *const requested = FindRequest(place.folder, *pki, X509_get0_pubkey(certificate.get()));
    const Entry *const begun = same != nullptr ? same : requested;
    entry.name = begun != nullptr ? begun->name : FreeName(*pki, RoleName(role));
    entry.key = begun != nullptr ? begun->key : KeyHere(place.folder, *pki, X509_get0_pubkey(certificate.get()));
    entry.authority = IsCa(role) ? AuthorityOf(*known, certificate.get(), entry.name) : "";
    entry.issuer = isFirstRoot ? entry.name : issuer->authority;
    status = place.dryRun ? Status() : SaveCertificate(place.folder, entry, certificate.get());
    if (!status.ok) {
        return status;
    }
    if (Entry *const earlier = FindEntry(pki, entry.name); earlier != nullptr) {
        *earlier = entry;
    } else {
        pki->certificates.push_back(entry);
    }
    if (IsCa(role)) {
        known->push_back({entry.authority, certificate});
    }
    *report += "certificate '" + entry.name + "' (" + RoleName(role) + ", " + Printable(entry.subject) + ")\n";
    return {};
}

// Issuers before those they issued, whatever the order in the file.
Status ImportCertificates(const Workplace &place, const Objects &objects, const std::string &source,
                          std::vector<Known> *known, Pki *pki, std::string *report)
{
    std::vector<Certificate> left = objects.certificates;
    while (!left.empty()) {
        std::vector<Certificate> later;
        for (const Certificate &certificate : left) {
            bool isDone = false;
            const Status status = ImportCertificate(place, certificate, known, pki, report, &isDone);
            if (!status.ok) {
                return status;
            }
            if (!isDone) {
                later.push_back(certificate);
            }
        }
        if (later.size() == left.size()) {
            return Fail("'" + NameText(X509_get_subject_name(later[0].get())) + "' in '" + Printable(source) +
                        "' was issued by '" + NameText(X509_get_issuer_name(later[0].get())) +
                        "', which is not known here; import its certificate first");
        }
        left = std::move(later);
    }
    return {};
}

Status ImportCrl(const Workplace &place, X509_CRL *crl, const std::string &source, const std::vector<Known> &known,
                 Pki *pki, std::string *report)
{
    const Known *issuer = nullptr;
    for (const Known &ca : known) {
        if (X509_NAME_cmp(X509_get_subject_name(ca.certificate.get()), X509_CRL_get_issuer(crl)) == 0 &&
            X509_CRL_verify(crl, X509_get0_pubkey(ca.certificate.get())) == 1) {
            issuer = &ca;
        }
    }
    if (issuer == nullptr) {
        return Fail("the issuer of the CRL of '" + NameText(X509_CRL_get_issuer(crl)) + "' in '" + Printable(source) +
                    "' is not known here; import its certificate first");
    }
    const Status status = CheckCrlKind(crl, source);
    if (!status.ok) {
        return status;
    }
    for (const Revocation &entry : CrlEntries(crl, issuer->authority)) {
        if (RememberRevocation(entry, pki)) {
            const Revocation *const kept = FindRevocation(*pki, entry.issuer, entry.serial);
            *report += "revocation of " + entry.serial + " of '" + entry.issuer + "', " + kept->reason + " from " +
                       FormatTime(kept->date) + "\n";
        }
    }
    const std::string number = CrlNumber(crl);
    const PublishedCrl *const last = FindCrl(*pki, issuer->authority);
    if (!number.empty() && (last == nullptr || CompareNumbers(number, last->number) > 0)) {
        RememberCrl({issuer->authority, number, TimeSeconds(X509_CRL_get0_lastUpdate(crl)),
                     TimeSeconds(X509_CRL_get0_nextUpdate(crl))},
                    pki);
        *report += "CRL number " + number + " of '" + issuer->authority + "'\n";
        return place.dryRun ? Status() : WriteWhole(CrlPath(place.folder, issuer->authority), EncodeCrl(crl));
    }
    return {};
}

} // namespace

Status ImportObjects(const Workplace &place, const Objects &objects, const std::string &source, std::string *reportOut)
{
    std::string report;
    const auto change = [&](Pki *pki) {
        std::vector<Known> known;
        Status status = LoadCas(place.folder, *pki, &known);
        if (status.ok) {
            status = ImportCertificates(place, objects, source, &known, pki, &report);
        }
        for (const Crl &crl : objects.crls) {
            status = status.ok ? ImportCrl(place, crl.get(), source, known, pki, &report) : status;
        }
        return status;
    };
    Pki tried;
    Status status = place.dryRun ? LoadPki(place.folder, &tried) : UpdatePki(place.folder, change);
    if (status.ok && place.dryRun) {
        status = change(&tried);
    }
    if (status.ok) {
        *reportOut = report.empty() ? "nothing new\n" : report;
    }
    return status;
}

} // namespace pkgsign
