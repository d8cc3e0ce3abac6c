// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/authority/rehearsal.h"

#include <algorithm>

#include "pkgsign/authority/certificates.h"
#include "pkgsign/crypto/keys.h"
#include "pkgsign/crypto/message.h"
#include "pkgsign/timestamp/token.h"

namespace pkgsign
{
namespace
{

constexpr int MADE_UP_KEY_BITS = 2048;

Key PublicKeyOf(const Certificate &certificate)
{
    return ShareKey(X509_get_pubkey(certificate.get()));
}

Status Complete(Chain *chain, int64_t time, Setting *setting)
{
    Status status;
    if (chain->issuingCa == nullptr) {
        status = MakeUpCertificate(Role::IssuingCa, chain->root, time, setting, &chain->issuingCa);
    }
    if (status.ok && chain->signer == nullptr) {
        status = MakeUpCertificate(Role::Signer, chain->issuingCa, time, setting, &chain->signer);
    }
    if (status.ok && chain->timestamp == nullptr) {
        status = MakeUpCertificate(Role::Timestamp, chain->issuingCa, time, setting, &chain->timestamp);
    }
    return status;
}

// A token of the chain's timestamp authority, with a throwaway key.
Status StampAside(const Chain &chain, int64_t time, const Key &key, const Bytes &signature, Bytes *tokenOut)
{
    TokenFields token;
    token.authority = chain.timestamp;
    token.certificates = {chain.timestamp, chain.issuingCa};
    token.genTime = time;
    token.signature = signature;
    token.serial = TokenSerial(signature, time);
    return MakeToken(token, key, tokenOut);
}

// stamp: null for a throwaway key.
Status MakePackage(const Chain &chain, const Bytes &content, int64_t time, const StampSignature &stamp,
                   Setting *setting, Bytes *messageOut)
{
    MessageFields message;
    message.signer = chain.signer;
    message.certificates = {chain.signer, chain.issuingCa};
    message.contentDigest = Digest(message.digest, content);
    message.signingTime = time;
    Key signerKey;
    Key timestampKey;
    Bytes bare;
    Bytes signature;
    Bytes token;
    Status status = StandInFor(PublicKeyOf(chain.signer), setting, &signerKey);
    if (status.ok) {
        status = StandInFor(PublicKeyOf(chain.timestamp), setting, &timestampKey);
    }
    if (status.ok) {
        status = SignMessage(message, SignWithKey(signerKey, message.digest), &bare);
    }
    if (status.ok) {
        status = SignatureValue(bare, &signature);
    }
    if (status.ok) {
        status = stamp != nullptr ? stamp(signature, &token) : StampAside(chain, time, timestampKey, signature, &token);
    }
    return status.ok ? AddToken(bare, token, messageOut) : status;
}

// A package of the chain before a device with the CRL file of the setting.
Status Try(const Chain &asked, int64_t time, const StampSignature &stamp, Setting *setting)
{
    const Bytes content = {'r', 'e', 'h', 'e', 'a', 'r', 's', 'a', 'l'};
    Chain chain = asked;
    Bytes message;
    Status status = Complete(&chain, time, setting);
    if (status.ok) {
        status = MakePackage(chain, content, time, stamp, setting, &message);
    }
    if (!status.ok) {
        return status;
    }
    const DeviceAnswer answer = AskDevice(*setting, message, &content);
    return answer.accepted ? Status()
                           : Fail("a device would refuse packages of this certificate at " + FormatTime(time) + ": " +
                                  Explain(answer));
}

} // namespace

Status MakeUpCertificate(Role role, const Certificate &issuer, int64_t time, Setting *setting, Certificate *out)
{
    CertificateFields fields;
    fields.role = role;
    fields.issuer = issuer;
    fields.notBefore = time;
    fields.notAfter = time;
    Key issuerKey;
    Status status = MakeName("DE", "Throwaway", RoleName(role), &fields.subject);
    if (status.ok) {
        status = ThrowawayKey(MADE_UP_KEY_BITS, &fields.publicKey);
    }
    if (status.ok) {
        status = StandInFor(PublicKeyOf(issuer), setting, &issuerKey);
    }
    if (status.ok) {
        fields.serial = DerivedSerial(fields, SERIAL_SIZE);
        status = MakeCertificate(fields, issuerKey.get(), out);
    }
    return status;
}

Status MakeUpCrlFile(const std::vector<MadeUpCrl> &crls, int64_t time, Setting *setting)
{
    Bytes file;
    Bytes certificates;
    for (const MadeUpCrl &madeUp : crls) {
        // A token may be made later, by another clock.
        CrlFields fields = {madeUp.issuer, "1", time, time + SECONDS_PER_DAY, madeUp.entries};
        Key key;
        Crl crl;
        Status status = StandInFor(PublicKeyOf(madeUp.issuer), setting, &key);
        if (status.ok) {
            status = MakeCrl(fields, key.get(), &crl);
        }
        if (!status.ok) {
            return status;
        }
        const Bytes der = EncodeCrl(crl.get());
        const bool isRoot = X509_cmp(madeUp.issuer.get(), setting->root.get()) == 0; // which the device has
        const Bytes certificate = isRoot ? Bytes() : EncodeCertificate(madeUp.issuer.get());
        file.insert(file.end(), der.begin(), der.end());
        certificates.insert(certificates.end(), certificate.begin(), certificate.end());
    }
    file.insert(file.end(), certificates.begin(), certificates.end());
    setting->crlFile = std::move(file);
    return {};
}

Status MakeTrialCa(const Certificate &root, const CertificateFields &fields, Setting *setting, Certificate *out)
{
    Key rootKey;
    const Status status = StandInFor(PublicKeyOf(root), setting, &rootKey);
    const CertificateFields trial = {
        Role::IssuingCa, {0x7F},          NamePtr(X509_NAME_dup(fields.subject.get())), root, fields.notBefore,
        fields.notAfter, fields.publicKey};
    return status.ok ? MakeCertificate(trial, rootKey.get(), out) : status;
}

Status RehearseRenewal(const Certificate &root, const Certificate &oldCa, const CertificateFields &renewed)
{
    Setting setting;
    setting.root = root;
    Certificate newCa;
    Status status = MakeTrialCa(root, renewed, &setting, &newCa);
    if (!status.ok) {
        return status;
    }
    const bool isSameName = IsSameNameForDevice(X509_get_subject_name(oldCa.get()), renewed.subject.get());
    const int64_t before = NotBefore(oldCa.get());
    const int64_t after = std::min(NotAfter(oldCa.get()), std::max(renewed.notBefore, before + 1));
    std::vector<MadeUpCrl> crls = {{root, {}}, {newCa, {}}};
    status = MakeUpCrlFile({{root, {}}, {oldCa, {}}}, before, &setting);
    const Bytes older = setting.crlFile;
    if (!isSameName) {
        crls.push_back({oldCa, {}});
    }
    if (status.ok) {
        status = MakeUpCrlFile(crls, after, &setting);
    }
    if (status.ok) {
        status = CheckNewer(setting, older);
    }
    return status.ok ? Try({root, oldCa, nullptr, nullptr}, before, nullptr, &setting) : status;
}

Status RehearseChain(const Chain &chain, int64_t time)
{
    return RehearseStamp(chain, time, nullptr);
}

Status RehearseStamp(const Chain &asked, int64_t time, const StampSignature &stamp)
{
    Chain chain = asked;
    Setting setting;
    setting.root = chain.root;
    Key rootKey;
    Status status = StandInFor(PublicKeyOf(chain.root), &setting, &rootKey);
    if (status.ok) {
        status = Complete(&chain, time, &setting);
    }
    if (status.ok) {
        status = MakeUpCrlFile({{chain.root, {}}, {chain.issuingCa, {}}}, time, &setting);
    }
    return status.ok ? Try(chain, time, stamp, &setting) : status;
}

} // namespace pkgsign
