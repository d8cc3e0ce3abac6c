// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/authority/stamping.h"

#include <algorithm>

#include "pkgsign/authority/package.h"
#include "pkgsign/authority/rehearsal.h"
#include "pkgsign/crypto/message.h"
#include "pkgsign/files/files.h"
#include "pkgsign/files/objects.h"
#include "pkgsign/timestamp/token.h"

namespace pkgsign
{
namespace
{

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
        status = StampWith(timestamp, order.time, order.digest, throwaway, message, &stamped);
    }
    if (status.ok) {
        status = JudgePackage(trial, *package, stamped);
    }
    if (status.ok && !place.dryRun) {
        status = StampWith(timestamp, order.time, order.digest, timestamp.key, message, &stamped);
        status = status.ok ? JudgePackage(package->setting, *package, stamped) : status;
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
        status = status.ok ? JudgePackage(package.setting, package, stamped) : status;
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
    return status.ok ? JudgePackage(package.setting, package, stamped) : status;
}

Status JudgeStamped(const Workplace &place, const StampOrder &order, const Bytes &message)
{
    Package package;
    const Status status = OpenStamp(place, order, message, &package);
    return status.ok ? JudgePackage(package.setting, package, message) : status;
}

} // namespace pkgsign
