// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/authority/crl_sources.h"

#include <algorithm>

#include "pkgsign/files/files.h"
#include "pkgsign/files/objects.h"

namespace pkgsign
{
namespace
{

constexpr int64_t CLOCK_SKEW_MAX = 3600; // seconds

bool IsSignedHere(const KnownCa &authority)
{
    return !authority.id.empty() && !authority.entry->key.empty();
}

bool HasSigned(const KnownCa &authority, X509_CRL *crl)
{
    return X509_NAME_cmp(X509_get_subject_name(authority.certificate.get()), X509_CRL_get_issuer(crl)) == 0 &&
           X509_CRL_verify(crl, X509_get0_pubkey(authority.certificate.get())) == 1;
}

KnownCa *FindSigner(CrlSources *sources, X509_CRL *crl)
{
    for (KnownCa &authority : sources->authorities) {
        if (HasSigned(authority, crl)) {
            return &authority;
        }
    }
    return nullptr;
}

void TakeNewCa(const NewCa &newCa, std::vector<KnownCa> *authorities)
{
    const KnownCa made = {newCa.certificate, newCa.entry.authority, &newCa.entry, nullptr};
    for (KnownCa &authority : *authorities) {
        if (authority.id == made.id) {
            authority = made;
            return;
        }
    }
    authorities->push_back(made);
}

Status LoadAuthorities(CrlSources *sources)
{
    const Entry *root = nullptr;
    Status status = FindRoot(sources->pki, &root);
    std::vector<const Entry *> entries = {root};
    for (const Entry &entry : sources->pki.certificates) {
        if (IsCa(entry.role) && entry.state == State::Issued && &entry != root &&
            FindAuthority(sources->pki, entry.authority) == &entry) {
            entries.push_back(&entry);
        }
    }
    for (size_t i = 0; status.ok && i < entries.size(); ++i) {
        KnownCa authority;
        authority.entry = entries[i];
        authority.id = entries[i]->authority;
        status = LoadCertificate(sources->place.folder, *entries[i], &authority.certificate);
        sources->authorities.push_back(std::move(authority));
    }
    if (status.ok && sources->order.newCa != nullptr) {
        TakeNewCa(*sources->order.newCa, &sources->authorities);
    }
    return status;
}

// CA certificates that come with CRLs of other machines, when a known CA has issued them.
void AddForeignAuthorities(CrlSources *sources, const Objects &objects)
{
    for (const Certificate &certificate : objects.certificates) {
        const auto isSame = [&](const KnownCa &authority) {
            return X509_NAME_cmp(X509_get_subject_name(authority.certificate.get()),
                                 X509_get_subject_name(certificate.get())) == 0;
        };
        const bool isKnown = std::any_of(sources->authorities.begin(), sources->authorities.end(), isSame);
        const bool isIssued =
            std::any_of(sources->authorities.begin(), sources->authorities.end(), [&](const KnownCa &authority) {
                return X509_verify(certificate.get(), X509_get0_pubkey(authority.certificate.get())) == 1;
            });
        if (!isKnown && isIssued && X509_check_ca(certificate.get()) == 1) {
            KnownCa authority;
            authority.certificate = certificate;
            sources->authorities.push_back(std::move(authority));
        }
    }
}

bool IsNewer(const X509_CRL *crl, const X509_CRL *than)
{
    const int64_t a = TimeSeconds(X509_CRL_get0_lastUpdate(crl));
    const int64_t b = TimeSeconds(X509_CRL_get0_lastUpdate(than));
    return a != b ? a > b : CompareNumbers(CrlNumber(crl), CrlNumber(than)) > 0;
}

// Memory cannot go back: what devices may already know must be known here. Yields what is not; empty: nothing.
std::string FindForgotten(const CrlSources &sources, const KnownCa &authority, X509_CRL *crl)
{
    if (!IsSignedHere(authority)) {
        return {};
    }
    std::string forgotten;
    for (const Revocation &entry : CrlEntries(crl, authority.id)) {
        const Revocation *const known = FindRevocation(sources.pki, authority.id, entry.serial);
        if (known == nullptr || !IsSameRevocation(Stricter(*known, entry), *known)) {
            forgotten += (forgotten.empty() ? "the revocation of " : ", ") + entry.serial;
        }
    }
    const std::string number = CrlNumber(crl);
    const PublishedCrl *const last = FindCrl(sources.pki, authority.id);
    if (!number.empty() && (last == nullptr || CompareNumbers(number, last->number) > 0)) {
        forgotten += (forgotten.empty() ? "" : " and ") + ("the CRL number " + number);
    }
    return forgotten.empty() ? "" : "of '" + authority.id + "' " + forgotten;
}

Status TakeCrls(CrlSources *sources, const Objects &objects, const std::string &source, bool mustBeKnown)
{
    std::string forgotten;
    for (const Crl &crl : objects.crls) {
        KnownCa *const authority = FindSigner(sources, crl.get());
        if (authority == nullptr && mustBeKnown) {
            return Fail("'" + Printable(source) + "' holds a CRL of '" + NameText(X509_CRL_get_issuer(crl.get())) +
                        "', whose certificate is neither in the folder nor in the files given");
        }
        if (authority == nullptr) {
            continue;
        }
        const Status status = CheckCrlKind(crl.get(), source);
        if (!status.ok) {
            return status;
        }
        const std::string missing = FindForgotten(*sources, *authority, crl.get());
        forgotten += (forgotten.empty() || missing.empty() ? "" : "; ") + missing;
        if (IsSignedHere(*authority) && IsDatedAhead(crl.get(), sources->place.now)) {
            sources->isDatedAhead = true;
            if (sources->order.datedAhead == DatedAhead::Unreleased) {
                continue;
            }
        }
        if (authority->last == nullptr || IsNewer(crl.get(), authority->last.get())) {
            authority->last = crl;
        }
    }
    return forgotten.empty()
               ? Status()
               : Fail("'" + Printable(source) + "' shows what pki.json has forgotten: " + forgotten +
                      "; run: pkgsign import " + Printable(source) + " --pki " + Printable(sources->place.folder));
}

Status ReadSource(CrlSources *sources, const std::string &path, bool mustBeKnown)
{
    Objects objects;
    const Status status = ReadObjects(path, &objects);
    if (!status.ok) {
        return status;
    }
    AddForeignAuthorities(sources, objects);
    return TakeCrls(sources, objects, path, mustBeKnown);
}

// The file that devices have.
Status ReadReplaced(CrlSources *sources)
{
    const std::string &path = sources->order.replaced;
    if (path.empty() || path == "-" || !Exists(path)) {
        return {};
    }
    const bool wasDatedAhead = sources->isDatedAhead;
    sources->isDatedAhead = false;
    Status status = ReadSource(sources, path, false);
    if (status.ok && sources->isDatedAhead && sources->order.datedAhead == DatedAhead::Unreleased) {
        status = Fail("'" + Printable(path) +
                      "' is dated ahead itself; put the file that devices have in its place, or give another --out");
    }
    sources->isDatedAhead = sources->isDatedAhead || wasDatedAhead;
    return status.ok ? ReadWhole(path, &sources->replaced) : status;
}

Status ReadSources(CrlSources *sources)
{
    Status status;
    for (const std::string &path : sources->order.added) {
        status = status.ok ? ReadSource(sources, path, true) : status;
    }
    status = status.ok ? ReadReplaced(sources) : status;
    for (const KnownCa &authority : sources->authorities) {
        const std::string path = CrlPath(sources->place.folder, authority.id);
        status = status.ok && !authority.id.empty() && Exists(path) ? ReadSource(sources, path, true) : status;
    }
    return status;
}

} // namespace

bool IsDatedAhead(const X509_CRL *crl, int64_t now)
{
    return TimeSeconds(X509_CRL_get0_lastUpdate(crl)) > now + CLOCK_SKEW_MAX;
}

Status ReadCrlSources(CrlSources *sources)
{
    Status status = LoadPki(sources->place.folder, &sources->pki);
    if (status.ok) {
        status = LoadAuthorities(sources);
    }
    if (status.ok) {
        status = ReadSources(sources);
    }
    if (status.ok) {
        sources->pki.revocations.insert(sources->pki.revocations.end(), sources->order.further.begin(),
                                        sources->order.further.end());
    }
    return status;
}

} // namespace pkgsign
