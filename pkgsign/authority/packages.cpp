// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/authority/packages.h"

#include <algorithm>

#include "pkgsign/authority/rehearsal.h"
#include "pkgsign/crypto/message.h"
#include "pkgsign/files/files.h"
#include "pkgsign/files/objects.h"
#include "pkgsign/timestamp/token.h"

namespace pkgsign
{
namespace
{

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

// At most two, so that devices have space; not a root, which they have.
std::vector<Certificate> Carried(const Party &party)
{
    const bool isRoot = X509_NAME_cmp(X509_get_subject_name(party.ca.get()), X509_get_issuer_name(party.ca.get())) == 0;
    return isRoot ? std::vector<Certificate>{party.certificate} : std::vector<Certificate>{party.certificate, party.ca};
}

MessageFields FieldsOf(const PackageOrder &order, const Package &package)
{
    MessageFields fields;
    fields.signer = package.signer.certificate;
    fields.certificates = Carried(package.signer);
    fields.digest = order.digest;
    fields.contentDigest = package.contentDigest;
    fields.signingTime = order.signingTime;
    return fields;
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

// A throwaway token in the place of one that is not at hand.
Status StampMadeUp(const Certificate &ca, int64_t time, const EVP_MD *digest, const Bytes &bare, Setting *setting,
                   Bytes *messageOut)
{
    Party timestamp;
    Key key;
    Status status = MakeUpTimestamp(ca, time, setting, &timestamp);
    if (status.ok) {
        status = StandInFor(PublicKeyOf(timestamp.certificate), setting, &key);
    }
    return status.ok ? Stamp(timestamp, time, digest, key, bare, messageOut) : status;
}

// The first token from elsewhere with which the package is accepted.
Status StampFromElsewhere(const PackageOrder &order, const Package &package, const Bytes &bare, Bytes *messageOut)
{
    Bytes signature;
    const Status status = SignatureValue(bare, &signature);
    const AcceptToken accept = [&](const CheckedToken &token) {
        Bytes message;
        Status judged = AddToken(bare, token.der, &message);
        if (judged.ok) {
            judged = Judge(package.setting, package, message);
        }
        if (judged.ok) {
            *messageOut = std::move(message);
        }
        return judged;
    };
    return status.ok ? order.getToken(signature, accept) : status;
}

std::string HorizonText(const PackageOrder &order, const Package &package)
{
    const bool hasCrls = !order.crlFile.empty();
    const std::string devices = hasCrls ? "evices with this CRL file accept " : "evices accept ";
    return (order.tokenSource == TokenSource::None
                ? "D" + devices + "this package if it is timestamped by "
                : "It is judged at its timestamp and stays good; d" + devices + "new ones of these keys until ") +
           FormatTime(package.horizon.time) + ": then " + Printable(package.horizon.what) + " ends.\n" +
           (hasCrls ? ""
                    : "No CRL file was given (--crl): judged with what is known to be revoked here; devices also need "
                      "CRLs that are in date.\n");
}

// Who signs, and the CAs above, the root last.
Status OpenSigner(const Workplace &place, const PackageOrder &order, Package *package)
{
    if (!order.files.certificate.empty()) {
        const Status status = LoadPartyFiles(order.files, place.secrets, &package->signer, &package->authorities);
        package->root = status.ok ? package->authorities.back() : nullptr;
        return status;
    }
    Status status = LoadRoot(place, package->pki, &package->root);
    if (status.ok) {
        status = LoadParty(place, package->pki, Role::Signer, order.signer, order.time, &package->signer,
                           order.hasSignerKey);
    }
    package->authorities = {package->signer.ca, package->root};
    return status;
}

Status MakeUpCrls(const std::vector<Certificate> &authorities, int64_t time, Setting *setting)
{
    std::vector<MadeUpCrl> crls;
    for (const Certificate &ca : authorities) {
        const bool isThere = std::any_of(
            crls.begin(), crls.end(), [&](const MadeUpCrl &crl) { return X509_cmp(crl.issuer.get(), ca.get()) == 0; });
        if (!isThere) {
            crls.push_back({ca, {}});
        }
    }
    return MakeUpCrlFile(crls, time, setting);
}

// What judging a message of this PKI needs: root, CRLs and the digest that the message states.
Status OpenStamp(const Workplace &place, const StampOrder &order, const Bytes &message, Package *packageOut)
{
    Package package;
    Status status = order.root.empty() ? LoadPki(place.folder, &package.pki) : Status();
    if (status.ok) {
        status = order.root.empty() ? LoadRoot(place, package.pki, &package.root)
                                    : ReadCertificate(order.root, &package.root);
    }
    package.setting.root = package.root;
    if (status.ok) {
        const int64_t time = order.given == nullptr ? order.time : order.given->genTime;
        status = ChooseCrls(place, package.pki, order.crlFile, time, &package.setting);
    }
    if (status.ok) {
        status = StatedDigest(message, &package.contentDigest);
    }
    if (status.ok) {
        *packageOut = std::move(package);
    }
    return status;
}

// The CAs of the folder or, where there is none, all that the files and the message bring.
Status LoadCas(const Workplace &place, const StampOrder &order, const Bytes &message, const Package &package,
               std::vector<Certificate> *casOut)
{
    if (!order.root.empty()) {
        Objects objects;
        Status status = DecodeObjects(package.setting.crlFile, order.crlFile, &objects);
        if (status.ok) {
            status = CarriedCertificates(message, casOut);
        }
        casOut->push_back(package.root);
        casOut->insert(casOut->end(), objects.certificates.begin(), objects.certificates.end());
        return status;
    }
    Status status;
    for (const Entry &entry : package.pki.certificates) {
        Certificate ca;
        if (status.ok && entry.role == Role::IssuingCa && FindAuthority(package.pki, entry.authority) == &entry) {
            status = LoadCertificate(place.folder, entry, &ca);
            casOut->push_back(std::move(ca));
        }
    }
    return status;
}

// The CA that has issued the certificate of a message's signer.
Status FindSignerCa(const Workplace &place, const StampOrder &order, const Bytes &message, const Package &package,
                    Certificate *caOut)
{
    NamePtr issuer;
    std::vector<Certificate> cas;
    Status status = SignerIssuer(message, &issuer);
    if (status.ok) {
        status = LoadCas(place, order, message, package, &cas);
    }
    if (!status.ok) {
        return status;
    }
    const auto ca = std::find_if(cas.begin(), cas.end(), [&](const Certificate &candidate) {
        return X509_NAME_cmp(X509_get_subject_name(candidate.get()), issuer.get()) == 0;
    });
    if (ca == cas.end()) {
        return Fail("the certificate of the CA '" + Printable(NameText(issuer.get())) + "' is " +
                    (order.root.empty() ? "not in the folder; import it"
                                        : "neither in '" + Printable(order.crlFile) + "' nor in the message"));
    }
    *caOut = *ca;
    return {};
}

// Puts in a token of the folder's timestamp key, tried with a throwaway one. In a dry run that stays.
Status StampLocally(const Workplace &place, const StampOrder &order, const Bytes &message, Package *package,
                    Bytes *stampedOut, std::string *signedOut)
{
    Bytes token;
    Setting trial = package->setting;
    Key throwaway;
    Bytes stamped;
    Status status = LoadParty(place, package->pki, Role::Timestamp, order.timestamp, order.time, &package->timestamp);
    const Party &timestamp = package->timestamp;
    if (status.ok) {
        status = StandInFor(PublicKeyOf(timestamp.certificate), &trial, &throwaway);
    }
    if (status.ok) {
        status = Stamp(timestamp, order.time, order.digest, throwaway, message, &stamped);
    }
    if (status.ok) {
        status = Judge(trial, *package, stamped);
    }
    if (status.ok && !place.dryRun) {
        status = Stamp(timestamp, order.time, order.digest, timestamp.key, message, &stamped);
        status = status.ok ? Judge(package->setting, *package, stamped) : status;
    }
    if (status.ok) {
        status = FindToken(stamped, &token);
    }
    if (status.ok) {
        *signedOut = DescribeToken(token);
        *stampedOut = std::move(stamped);
    }
    return status;
}

} // namespace

Status OpenPackage(const Workplace &place, const PackageOrder &order, Package *packageOut)
{
    const bool hasFiles = !order.files.certificate.empty();
    const bool isStampedHere = order.tokenSource == TokenSource::Folder;
    Package package;
    Status status = hasFiles && !isStampedHere ? Status() : LoadPki(place.folder, &package.pki);
    if (status.ok) {
        status = OpenSigner(place, order, &package);
    }
    if (status.ok && isStampedHere) {
        status = LoadParty(place, package.pki, Role::Timestamp, order.timestamp, order.time, &package.timestamp,
                           order.hasTimestampKey);
        status =
            status.ok
                ? status
                : Fail(status.reason + "; a package needs a timestamp (--no-timestamp leaves it to pkgsign timestamp)");
    }
    if (status.ok && isStampedHere) {
        package.authorities.insert(package.authorities.begin(), package.timestamp.ca);
    }
    package.setting.root = package.root;
    if (status.ok) {
        status = hasFiles && order.crlFile.empty()
                     ? MakeUpCrls(package.authorities, order.time, &package.setting)
                     : ChooseCrls(place, package.pki, order.crlFile, order.time, &package.setting);
    }
    if (status.ok) {
        *packageOut = std::move(package);
    }
    return status;
}

Status TryPackage(const PackageOrder &order, Package *package)
{
    Setting trial = package->setting;
    Key signerKey;
    Key timestampKey;
    Bytes bare;
    Bytes message;
    Status status = StandInFor(PublicKeyOf(package->signer.certificate), &trial, &signerKey);
    if (status.ok) {
        status = SignMessage(FieldsOf(order, *package), SignWithKey(signerKey, order.digest), &bare);
    }
    if (status.ok && order.tokenSource == TokenSource::Folder) {
        status = StandInFor(PublicKeyOf(package->timestamp.certificate), &trial, &timestampKey);
        status = status.ok ? Stamp(package->timestamp, order.time, order.digest, timestampKey, bare, &message) : status;
    } else if (status.ok) {
        status = StampMadeUp(package->signer.ca, order.time, order.digest, bare, &trial, &message);
    }
    if (status.ok) {
        status = Judge(trial, *package, message);
    }
    if (status.ok) {
        std::vector<Party> parties = {package->signer};
        if (order.tokenSource == TokenSource::Folder) {
            parties.push_back(package->timestamp);
        }
        package->horizon =
            FindHorizon(parties, package->authorities, order.crlFile.empty() ? Bytes() : package->setting.crlFile);
    }
    return status;
}

Status EncodeRequest(const PackageOrder &order, const Package &package, Bytes *attributesOut)
{
    return EncodeAttributes(FieldsOf(order, package), attributesOut);
}

Status SignPackage(const PackageOrder &order, const Package &package, const SignOctets &sign, Bytes *messageOut)
{
    const SignOctets checked = [&](const Bytes &octets, Bytes *signatureOut) {
        Bytes signature;
        Status status = sign(octets, &signature);
        if (status.ok) {
            status = CheckSignature(package.signer.certificate.get(), order.digest, octets, signature,
                                    order.signatureOrigin);
        }
        *signatureOut = std::move(signature);
        return status;
    };
    Setting setting = package.setting;
    Bytes bare;
    Bytes message;
    Status status = SignMessage(FieldsOf(order, package), checked, &bare);
    if (status.ok) {
        status = order.tokenSource == TokenSource::Folder
                     ? Stamp(package.timestamp, order.time, order.digest, package.timestamp.key, bare, &message)
                 : order.tokenSource == TokenSource::Elsewhere
                     ? StampFromElsewhere(order, package, bare, &message)
                     : StampMadeUp(package.signer.ca, order.time, order.digest, bare, &setting, &message);
    }
    if (status.ok) {
        status = Judge(setting, package, message);
    }
    if (status.ok) {
        *messageOut = std::move(order.tokenSource == TokenSource::None ? bare : message);
    }
    return status;
}

Status DescribePackage(const PackageOrder &order, const Package &package, std::string *textOut)
{
    Bytes attributes;
    const Status status = EncodeRequest(order, package, &attributes);
    if (!status.ok) {
        return status;
    }
    const Entry &timestamp = package.timestamp.entry;
    const std::string stamp =
        order.tokenSource == TokenSource::Folder
            ? "Timestamp: '" + timestamp.name + "', " + Printable(timestamp.subject) + ", " + FormatTime(order.time)
        : order.tokenSource == TokenSource::Elsewhere
            ? "Timestamp: " + order.tokenOrigin
            : "No timestamp: devices refuse this package until it has one (pkgsign timestamp).";
    *textOut = "Signer: '" + Printable(package.signer.entry.name) + "', " + Printable(package.signer.entry.subject) +
               "\n" + stamp + "\n" + DescribeAttributes(attributes) + HorizonText(order, package);
    return {};
}

Status StampMessage(const Workplace &place, const StampOrder &order, const Bytes &message, Bytes *messageOut,
                    std::string *reportOut)
{
    Package package;
    Bytes stamped;
    std::string content; // of a token that is signed here
    Status status = OpenStamp(place, order, message, &package);
    if (status.ok && order.given == nullptr) {
        status = StampLocally(place, order, message, &package, &stamped, &content);
    } else if (status.ok) {
        status = AddToken(message, order.given->der, &stamped);
        status = status.ok ? Judge(package.setting, package, stamped) : status;
    }
    if (status.ok) {
        *reportOut =
            order.given != nullptr
                ? "The token given was put in, of " + FormatTime(order.given->genTime) + ".\n"
                : "Timestamp: '" + package.timestamp.entry.name + "', " + FormatTime(order.time) + "\n" + content;
        *messageOut = std::move(stamped);
    }
    return status;
}

Status TryStamp(const Workplace &place, const StampOrder &order, const Bytes &message)
{
    Package package;
    Certificate ca;
    Bytes stamped;
    Status status = OpenStamp(place, order, message, &package);
    if (status.ok) {
        status = FindSignerCa(place, order, message, package, &ca);
    }
    if (status.ok) {
        status = StampMadeUp(ca, order.time, order.digest, message, &package.setting, &stamped);
    }
    return status.ok ? Judge(package.setting, package, stamped) : status;
}

Status JudgeStamped(const Workplace &place, const StampOrder &order, const Bytes &message)
{
    Package package;
    const Status status = OpenStamp(place, order, message, &package);
    return status.ok ? Judge(package.setting, package, message) : status;
}

} // namespace pkgsign
