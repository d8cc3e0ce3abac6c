// Messages and timestamp tokens written member by member and really signed: what the release side refuses to make.
#ifndef CRAFTED_MESSAGE_H
#define CRAFTED_MESSAGE_H

#include <functional>
#include <string>
#include <vector>

#include "pkgsign/digest.h"
#include "pkgsign/signature.h"
#include "tests/support/der_records.h"
#include "tests/support/parties.h"
#include "tests/verify/verify_fixture.h"

inline PkgsignBytes Sha256(const PkgsignBytes &data)
{
    PkgsignBytes hash;
    EXPECT_TRUE(PkgsignHash(PkgsignDigest::Sha256, data, &hash).ok);
    return hash;
}

inline PkgsignBytes SignOctets(const Party &party, const PkgsignBytes &data)
{
    PkgsignBytes signature;
    EXPECT_TRUE(PkgsignSignOctets(party.key, PkgsignDigest::Sha256, data, &signature).ok);
    return signature;
}

// How a signer names its certificate.
inline der::Bytes SignerIdentifier(const Party &party)
{
    PkgsignBytes issuer;
    PkgsignBytes serial;
    EXPECT_TRUE(PkgsignGetIssuer(party.certificate, &issuer).ok);
    EXPECT_TRUE(PkgsignGetSerialNumber(party.certificate, &serial).ok);
    return der::IssuerAndSerialNumber(issuer, der::IntegerRaw(serial));
}

// The message of a party: its certificates, its signature over `signedOctets` and a good token are added to `signer` and
// `data`.
inline PkgsignBytes CraftMessage(const Party &party, const PkgsignBytes &signedOctets, der::SignerInfo signer,
                                 der::SignedData data = {})
{
    const PkgsignBytes signature = SignOctets(party, signedOctets);
    PkgsignBytes token;
    EXPECT_TRUE(PkgsignMakeToken(MessageRequest("").tokenRequest, signature, &token).ok);
    signer.sid = SignerIdentifier(party);
    signer.signature = der::OctetString(signature);
    signer.unsignedAttrs = der::UnsignedAttributes({der::Attribute("1.2.840.113549.1.9.16.2.14", {token})});
    data.certificates = der::CertificateSet({party.certificate, AllParties().issuingCa.certificate});
    data.signerInfos = der::Set({der::Encode(signer)});
    return der::MessageOf(data);
}

// The same with these signed attributes.
inline PkgsignBytes CraftMessage(const Party &party, const std::vector<der::Bytes> &attributes)
{
    der::SignerInfo signer;
    signer.signedAttrs = der::SignedAttributes(attributes);
    return CraftMessage(party, der::Set(attributes), signer);
}

// A good message over `content` with the token that `make` returns for its signature value.
inline PkgsignBytes MessageWithToken(const std::string &content,
                                     const std::function<PkgsignBytes(const PkgsignBytes &signature)> &make)
{
    PkgsignMessageRequest request = MessageRequest(content);
    request.timestamp = PkgsignTimestamp::None;
    const PkgsignBytes message = MakeMessage(request);
    PkgsignBytes signature;
    PkgsignBytes timed;
    EXPECT_TRUE(PkgsignGetSignatureValue(message, &signature).ok);
    EXPECT_TRUE(PkgsignEmbedToken(message, make(signature), &timed).ok);
    return timed;
}

// Content of a token over `signature`, at PACKAGE_TIME.
inline der::TstInfo CraftTstInfo(const PkgsignBytes &signature)
{
    der::TstInfo info;
    info.messageImprint =
        der::MessageImprint(der::AlgorithmIdentifier("2.16.840.1.101.3.4.2.1"), der::OctetString(Sha256(signature)));
    info.genTime = der::GeneralizedTime("20220101000000Z");
    return info;
}

// A token that nobody signs.
inline PkgsignBytes CraftToken(const der::TstInfo &info)
{
    der::SignedData data;
    data.version = der::Integer(3);
    data.encapContentInfo =
        der::Sequence({der::Oid("1.2.840.113549.1.9.16.1.4"), der::Explicit(0, der::OctetString(der::Encode(info)))});
    data.signerInfos = der::Set({});
    return der::MessageOf(data);
}

#endif
