// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/authority/issue.h"

#include <algorithm>

#include "pkgsign/authority/rehearsal.h"
#include "pkgsign/files/files.h"

namespace pkgsign
{
namespace
{

// The CA that issues, and the root.
struct Issuer {
    Entry entry;
    Certificate certificate;
    Certificate root;
};

Status LoadIssuer(const Workplace &place, const Pki &pki, const std::string &name, Issuer *issuerOut)
{
    const Entry *const entry = FindEntry(pki, name);
    const Entry *root = nullptr;
    if (entry == nullptr || !IsCa(entry->role) || entry->state != State::Issued) {
        return Fail("'" + name + "' is no CA of the folder '" + Printable(place.folder) + "'");
    }
    Issuer issuer = {*entry, nullptr, nullptr};
    Status status = LoadCertificate(place.folder, *entry, &issuer.certificate);
    if (status.ok) {
        status = FindRoot(pki, &root);
    }
    if (status.ok) {
        status = LoadCertificate(place.folder, *root, &issuer.root);
    }
    if (status.ok) {
        *issuerOut = std::move(issuer);
    }
    return status;
}

// A device finds issuers by name: two CAs of one name with different keys would be taken for one another.
Status CheckCaName(const Workplace &place, const Pki &pki, const CertificateFields &fields)
{
    for (const Entry &entry : pki.certificates) {
        Certificate other;
        if (!IsCa(entry.role) || entry.state != State::Issued) {
            continue;
        }
        const Status status = LoadCertificate(place.folder, entry, &other);
        if (!status.ok) {
            return status;
        }
        if (IsSameNameForDevice(X509_get_subject_name(other.get()), fields.subject.get()) &&
            !SamePublicKey(X509_get0_pubkey(other.get()), fields.publicKey.get())) {
            return Fail("the CA '" + entry.name + "' has the name '" + NameText(fields.subject.get()) +
                        "' and another key; a device knows issuers by their names, so choose another --name");
        }
    }
    return {};
}

Status Rehearse(const IssueOrder &order, const Issuer &issuer, Certificate *trialOut)
{
    const Role role = order.fields.role;
    Key throwaway;
    Setting setting;
    const EVP_PKEY *const issuerKey =
        role == Role::Root ? order.fields.publicKey.get() : X509_get0_pubkey(issuer.certificate.get());
    Status status = ThrowawayKey(EVP_PKEY_bits(issuerKey), &throwaway);
    if (status.ok) {
        status = MakeCertificate(order.fields, throwaway.get(), trialOut);
    }
    if (!status.ok) {
        return status;
    }
    Chain chain;
    chain.root = role == Role::Root ? *trialOut : issuer.root;
    const bool isUnderRoot = role != Role::Root && X509_cmp(issuer.certificate.get(), issuer.root.get()) == 0;
    chain.issuingCa = role == Role::IssuingCa ? *trialOut : isUnderRoot ? nullptr : issuer.certificate;
    chain.signer = role == Role::Signer ? *trialOut : nullptr;
    chain.timestamp = role == Role::Timestamp ? *trialOut : nullptr;
    status = RehearseChain(
        chain, std::max(order.fields.notBefore, role == Role::Root ? 0 : NotBefore(issuer.certificate.get())));
    return status.ok ? RehearseChain(chain, std::min(order.fields.notAfter, role == Role::Root
                                                                                ? order.fields.notAfter
                                                                                : NotAfter(issuer.certificate.get())))
                     : status;
}

Status CheckTimes(const IssueOrder &order, const Issuer &issuer)
{
    if (order.fields.notAfter <= order.fields.notBefore) {
        return Fail("the certificate would end at " + FormatTime(order.fields.notAfter) + ", before it begins");
    }
    if (issuer.certificate != nullptr && order.fields.notAfter > NotAfter(issuer.certificate.get())) {
        return Fail("the certificate would end at " + FormatTime(order.fields.notAfter) + ", after that of its CA '" +
                    issuer.entry.name + "' (" + FormatTime(NotAfter(issuer.certificate.get())) +
                    "); give it an earlier --not-after, or issue a new CA");
    }
    return {};
}

// Under which authority a new CA's revocations and CRLs are kept: a CA renewed with its key goes on under its own.
std::string AuthorityOf(const Pki &pki, const Entry &entry)
{
    for (const Entry &other : pki.certificates) {
        if (other.role == Role::IssuingCa && other.subject == entry.subject && other.state == State::Issued) {
            return other.authority;
        }
    }
    return entry.name;
}

Status AddBegun(Entry entry, Pki *pki, Entry *entryOut)
{
    const Entry *const same = FindSerial(*pki, entry.issuer, entry.serial);
    if (same != nullptr) { // the same run again, which may have been ended anywhere: it makes the same certificate
        entry.name = same->name;
        entry.key = entry.key.empty() ? same->key : entry.key;
    }
    Entry *const known = FindEntry(pki, entry.name);
    if (known != nullptr && known != same && (known->state != State::Requested || known->key != entry.key)) {
        return Fail("the folder has a certificate '" + entry.name + "' already; choose another --name");
    }
    entry.authority = IsCa(entry.role) ? AuthorityOf(*pki, entry) : "";
    entry.issuer = entry.role == Role::Root ? entry.authority : entry.issuer;
    if (known != nullptr) {
        *known = entry;
    } else {
        pki->certificates.push_back(entry);
    }
    *entryOut = std::move(entry);
    return {};
}

// The entry is in pki.json before the real key signs: what it signs is never unknown.
Status Begin(const Workplace &place, const IssueOrder &order, const Issuer &issuer, const X509 *trial, Entry *entryOut)
{
    Entry entry = DescribeCertificate(trial, order.fields.role);
    entry.name = order.name;
    entry.state = State::Begun;
    entry.key = order.keyUri;
    entry.issuer = issuer.entry.authority;
    return UpdatePki(place.folder, [&](Pki *pki) { return AddBegun(entry, pki, entryOut); });
}

Status SignAndKeep(const Workplace &place, const IssueOrder &order, const Issuer &issuer, const Key &signingKey,
                   const X509 *trial, Certificate *certificateOut)
{
    Entry entry;
    Certificate certificate;
    Status status = CheckWritable(CertificatePath(place.folder, order.name));
    status = status.ok ? Begin(place, order, issuer, trial, &entry) : status;
    if (status.ok) {
        status = MakeCertificate(order.fields, signingKey.get(), &certificate);
    }
    if (status.ok && X509_verify(certificate.get(), signingKey.get()) != 1) {
        status = FailCrypto("the key has made a signature that does not hold");
    }
    if (status.ok) {
        status = SaveCertificate(place.folder, entry, certificate.get());
    }
    if (status.ok) {
        status = UpdatePki(place.folder, [&](Pki *pki) {
            Entry *const begun = FindEntry(pki, entry.name);
            if (begun == nullptr) {
                return Fail("'" + entry.name + "' has vanished from the folder");
            }
            begun->state = State::Issued;
            return Status();
        });
    }
    if (status.ok) {
        *certificateOut = std::move(certificate);
    }
    return status;
}

// The certificates of a role, quoted, for reasons.
std::string NamesIn(const Pki &pki, Role role)
{
    std::string names;
    for (const Entry &entry : pki.certificates) {
        if (entry.role == role) {
            names += (names.empty() ? "'" : ", '") + entry.name + "'";
        }
    }
    return names;
}

} // namespace

Status IssueCertificate(const Workplace &place, IssueOrder *order, Certificate *certificateOut, std::string *reportOut)
{
    Pki pki;
    Issuer issuer;
    Certificate trial;
    Key signingKey = order->privateKey;
    const bool isRoot = order->fields.role == Role::Root;
    Status status = LoadPki(place.folder, &pki);
    if (status.ok && !isRoot) {
        status = LoadIssuer(place, pki, order->issuer, &issuer);
        order->fields.issuer = issuer.certificate;
        order->fields.serial = status.ok ? DerivedSerial(order->fields, SERIAL_SIZE) : Bytes();
    }
    if (status.ok) {
        status = CheckKeyKind(order->fields.publicKey.get(), "the key of '" + order->name + "'");
    }
    if (status.ok && IsCa(order->fields.role)) {
        status = CheckCaName(place, pki, order->fields);
    }
    if (status.ok) {
        status = CheckTimes(*order, issuer);
    }
    if (status.ok) {
        status = Rehearse(*order, issuer, &trial);
    }
    if (!status.ok) {
        return status;
    }
    *reportOut = ContentText(trial.get()) + "SHA-256 of what is signed: " + ContentDigest(trial.get()) + "\n";
    if (place.dryRun) {
        return {};
    }
    if (!isRoot) {
        status = LoadEntryKey(place.folder, issuer.entry, issuer.certificate.get(), place.secrets, &signingKey);
    }
    if (status.ok) {
        status = SaveNewKey(order->unsaved, order->fields.publicKey);
    }
    return status.ok ? SignAndKeep(place, *order, issuer, signingKey, trial.get(), certificateOut) : status;
}

Status FindRoot(const Pki &pki, const Entry **rootOut)
{
    for (const Entry &entry : pki.certificates) {
        if (entry.role == Role::Root && entry.state == State::Issued) {
            *rootOut = &entry;
            return {};
        }
    }
    return Fail("the folder has no root certificate; import it");
}

bool IsCaRevoked(const Pki &pki, const Entry &entry)
{
    const Entry *const ca = FindAuthority(pki, entry.issuer);
    return ca != nullptr && FindRevocation(pki, ca->issuer, ca->serial) != nullptr;
}

Status ChooseCertificate(const Pki &pki, Role role, const std::string &name, int64_t now, const Entry **entryOut,
                         bool needsKey)
{
    const Entry *chosen = nullptr;
    std::string why;
    for (const Entry &entry : pki.certificates) {
        if (name.empty() ? entry.role != role : entry.name != name) {
            continue;
        }
        const std::string quoted = "'" + entry.name + "'";
        if (entry.role != role) {
            why = quoted + " is for the role " + RoleName(entry.role) + ", not " + RoleName(role);
        } else if (entry.state == State::Begun) {
            why = "the issuing of " + quoted + " was begun and did not end; run the same pkgsign issue again";
        } else if (entry.state != State::Issued) {
            why = quoted + " is requested, not issued; import its certificate";
        } else if (needsKey && entry.key.empty()) {
            why = "the key of " + quoted + " is not here";
        } else if (FindRevocation(pki, entry.issuer, entry.serial) != nullptr) {
            why = quoted + " is revoked";
        } else if (IsCaRevoked(pki, entry)) {
            why = "the CA of " + quoted + " is revoked";
        } else if (now < entry.notBefore || now > entry.notAfter) {
            why = quoted + " lives from " + FormatTime(entry.notBefore) + " to " + FormatTime(entry.notAfter) +
                  ", and it is " + FormatTime(now);
        } else if (chosen == nullptr || entry.notAfter >= chosen->notAfter) {
            chosen = &entry;
        }
    }
    if (chosen == nullptr && !name.empty() && FindEntry(pki, name) == nullptr) {
        const std::string others = NamesIn(pki, role);
        return Fail("the folder has no certificate '" + name + "'; of the role " + RoleName(role) + " it has " +
                    (others.empty() ? "none" : others));
    }
    if (chosen == nullptr) {
        return Fail(std::string("no certificate of the role ") + RoleName(role) + " can be used here" +
                    (why.empty() ? "" : ": " + why) + "; see pkgsign list");
    }
    *entryOut = chosen;
    return {};
}

Status MakeNewKey(const Workplace &place, const std::string &name, int bits, bool encrypt, Key *keyOut,
                  std::string *uriOut, UnsavedKey *unsavedOut)
{
    UnsavedKey unsaved = {place.folder + "/" + KeyPath(name), encrypt, {}};
    if (Exists(unsaved.path)) {
        return Fail("'" + Printable(unsaved.path) +
                    "' is there already, and a key that is overwritten is lost; choose another --name");
    }
    if (encrypt && !HasSource(*place.secrets, name)) {
        return Fail("key '" + name +
                    "' is to be encrypted and there is nobody to ask for a passphrase; use "
                    "--passphrase-file, or --no-encryption for a key that protects nothing");
    }
    const Status status = encrypt ? GetPassphrase(place.secrets, name, true, &unsaved.passphrase) : Status();
    if (!status.ok) {
        return status;
    }
    *uriOut = KeyPath(name);
    *unsavedOut = std::move(unsaved);
    return GenerateKey(bits, keyOut);
}

Status SaveNewKey(const UnsavedKey &unsaved, const Key &key)
{
    return unsaved.path.empty() ? Status()
                                : WriteKey(unsaved.path, key, unsaved.isEncrypted ? &unsaved.passphrase : nullptr);
}

} // namespace pkgsign
