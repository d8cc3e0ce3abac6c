#include "pkgsign/authority/packages.h"

#include <algorithm>

#include <openssl/err.h>

#include "pkgsign/authority/rehearsal.h"
#include "pkgsign/crypto/message.h"
#include "pkgsign/files/files.h"
#include "pkgsign/files/objects.h"
#include "pkgsign/timestamp/token.h"

namespace pkgsign
{
namespace
{

Status LoadRoot(const Workplace &place, const Pki &pki, Certificate *rootOut)
{
    const Entry *root = nullptr;
    const Status status = FindRoot(pki, &root);
    return status.ok ? LoadCertificate(place.folder, *root, rootOut) : status;
}

Status LoadParty(const Workplace &place, const Pki &pki, Role role, const std::string &name, int64_t time,
                 Party *partyOut)
{
    const Entry *entry = nullptr;
    Party party;
    Status status = ChooseCertificate(pki, role, name, time, &entry);
    if (status.ok) {
        party.entry = *entry;
        status = LoadCertificate(place.folder, *entry, &party.certificate);
    }
    const Entry *const ca = status.ok ? FindAuthority(pki, entry->issuer) : nullptr;
    if (status.ok && ca == nullptr) {
        return Fail("the certificate of the CA '" + entry->issuer + "' is not in the folder; import it");
    }
    if (status.ok) {
        party.caEntry = *ca;
        status = LoadCertificate(place.folder, *ca, &party.ca);
    }
    if (status.ok) {
        status = LoadEntryKey(place.folder, *entry, party.certificate.get(), place.secrets, &party.key);
    }
    if (status.ok) {
        *partyOut = std::move(party);
    }
    return status;
}

std::vector<Revocation> EntriesOf(const Pki &pki, const std::string &authority)
{
    std::vector<Revocation> entries;
    std::copy_if(pki.revocations.begin(), pki.revocations.end(), std::back_inserter(entries),
                 [&](const Revocation &entry) { return entry.issuer == authority; });
    return entries;
}

// The CRL file that devices have, or one made up from what the folder has revoked, as of `time`.
Status ChooseCrls(const Workplace &place, const Pki &pki, const std::string &path, int64_t time, Setting *setting)
{
    if (!path.empty()) {
        return ReadWhole(path, &setting->crlFile, DEVICE_FILE_SIZE_MAX);
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
        crls.push_back({ca, EntriesOf(pki, entry.authority)});
    }
    return MakeUpCrlFile(crls, time, setting);
}

// A throwaway party in the place of a timestamp authority that is not here.
Status MakeUpTimestamp(const Certificate &ca, int64_t time, Setting *setting, Party *partyOut)
{
    Party party;
    party.ca = ca;
    const Status status = MakeUpCertificate(Role::Timestamp, ca, time, setting, &party.certificate);
    if (status.ok) {
        *partyOut = std::move(party);
    }
    return status;
}

Key PublicKeyOf(const Certificate &certificate)
{
    return ShareKey(X509_get_pubkey(certificate.get()));
}

std::vector<Certificate> Carried(const Party &party)
{
    return {party.certificate, party.ca}; // at most two, so that devices have room
}

Status MakeBare(const PackageOrder &order, const Package &package, const Key &key, Bytes *messageOut)
{
    MessageFields fields;
    fields.signer = package.signer.certificate;
    fields.certificates = Carried(package.signer);
    fields.digest = order.digest;
    fields.contentDigest = package.contentDigest;
    fields.signingTime = order.time;
    return MakeMessage(fields, key, messageOut);
}

Status Stamp(const Party &party, int64_t time, const EVP_MD *digest, const Key &key, const Bytes &bare,
             Bytes *messageOut)
{
    TokenFields fields;
    fields.authority = party.certificate;
    fields.certificates = Carried(party);
    fields.digest = digest;
    fields.genTime = time;
    Bytes token;
    Status status = SignatureValue(bare, &fields.signature);
    if (status.ok) {
        fields.serial = TokenSerial(fields.signature, time);
        status = MakeToken(fields, key, &token);
    }
    return status.ok ? AddToken(bare, token, messageOut) : status;
}

Status Judge(const Setting &setting, const Package &package, const Bytes &message)
{
    if (message.size() > DEVICE_FILE_SIZE_MAX) {
        return Fail("the message is larger than devices take");
    }
    Bytes stated;
    const Status status = StatedDigest(message, &stated);
    if (!status.ok || stated != package.contentDigest) {
        return status.ok ? Fail("the message states another digest than that of the content") : status;
    }
    const DeviceAnswer answer = AskDevice(setting, message, package.isWhole ? &package.content : nullptr);
    return answer.accepted ? Status() : Fail("a device would refuse the package: " + Explain(answer));
}

struct End {
    std::string what;
    int64_t time;
};

std::string HorizonText(std::vector<End> ends, bool hasCrls)
{
    const auto first =
        std::min_element(ends.begin(), ends.end(), [](const End &a, const End &b) { return a.time < b.time; });
    return "This package stays good. Devices accept new ones of these keys until " + FormatTime(first->time) +
           ": then " + first->what + " ends.\n" +
           (hasCrls ? ""
                    : "No CRL file was given (--crl): judged with what this folder has revoked; devices also need CRLs "
                      "that "
                      "are in date.\n");
}

bool IsIssuedBy(const X509_CRL *crl, const Certificate &ca)
{
    return ca != nullptr && X509_NAME_cmp(X509_CRL_get_issuer(crl), X509_get_subject_name(ca.get())) == 0;
}

// What ends, of certificates and of the CRLs that were given.
std::string Horizon(const PackageOrder &order, const Package &package)
{
    std::vector<End> ends;
    for (const Party *const party : {&package.signer, &package.timestamp}) {
        if (party->key != nullptr) {
            ends.push_back({"the certificate '" + party->entry.name + "'", NotAfter(party->certificate.get())});
            ends.push_back({"the certificate '" + party->caEntry.name + "'", NotAfter(party->ca.get())});
        }
    }
    Objects objects;
    if (!order.crlFile.empty() && !DecodeObjects(package.setting.crlFile, order.crlFile, &objects).ok) {
        objects.crls.clear(); // the device's library has taken the file: this is only about what is printed
    }
    for (const auto &crl : objects.crls) {
        if (IsIssuedBy(crl.get(), package.root) || IsIssuedBy(crl.get(), package.signer.ca) ||
            IsIssuedBy(crl.get(), package.timestamp.ca)) {
            ends.push_back({"the CRL of '" + NameText(X509_CRL_get_issuer(crl.get())) + "'",
                            TimeSeconds(X509_CRL_get0_nextUpdate(crl.get()))});
        }
    }
    return HorizonText(std::move(ends), !order.crlFile.empty());
}

// The bare token in octets that hold it or a timestamp response around it.
Status TokenOf(const Bytes &given, Bytes *tokenOut)
{
    const unsigned char *next = given.data();
    const TsResponsePtr response(d2i_TS_RESP(nullptr, &next, static_cast<long>(given.size())));
    PKCS7 *const inside = response == nullptr ? nullptr : TS_RESP_get_token(response.get());
    ERR_clear_error();
    if (inside != nullptr && next == given.data() + given.size()) {
        *tokenOut = EncodeDer(i2d_PKCS7, inside);
        return {};
    }
    next = given.data();
    const Pkcs7Ptr token(d2i_PKCS7(nullptr, &next, static_cast<long>(given.size())));
    if (token == nullptr || next != given.data() + given.size()) {
        return FailCrypto("what was given is neither a timestamp token nor a granted timestamp response");
    }
    *tokenOut = given;
    return {};
}

} // namespace

Status OpenPackage(const Workplace &place, const PackageOrder &order, Package *packageOut)
{
    Package package;
    Status status = LoadPki(place.folder, &package.pki);
    if (status.ok) {
        status = LoadRoot(place, package.pki, &package.root);
    }
    if (status.ok) {
        status = LoadParty(place, package.pki, Role::Signer, order.signer, order.time, &package.signer);
    }
    if (status.ok && order.isStamped) {
        status = LoadParty(place, package.pki, Role::Timestamp, order.timestamp, order.time, &package.timestamp);
        status =
            status.ok
                ? status
                : Fail(status.reason + "; a package needs a timestamp (--no-timestamp leaves it to pkgsign timestamp)");
    }
    package.setting.root = package.root;
    if (status.ok) {
        status = ChooseCrls(place, package.pki, order.crlFile, order.time, &package.setting);
    }
    if (status.ok) {
        *packageOut = std::move(package);
    }
    return status;
}

Status TryPackage(const Workplace &, const PackageOrder &order, Package *package)
{
    Setting trial = package->setting;
    Party timestamp = package->timestamp;
    Key signerKey;
    Key timestampKey;
    Bytes bare;
    Bytes message;
    Status status;
    if (!order.isStamped) {
        status = MakeUpTimestamp(package->signer.ca, order.time, &trial, &timestamp);
    }
    if (status.ok) {
        status = StandInFor(PublicKeyOf(package->signer.certificate), &trial, &signerKey);
    }
    if (status.ok) {
        status = StandInFor(PublicKeyOf(timestamp.certificate), &trial, &timestampKey);
    }
    if (status.ok) {
        status = MakeBare(order, *package, signerKey, &bare);
    }
    if (status.ok) {
        status = Stamp(timestamp, order.time, order.digest, timestampKey, bare, &message);
    }
    if (status.ok) {
        status = Judge(trial, *package, message);
    }
    if (status.ok) {
        package->horizon = Horizon(order, *package);
    }
    return status;
}

Status SignPackage(const PackageOrder &order, Package *package, Bytes *messageOut)
{
    Bytes bare;
    Bytes message;
    Status status = MakeBare(order, *package, package->signer.key, &bare);
    if (!status.ok || !order.isStamped) {
        *messageOut = std::move(bare);
        return status;
    }
    status = Stamp(package->timestamp, order.time, order.digest, package->timestamp.key, bare, &message);
    if (status.ok) {
        status = Judge(package->setting, *package, message);
    }
    if (status.ok) {
        *messageOut = std::move(message);
    }
    return status;
}

std::string DescribePackage(const PackageOrder &order, const Package &package)
{
    std::string digest;
    for (const uint8_t octet : package.contentDigest) {
        char two[4] = {};
        (void)std::snprintf(two, sizeof(two), "%02x", static_cast<unsigned>(octet));
        digest += two;
    }
    return "Signer: '" + package.signer.entry.name + "', " + Printable(package.signer.entry.subject) + "\n" +
           (order.isStamped ? "Timestamp: '" + package.timestamp.entry.name + "', " +
                                  Printable(package.timestamp.entry.subject) + ", " + FormatTime(order.time) + "\n"
                            : "No timestamp: devices refuse this package until it has one (pkgsign timestamp).\n") +
           "Digest of the content: " + digest + "\n" + package.horizon;
}

Status StampMessage(const Workplace &place, const StampOrder &order, const Bytes &message, Bytes *messageOut,
                    std::string *reportOut)
{
    Package package;
    Bytes stamped;
    Key throwaway;
    Status status = LoadPki(place.folder, &package.pki);
    if (status.ok) {
        status = LoadRoot(place, package.pki, &package.root);
    }
    package.setting.root = package.root;
    if (status.ok && order.given == nullptr) {
        status = LoadParty(place, package.pki, Role::Timestamp, order.timestamp, order.time, &package.timestamp);
    }
    if (status.ok) {
        status = ChooseCrls(place, package.pki, order.crlFile, order.time, &package.setting);
    }
    if (status.ok) {
        status = StatedDigest(message, &package.contentDigest);
    }
    Bytes token;
    if (status.ok && order.given != nullptr) {
        status = TokenOf(*order.given, &token);
        status = status.ok ? AddToken(message, token, &stamped) : status;
    } else if (status.ok) {
        Setting trial = package.setting;
        status = StandInFor(PublicKeyOf(package.timestamp.certificate), &trial, &throwaway);
        if (status.ok) {
            status = Stamp(package.timestamp, order.time, order.digest, throwaway, message, &stamped);
        }
        if (status.ok) {
            status = Judge(trial, package, stamped);
        }
        if (status.ok && !place.dryRun) {
            status = Stamp(package.timestamp, order.time, order.digest, package.timestamp.key, message, &stamped);
        }
    }
    if (status.ok && (order.given != nullptr || !place.dryRun)) {
        status = Judge(package.setting, package, stamped);
    }
    if (status.ok) {
        *reportOut = order.given != nullptr
                         ? "The token given was put in.\n"
                         : "Timestamp: '" + package.timestamp.entry.name + "', " + FormatTime(order.time) + "\n";
        *messageOut = std::move(stamped);
    }
    return status;
}

} // namespace pkgsign
