// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/authority/party.h"

#include <algorithm>

#include <openssl/err.h>
#include <openssl/x509v3.h>

#include "pkgsign/authority/rehearsal.h"
#include "pkgsign/files/files.h"
#include "pkgsign/files/objects.h"

namespace pkgsign
{
namespace
{

// RFC 5280, 6.1.3 (a)(1) and (a)(4); the rest of a path's validation is the device's.
Certificate FindIssuer(const Certificate &certificate, const std::vector<Certificate> &known)
{
    for (const Certificate &candidate : known) {
        if (X509_check_issued(candidate.get(), certificate.get()) == X509_V_OK &&
            X509_verify(certificate.get(), X509_get0_pubkey(candidate.get())) == 1) {
            return candidate;
        }
    }
    ERR_clear_error();
    return nullptr;
}

// The CA certificates from the issuer of one up to the root, which is the last of `known`.
Status FindAuthorities(const Certificate &certificate, const std::vector<Certificate> &known,
                       std::vector<Certificate> *authoritiesOut)
{
    std::vector<Certificate> path;
    Certificate below = certificate;
    while (path.size() <= known.size()) { // each at most once
        const Certificate issuer = FindIssuer(below, known);
        if (issuer == nullptr) {
            return Fail("the certificate of '" + Printable(NameText(X509_get_issuer_name(below.get()))) +
                        "', which issued '" + Printable(NameText(X509_get_subject_name(below.get()))) +
                        "', is missing; name its file with --chain, or another with --root");
        }
        path.push_back(issuer);
        if (X509_cmp(issuer.get(), known.back().get()) == 0) {
            *authoritiesOut = std::move(path);
            return {};
        }
        below = issuer;
    }
    return Fail("the certificates of --chain lead to no root");
}

// All that may be an issuer, the root last.
Status ReadAuthorities(const PartyFiles &files, std::vector<Certificate> *knownOut)
{
    std::vector<Certificate> known;
    for (const std::string &path : {files.chain, files.crls}) {
        Objects objects;
        const Status status = path.empty() ? Status() : ReadObjects(path, &objects);
        if (!status.ok) {
            return status;
        }
        known.insert(known.end(), objects.certificates.begin(), objects.certificates.end());
    }
    Certificate root;
    const Status status = ReadCertificate(files.root, &root);
    if (status.ok) {
        known.push_back(root);
        *knownOut = std::move(known);
    }
    return status;
}

} // namespace

Status LoadRoot(const Workplace &place, const Pki &pki, Certificate *rootOut)
{
    const Entry *root = nullptr;
    const Status status = FindRoot(pki, &root);
    return status.ok ? LoadCertificate(place.folder, *root, rootOut) : status;
}

Status LoadParty(const Workplace &place, const Pki &pki, Role role, const std::string &name, int64_t time,
                 Party *partyOut, bool needsKey)
{
    const Entry *entry = nullptr;
    Party party;
    Status status = ChooseCertificate(pki, role, name, time, &entry, needsKey);
    if (status.ok) {
        party.entry = *entry;
        status = LoadCertificate(place.folder, *entry, &party.certificate);
    }
    const Entry *const ca = status.ok ? FindAuthority(pki, entry->issuer) : nullptr;
    if (status.ok && ca == nullptr) {
        return Fail("the certificate of the CA '" + entry->issuer + "' is not in the folder; import it");
    }
    if (status.ok) {
        status = LoadCertificate(place.folder, *ca, &party.ca);
    }
    if (status.ok && needsKey) {
        status = LoadEntryKey(place.folder, *entry, party.certificate.get(), place.secrets, &party.key);
    }
    if (status.ok) {
        *partyOut = std::move(party);
    }
    return status;
}

Status ChooseCrls(const Workplace &place, const Pki &pki, const std::string &path, int64_t time, Setting *setting)
{
    if (!path.empty()) {
        const Status status = ReadWhole(path, &setting->crlFile, DEVICE_FILE_SIZE_MAX);
        return status.ok ? CheckLoads(*setting, path) : status;
    }
    std::vector<MadeUpCrl> crls;
    for (const Entry &entry : pki.certificates) {
        Certificate ca;
        if (!IsCa(entry.role) || entry.state != State::Issued || FindAuthority(pki, entry.authority) != &entry) {
            continue;
        }
        const Status status = LoadCertificate(place.folder, entry, &ca);
        if (!status.ok) {
            return status;
        }
        crls.push_back({ca, RevocationsOf(pki, entry.authority)});
    }
    return MakeUpCrlFile(crls, time, setting);
}

Status LoadPartyFiles(const PartyFiles &files, Secrets *secrets, Party *partyOut,
                      std::vector<Certificate> *authoritiesOut)
{
    Party party;
    std::vector<Certificate> known;
    std::vector<Certificate> authorities;
    Status status = ReadCertificate(files.certificate, &party.certificate);
    if (status.ok) {
        party.entry.name = files.certificate;
        party.entry.subject = NameText(X509_get_subject_name(party.certificate.get()));
        status = CheckKeyKind(X509_get0_pubkey(party.certificate.get()),
                              "the key of '" + Printable(files.certificate) + "'");
    }
    if (status.ok) {
        status = ReadAuthorities(files, &known);
    }
    if (status.ok) {
        status = FindAuthorities(party.certificate, known, &authorities);
    }
    if (status.ok && !files.key.empty()) {
        status = LoadKey(files.key, files.key, secrets, &party.key);
        status = status.ok ? CheckKeyFits(party.key, party.certificate.get(), "'" + Printable(files.certificate) + "'")
                           : status;
    }
    if (status.ok) {
        party.ca = authorities.front();
        *partyOut = std::move(party);
        *authoritiesOut = std::move(authorities);
    }
    return status;
}

} // namespace pkgsign
