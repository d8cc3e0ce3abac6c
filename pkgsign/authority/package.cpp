// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/authority/package.h"

#include "pkgsign/authority/rehearsal.h"
#include "pkgsign/crypto/message.h"
#include "pkgsign/files/files.h"
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

} // namespace

Key PublicKeyOf(const Certificate &certificate)
{
    return ShareKey(X509_get_pubkey(certificate.get()));
}

std::vector<Certificate> Carried(const Party &party)
{
    const bool isRoot = X509_NAME_cmp(X509_get_subject_name(party.ca.get()), X509_get_issuer_name(party.ca.get())) == 0;
    return isRoot ? std::vector<Certificate>{party.certificate} : std::vector<Certificate>{party.certificate, party.ca};
}

Status StampWith(const Party &party, int64_t time, const EVP_MD *digest, const Key &key, const Bytes &bare,
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

Status StampMadeUp(const Certificate &ca, int64_t time, const EVP_MD *digest, const Bytes &bare, Setting *setting,
                   Bytes *messageOut)
{
    Party timestamp;
    Key key;
    Status status = MakeUpTimestamp(ca, time, setting, &timestamp);
    if (status.ok) {
        status = StandInFor(PublicKeyOf(timestamp.certificate), setting, &key);
    }
    return status.ok ? StampWith(timestamp, time, digest, key, bare, messageOut) : status;
}

Status JudgePackage(const Setting &setting, const Package &package, const Bytes &message)
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

} // namespace pkgsign
