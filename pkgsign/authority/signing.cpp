// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/authority/signing.h"

#include <algorithm>

#include "pkgsign/authority/rehearsal.h"
#include "pkgsign/crypto/message.h"
#include "pkgsign/files/files.h"
#include "pkgsign/timestamp/token.h"

namespace pkgsign
{
namespace
{

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

// The first token from elsewhere with which the package is accepted.
Status StampFromElsewhere(const PackageOrder &order, const Package &package, const Bytes &bare, Bytes *messageOut)
{
    Bytes signature;
    const Status status = SignatureValue(bare, &signature);
    const AcceptToken accept = [&](const CheckedToken &token) {
        Bytes message;
        Status judged = AddToken(bare, token.der, &message);
        if (judged.ok) {
            judged = JudgePackage(package.setting, package, message);
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
        status =
            status.ok ? StampWith(package->timestamp, order.time, order.digest, timestampKey, bare, &message) : status;
    } else if (status.ok) {
        status = StampMadeUp(package->signer.ca, order.time, order.digest, bare, &trial, &message);
    }
    if (status.ok) {
        status = JudgePackage(trial, *package, message);
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
                     ? StampWith(package.timestamp, order.time, order.digest, package.timestamp.key, bare, &message)
                 : order.tokenSource == TokenSource::Elsewhere
                     ? StampFromElsewhere(order, package, bare, &message)
                     : StampMadeUp(package.signer.ca, order.time, order.digest, bare, &setting, &message);
    }
    if (status.ok) {
        status = JudgePackage(setting, package, message);
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

} // namespace pkgsign
