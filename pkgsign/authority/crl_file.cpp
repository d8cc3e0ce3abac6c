// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/authority/crl_file.h"

#include <algorithm>
#include <map>

#include "pkgsign/authority/crl_plan.h"
#include "pkgsign/files/files.h"

namespace pkgsign
{
namespace
{

// A CRL of a key elsewhere must list what is remembered here: else the file would take a revocation back.
Status CheckListed(const CrlSources &sources, const FileCrl &crl)
{
    const std::vector<Revocation> listed = CrlEntries(crl.crl.get(), crl.authority);
    for (const Revocation &known : RevocationsOf(sources.pki, crl.authority)) {
        if (std::none_of(listed.begin(), listed.end(),
                         [&](const Revocation &entry) { return entry.serial == known.serial; })) {
            return Fail("pki.json knows the revocation of " + known.serial + " of '" + crl.authority +
                        "', which its CRL does not list; revoke it where the key of '" + crl.authority +
                        "' is, and give the CRL of there (--add FILE)");
        }
    }
    return {};
}

// The CRL of one authority for the file, or none.
Status AddCrl(CrlSources *sources, KnownCa *authority, CrlFile *file)
{
    Revocation revocation;
    const Revocation *const ended = FindRevocationOf(*sources, *authority, &revocation) ? &revocation : nullptr;
    if (ended != nullptr && !IsOrdinaryEnd(ended->reason)) {
        return {}; // its issuer's CRL lists it, and devices trust nothing of it any more
    }
    FileCrl made;
    made.issuer = authority->certificate;
    made.authority = authority->id;
    const bool hasKey = !authority->id.empty() && !authority->entry->key.empty();
    if (hasKey) {
        const Status status = PlanCrl(*sources, *authority, ended, &made.fields, &made.isNew);
        if (!status.ok) {
            return status;
        }
    }
    if (sources->order.isPart && !hasKey) {
        return {};
    }
    made.crl = authority->last;
    if (made.isNew) {
        Key throwaway;
        Status status = StandInFor(ShareKey(X509_get_pubkey(made.issuer.get())), &file->setting, &throwaway);
        if (status.ok) {
            status = MakeCrl(made.fields, throwaway.get(), &made.crl);
        }
        if (!status.ok) {
            return status;
        }
        authority->last = made.crl; // those below look for themselves in it
    }
    if (made.crl == nullptr) {
        return Fail("there is no CRL of '" + NameText(X509_get_subject_name(made.issuer.get())) +
                    "', whose key is not here; give the file with it (--add FILE), or make only a part (--part)");
    }
    const Status status = hasKey || made.authority.empty() ? Status() : CheckListed(*sources, made);
    file->crls.push_back(std::move(made));
    return status;
}

void Append(const Bytes &der, Bytes *file)
{
    file->insert(file->end(), der.begin(), der.end());
}

// CRLs first, then the certificates of the CAs. The root's is left out: devices have it, and skip it in a file.
void Encode(CrlFile *file)
{
    Bytes data;
    size_t certificates = 0;
    for (const FileCrl &crl : file->crls) {
        Append(EncodeCrl(crl.crl.get()), &data);
    }
    for (const FileCrl &crl : file->crls) {
        if (X509_cmp(crl.issuer.get(), file->setting.root.get()) != 0) {
            Append(EncodeCertificate(crl.issuer.get()), &data);
            ++certificates;
        }
    }
    if (certificates == 0) {
        Append(EncodeCertificate(file->setting.root.get()), &data); // a file without any certificate is refused
    }
    file->setting.crlFile = std::move(data);
}

void WarnNear(const std::string &what, size_t count, size_t most, CrlFile *file)
{
    if (count * 5 >= most * 4) {
        file->warnings.push_back(what + ": " + std::to_string(count) + " of the " + std::to_string(most) +
                                 " that devices take");
    }
}

Status CheckLimits(CrlFile *file)
{
    const size_t crls = file->crls.size();
    const size_t size = file->setting.crlFile.size();
    if (crls > DEVICE_CRLS_MAX || crls - 1 > DEVICE_CA_CERTIFICATES_MAX || size > DEVICE_FILE_SIZE_MAX) {
        return Fail("the CRL file would have " + std::to_string(crls) + " CRLs, " + std::to_string(crls - 1) +
                    " CA certificates and " + std::to_string(size) + " octets; devices take " +
                    std::to_string(DEVICE_CRLS_MAX) + ", " + std::to_string(DEVICE_CA_CERTIFICATES_MAX) + " and " +
                    std::to_string(DEVICE_FILE_SIZE_MAX) + "; see 'How long a root lasts' in the operations guide");
    }
    WarnNear("CRLs", crls, DEVICE_CRLS_MAX, file);
    WarnNear("CA certificates", crls - 1, DEVICE_CA_CERTIFICATES_MAX, file);
    WarnNear("octets of the file", size, DEVICE_FILE_SIZE_MAX, file);
    for (const FileCrl &crl : file->crls) {
        WarnNear("entries of the CRL of '" + NameText(X509_get_subject_name(crl.issuer.get())) + "'",
                 CrlEntries(crl.crl.get(), "").size(), CRL_ENTRIES_MAX, file);
    }
    return {};
}

Status Judge(const CrlFile &file, const Bytes &replaced)
{
    const Status status = CheckCrlFile(file.setting);
    return status.ok && !replaced.empty() ? CheckNewer(file.setting, replaced) : status;
}

// Remembers the numbers before the keys sign. Another process may have signed in the meantime.
Status RememberNumbers(const Workplace &place, const CrlFile &file)
{
    return UpdatePki(place.folder, [&](Pki *pki) {
        for (const FileCrl &crl : file.crls) {
            const PublishedCrl *const last = FindCrl(*pki, crl.authority);
            if (crl.isNew && last != nullptr && CompareNumbers(last->number, crl.fields.number) >= 0) {
                return Fail("another process has just signed a CRL of '" + crl.authority + "'; run this again");
            }
            if (crl.isNew && !AreSameRevocations(RevocationsOf(*pki, crl.authority), crl.fields.entries)) {
                return Fail("another process has just revoked a certificate of '" + crl.authority +
                            "'; run this again");
            }
            if (crl.isNew) {
                RememberCrl({crl.authority, crl.fields.number, crl.fields.thisUpdate, crl.fields.nextUpdate}, pki);
            }
        }
        return Status();
    });
}

// Whether the folder can keep what is to be signed. Version control does not keep an empty directory.
Status CheckFolder(const Workplace &place, const CrlFile &file)
{
    Status status = MakeDirectory(place.folder + "/crls");
    for (const FileCrl &crl : file.crls) {
        status = status.ok && crl.isNew ? CheckWritable(CrlPath(place.folder, crl.authority)) : status;
    }
    return status;
}

Status SignOne(const Workplace &place, const Key &key, FileCrl *crl)
{
    Status status = MakeCrl(crl->fields, key.get(), &crl->crl);
    if (status.ok && X509_CRL_verify(crl->crl.get(), key.get()) != 1) {
        status = FailCrypto("the key has made a signature that does not hold");
    }
    return status.ok ? WriteWhole(CrlPath(place.folder, crl->authority), EncodeCrl(crl->crl.get())) : status;
}

} // namespace

Status ComposeCrlFile(const Workplace &place, const CrlFileOrder &order, CrlFile *fileOut)
{
    CrlSources sources = {place, order, {}, {}, {}, false};
    CrlFile file;
    Status status = ReadCrlSources(&sources);
    if (!status.ok) {
        return status;
    }
    file.isDatedAhead = sources.isDatedAhead;
    file.setting.root = sources.authorities[0].certificate;
    for (size_t i = 0; status.ok && i < sources.authorities.size(); ++i) {
        status = AddCrl(&sources, &sources.authorities[i], &file);
    }
    if (status.ok && file.crls.empty()) {
        status = Fail("no key of a CA is in the folder '" + Printable(place.folder) + "'");
    }
    if (status.ok) {
        Encode(&file);
        status = CheckLimits(&file);
    }
    if (status.ok) {
        status = Judge(file, sources.replaced);
    }
    if (status.ok) {
        *fileOut = std::move(file);
    }
    return status;
}

Status SignCrlFile(const Workplace &place, const CrlFileOrder &order, CrlFile *file)
{
    Pki pki;
    std::map<std::string, Key> keys;
    Status status = LoadPki(place.folder, &pki);
    for (const FileCrl &crl : file->crls) {
        if (status.ok && crl.isNew) {
            const Entry *const entry = FindAuthority(pki, crl.authority);
            status = entry == nullptr
                         ? Fail("'" + crl.authority + "' has vanished from the folder")
                         : LoadEntryKey(place.folder, *entry, crl.issuer.get(), place.secrets, &keys[crl.authority]);
        }
    }
    if (status.ok) {
        status = CheckFolder(place, *file);
    }
    if (status.ok) {
        status = RememberNumbers(place, *file);
    }
    for (FileCrl &crl : file->crls) {
        status = status.ok && crl.isNew ? SignOne(place, keys[crl.authority], &crl) : status;
    }
    if (!status.ok) {
        return status;
    }
    Bytes replaced;
    if (!order.replaced.empty() && order.replaced != "-" && Exists(order.replaced)) {
        status = ReadWhole(order.replaced, &replaced);
    }
    file->setting.standIns.clear();
    Encode(file);
    return status.ok ? Judge(*file, replaced) : status;
}

std::string DescribeNewCrls(const CrlFile &file)
{
    std::string text;
    for (const FileCrl &crl : file.crls) {
        if (crl.isNew) {
            text += ContentText(crl.crl.get()) + "SHA-256 of what is signed: " + ContentDigest(crl.crl.get()) + "\n";
        }
    }
    return text;
}

} // namespace pkgsign
