#include "pkgsign/authority/crl_file.h"

#include <algorithm>
#include <filesystem>
#include <map>

#include "pkgsign/files/files.h"

namespace pkgsign
{
namespace
{

constexpr int64_t CLOCK_SKEW_MAX = 3600; // by how much the last CRL may be dated later than now

// A CA that the composition knows, from the folder or from a file.
struct Authority {
    Certificate certificate; // of several, the one that ends last
    std::string id;          // in the folder; empty: from a file
    const Entry *entry = nullptr;
    Crl last; // the newest that is known
};

struct Composition {
    const Workplace &place;
    const CrlFileOrder &order;
    Pki pki;
    std::vector<Authority> authorities; // the root first
    Bytes replaced;
};

bool HasSigned(const Authority &authority, X509_CRL *crl)
{
    return X509_NAME_cmp(X509_get_subject_name(authority.certificate.get()), X509_CRL_get_issuer(crl)) == 0 &&
           X509_CRL_verify(crl, X509_get0_pubkey(authority.certificate.get())) == 1;
}

Authority *FindSigner(Composition *composition, X509_CRL *crl)
{
    for (Authority &authority : composition->authorities) {
        if (HasSigned(authority, crl)) {
            return &authority;
        }
    }
    return nullptr;
}

void TakeNewCa(const NewCa &newCa, std::vector<Authority> *authorities)
{
    const Authority made = {newCa.certificate, newCa.entry.authority, &newCa.entry, nullptr};
    for (Authority &authority : *authorities) {
        if (authority.id == made.id) {
            authority = made;
            return;
        }
    }
    authorities->push_back(made);
}

Status LoadAuthorities(Composition *composition)
{
    const Entry *root = nullptr;
    Status status = FindRoot(composition->pki, &root);
    std::vector<const Entry *> entries = {root};
    for (const Entry &entry : composition->pki.certificates) {
        if (IsCa(entry.role) && entry.state == State::Issued && &entry != root &&
            FindAuthority(composition->pki, entry.authority) == &entry) {
            entries.push_back(&entry);
        }
    }
    for (size_t i = 0; status.ok && i < entries.size(); ++i) {
        Authority authority;
        authority.entry = entries[i];
        authority.id = entries[i]->authority;
        status = LoadCertificate(composition->place.folder, *entries[i], &authority.certificate);
        composition->authorities.push_back(std::move(authority));
    }
    if (status.ok && composition->order.newCa != nullptr) {
        TakeNewCa(*composition->order.newCa, &composition->authorities);
    }
    return status;
}

// CA certificates that come with CRLs of other machines, when a known CA has issued them.
void AddForeignAuthorities(Composition *composition, const Objects &objects)
{
    for (const Certificate &certificate : objects.certificates) {
        const auto isSame = [&](const Authority &authority) {
            return X509_NAME_cmp(X509_get_subject_name(authority.certificate.get()),
                                 X509_get_subject_name(certificate.get())) == 0;
        };
        const bool isKnown = std::any_of(composition->authorities.begin(), composition->authorities.end(), isSame);
        const bool isIssued = std::any_of(
            composition->authorities.begin(), composition->authorities.end(), [&](const Authority &authority) {
                return X509_verify(certificate.get(), X509_get0_pubkey(authority.certificate.get())) == 1;
            });
        if (!isKnown && isIssued && X509_check_ca(certificate.get()) == 1) {
            Authority authority;
            authority.certificate = certificate;
            composition->authorities.push_back(std::move(authority));
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
std::string FindForgotten(const Composition &composition, const Authority &authority, X509_CRL *crl)
{
    if (authority.id.empty() || authority.entry->key.empty()) {
        return {};
    }
    std::string forgotten;
    for (const Revocation &entry : CrlEntries(crl, authority.id)) {
        const Revocation *const known = FindRevocation(composition.pki, authority.id, entry.serial);
        if (known == nullptr || !IsSameRevocation(Stricter(*known, entry), *known)) {
            forgotten += (forgotten.empty() ? "the revocation of " : ", ") + entry.serial;
        }
    }
    const std::string number = CrlNumber(crl);
    const PublishedCrl *const last = FindCrl(composition.pki, authority.id);
    if (!number.empty() && (last == nullptr || CompareNumbers(number, last->number) > 0)) {
        forgotten += (forgotten.empty() ? "" : " and ") + ("the CRL number " + number);
    }
    return forgotten.empty() ? "" : "of '" + authority.id + "' " + forgotten;
}

Status TakeCrls(Composition *composition, const Objects &objects, const std::string &source, bool mustBeKnown)
{
    std::string forgotten;
    for (const Crl &crl : objects.crls) {
        Authority *const authority = FindSigner(composition, crl.get());
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
        const std::string missing = FindForgotten(*composition, *authority, crl.get());
        forgotten += (forgotten.empty() || missing.empty() ? "" : "; ") + missing;
        if (authority->last == nullptr || IsNewer(crl.get(), authority->last.get())) {
            authority->last = crl;
        }
    }
    return forgotten.empty()
               ? Status()
               : Fail("'" + Printable(source) + "' shows what pki.json has forgotten: " + forgotten +
                      "; run: pkgsign import " + Printable(source) + " --pki " + Printable(composition->place.folder));
}

Status ReadSource(Composition *composition, const std::string &path, bool mustBeKnown)
{
    Objects objects;
    const Status status = ReadObjects(path, &objects);
    if (!status.ok) {
        return status;
    }
    AddForeignAuthorities(composition, objects);
    return TakeCrls(composition, objects, path, mustBeKnown);
}

Status ReadSources(Composition *composition)
{
    Status status;
    for (const std::string &path : composition->order.added) {
        status = status.ok ? ReadSource(composition, path, true) : status;
    }
    if (status.ok && !composition->order.replaced.empty() && composition->order.replaced != "-" &&
        Exists(composition->order.replaced)) {
        status = ReadSource(composition, composition->order.replaced, false);
        if (status.ok) {
            status = ReadWhole(composition->order.replaced, &composition->replaced);
        }
    }
    for (const Authority &authority : composition->authorities) {
        const std::string path = CrlPath(composition->place.folder, authority.id);
        status = status.ok && !authority.id.empty() && Exists(path) ? ReadSource(composition, path, true) : status;
    }
    return status;
}

// What the issuer of a CA has said of it: from memory, from revocations to try, or from the issuer's CRL.
bool FindInIssuer(const Composition &composition, const Authority &issuer, const std::string &serial, Revocation *out)
{
    if (const Revocation *const known = FindRevocation(composition.pki, issuer.id, serial); known != nullptr) {
        *out = *known;
        return true;
    }
    if (issuer.last != nullptr) {
        for (const Revocation &entry : CrlEntries(issuer.last.get(), issuer.id)) {
            if (entry.serial == serial) {
                *out = entry;
                return true;
            }
        }
    }
    return false;
}

bool FindRevocationOf(const Composition &composition, const Authority &authority, Revocation *out)
{
    const X509_NAME *const name = X509_get_issuer_name(authority.certificate.get());
    const std::string serial = SerialText(authority.certificate.get());
    return std::any_of(composition.authorities.begin(), composition.authorities.end(), [&](const Authority &issuer) {
        return X509_NAME_cmp(X509_get_subject_name(issuer.certificate.get()), name) == 0 &&
               FindInIssuer(composition, issuer, serial, out);
    });
}

std::vector<Revocation> EntriesOf(const Pki &pki, const std::string &authority)
{
    std::vector<Revocation> entries;
    for (const Revocation &revocation : pki.revocations) {
        if (revocation.issuer == authority) {
            entries.push_back(revocation);
        }
    }
    return entries;
}

std::string NextNumber(const PublishedCrl *last, int64_t thisUpdate)
{
    const std::string byTime = std::to_string(thisUpdate);
    if (last == nullptr || CompareNumbers(last->number, byTime) < 0) {
        return byTime;
    }
    BIGNUM *number = nullptr;
    (void)BN_dec2bn(&number, last->number.c_str());
    const BnPtr owned(number);
    (void)BN_add_word(number, 1);
    char *const text = BN_bn2dec(number);
    const std::string next = text == nullptr ? byTime : text;
    OPENSSL_free(text);
    return next;
}

bool AreSame(const std::vector<Revocation> &a, const std::vector<Revocation> &b)
{
    return std::is_permutation(a.begin(), a.end(), b.begin(), b.end(),
                               [](const Revocation &one, const Revocation &two) {
                                   return one.serial == two.serial && IsSameRevocation(one, two);
                               });
}

// Describes the next CRL of a CA. A CA that has ended, or was superseded, signs its last CRLs as of before that:
// devices judge a CRL's issuer at thisUpdate. isNewOut: false when its last CRL says all.
Status PlanCrl(const Composition &composition, const Authority &authority, const Revocation *ended, CrlFields *fields,
               bool *isNewOut)
{
    int64_t latest = authority.entry->notAfter;
    if (ended != nullptr) {
        latest = std::min(latest, ended->date - 1);
    }
    const bool isCapped = latest < composition.place.now;
    const int64_t last = authority.last == nullptr ? 0 : TimeSeconds(X509_CRL_get0_lastUpdate(authority.last.get()));
    fields->issuer = authority.certificate;
    fields->entries = EntriesOf(composition.pki, authority.id);
    fields->thisUpdate = isCapped ? latest : std::max(composition.place.now, std::min(last + 1, latest));
    fields->nextUpdate = fields->thisUpdate + composition.pki.lifetimes.crl;
    if (composition.order.nextUpdate != 0 && !isCapped) {
        fields->nextUpdate = composition.order.nextUpdate;
    }
    fields->number = NextNumber(FindCrl(composition.pki, authority.id), fields->thisUpdate);
    *isNewOut = !isCapped || last != latest || !AreSame(CrlEntries(authority.last.get(), ""), fields->entries);
    if (last > latest) {
        return Fail("'" + authority.id + "' ends, or is superseded, before its last CRL, which is dated " +
                    FormatTime(last) + "; devices could not trust that CRL any more");
    }
    if (last > fields->thisUpdate || (!isCapped && fields->thisUpdate > composition.place.now + CLOCK_SKEW_MAX)) {
        return Fail("the last CRL of '" + authority.id + "' is dated " + FormatTime(last) + ", and it is " +
                    FormatTime(composition.place.now) + "; is the clock right?");
    }
    if (fields->nextUpdate <= fields->thisUpdate) {
        return Fail("nextUpdate (" + FormatTime(fields->nextUpdate) + ") is not after thisUpdate (" +
                    FormatTime(fields->thisUpdate) + ")");
    }
    if (fields->entries.size() > CRL_ENTRIES_MAX) {
        return Fail("the CRL of '" + authority.id + "' would have " + std::to_string(fields->entries.size()) +
                    " entries, and devices take " + std::to_string(CRL_ENTRIES_MAX) +
                    "; issue a new CA and revoke this one, see 'A full CRL' in the operations guide");
    }
    return {};
}

// The CRL of one authority for the file, or none.
Status AddCrl(Composition *composition, Authority *authority, CrlFile *file)
{
    Revocation revocation;
    const Revocation *const ended = FindRevocationOf(*composition, *authority, &revocation) ? &revocation : nullptr;
    if (ended != nullptr && !IsOrdinaryEnd(ended->reason)) {
        return {}; // its issuer's CRL lists it, and devices trust nothing of it any more
    }
    FileCrl made;
    made.issuer = authority->certificate;
    made.authority = authority->id;
    const bool hasKey = !authority->id.empty() && !authority->entry->key.empty();
    if (hasKey) {
        const Status status = PlanCrl(*composition, *authority, ended, &made.fields, &made.isNew);
        if (!status.ok) {
            return status;
        }
    }
    if (composition->order.isPart && !hasKey) {
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
    file->crls.push_back(std::move(made));
    return {};
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
            if (crl.isNew && !AreSame(EntriesOf(*pki, crl.authority), crl.fields.entries)) {
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

Status SignOne(const Workplace &place, const Key &key, FileCrl *crl)
{
    Status status = MakeCrl(crl->fields, key.get(), &crl->crl);
    if (status.ok && X509_CRL_verify(crl->crl.get(), key.get()) != 1) {
        status = FailCrypto("the key has made a signature that does not hold");
    }
    return status.ok ? WriteWhole(CrlPath(place.folder, crl->authority), EncodeCrl(crl->crl.get())) : status;
}

std::string AnswerText(const DeviceAnswer &answer)
{
    return answer.accepted ? "accepted" : "refused, " + Explain(answer);
}

} // namespace

Status ComposeCrlFile(const Workplace &place, const CrlFileOrder &order, CrlFile *fileOut)
{
    Composition composition = {place, order, {}, {}, {}};
    CrlFile file;
    Status status = LoadPki(place.folder, &composition.pki);
    if (status.ok) {
        status = LoadAuthorities(&composition);
    }
    if (status.ok) {
        status = ReadSources(&composition);
    }
    if (!status.ok) {
        return status;
    }
    composition.pki.revocations.insert(composition.pki.revocations.end(), order.further.begin(), order.further.end());
    file.setting.root = composition.authorities[0].certificate;
    for (size_t i = 0; status.ok && i < composition.authorities.size(); ++i) {
        status = AddCrl(&composition, &composition.authorities[i], &file);
    }
    if (status.ok && file.crls.empty()) {
        status = Fail("no key of a CA is in the folder '" + Printable(place.folder) + "'");
    }
    if (status.ok) {
        Encode(&file);
        status = CheckLimits(&file);
    }
    if (status.ok) {
        status = Judge(file, composition.replaced);
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

Status TryPackages(const std::string &directory, const Setting *before, const Setting &after, std::string *reportOut)
{
    std::vector<std::string> messages;
    std::error_code error;
    for (const auto &file : std::filesystem::directory_iterator(directory, error)) {
        if (file.path().extension() == ".cms" && Exists((directory / file.path().stem()).string())) {
            messages.push_back(file.path().string());
        }
    }
    if (error || messages.empty()) {
        return Fail("'" + Printable(directory) + "' holds no package: no X.cms with its X beside it");
    }
    std::sort(messages.begin(), messages.end());
    std::string report;
    size_t changed = 0;
    for (const std::string &path : messages) {
        const std::string content = path.substr(0, path.size() - 4);
        Bytes message;
        const Status status = ReadWhole(path, &message, DEVICE_FILE_SIZE_MAX);
        if (!status.ok) {
            return status;
        }
        const std::string now = AnswerText(AskDeviceAboutFile(after, message, content));
        const std::string was =
            before == nullptr ? "accepted" : AnswerText(AskDeviceAboutFile(*before, message, content));
        if (now != was) {
            report += Printable(path) + ": " + now + (before == nullptr ? "" : " (before: " + was + ")") + "\n";
            ++changed;
        }
    }
    *reportOut = report + std::to_string(changed) + " of " + std::to_string(messages.size()) + " packages " +
                 (before == nullptr ? "would be refused\n" : "get another answer\n");
    return {};
}

} // namespace pkgsign
