// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Messages and timestamp tokens written member by member and really signed: what the release side refuses to make.
#ifndef CRAFTED_MESSAGE_H
#define CRAFTED_MESSAGE_H

#include <functional>
#include <string>
#include <vector>

#include "tests/forge/digest.h"
#include "tests/forge/signature.h"
#include "tests/support/der_records.h"
#include "tests/support/parties.h"
#include "tests/verify/verify_fixture.h"

inline forge::Bytes Sha256(const forge::Bytes &data)
{
    forge::Bytes hash;
    EXPECT_TRUE(forge::Hash(forge::Digest::Sha256, data, &hash).ok);
    return hash;
}

inline forge::Bytes SignOctets(const Party &party, const forge::Bytes &data)
{
    forge::Bytes signature;
    EXPECT_TRUE(forge::SignOctets(party.key, forge::Digest::Sha256, data, &signature).ok);
    return signature;
}

// How a signer names its certificate.
inline der::Bytes SignerIdentifier(const Party &party)
{
    forge::Bytes issuer;
    forge::Bytes serial;
    EXPECT_TRUE(forge::GetIssuer(party.certificate, &issuer).ok);
    EXPECT_TRUE(forge::GetSerialNumber(party.certificate, &serial).ok);
    return der::IssuerAndSerialNumber(issuer, der::IntegerRaw(serial));
}

// The message of a party: its certificates, its signature over `signedOctets` and a good token are added to `signer`
// and `data`.
inline forge::Bytes CraftMessage(const Party &party, const forge::Bytes &signedOctets, der::SignerInfo signer,
                                 der::SignedData data = {})
{
    const forge::Bytes signature = SignOctets(party, signedOctets);
    forge::Bytes token;
    EXPECT_TRUE(forge::MakeToken(MessageRequest("").tokenRequest, signature, &token).ok);
    signer.sid = SignerIdentifier(party);
    signer.signature = der::OctetString(signature);
    signer.unsignedAttrs = der::UnsignedAttributes({der::Attribute("1.2.840.113549.1.9.16.2.14", {token})});
    data.certificates = der::CertificateSet({party.certificate, AllParties().issuingCa.certificate});
    data.signerInfos = der::Set({der::Encode(signer)});
    return der::MessageOf(data);
}

// The same with these signed attributes.
inline forge::Bytes CraftMessage(const Party &party, const std::vector<der::Bytes> &attributes)
{
    der::SignerInfo signer;
    signer.signedAttrs = der::SignedAttributes(attributes);
    return CraftMessage(party, der::Set(attributes), signer);
}

// A good message over `content` with the token that `make` returns for its signature value.
inline forge::Bytes MessageWithToken(const std::string &content,
                                     const std::function<forge::Bytes(const forge::Bytes &signature)> &make)
{
    forge::MessageRequest request = MessageRequest(content);
    request.timestamp = forge::Timestamp::None;
    const forge::Bytes message = MakeMessage(request);
    forge::Bytes signature;
    forge::Bytes timed;
    EXPECT_TRUE(forge::GetSignatureValue(message, &signature).ok);
    EXPECT_TRUE(forge::EmbedToken(message, make(signature), &timed).ok);
    return timed;
}

// Content of a token over `signature`, at PACKAGE_TIME.
inline der::TstInfo CraftTstInfo(const forge::Bytes &signature)
{
    der::TstInfo info;
    info.messageImprint =
        der::MessageImprint(der::AlgorithmIdentifier("2.16.840.1.101.3.4.2.1"), der::OctetString(Sha256(signature)));
    info.genTime = der::GeneralizedTime("20220101000000Z");
    return info;
}

// A token without a signer.
inline forge::Bytes CraftToken(const der::TstInfo &info)
{
    der::SignedData data;
    data.version = der::Integer(3);
    data.encapContentInfo =
        der::Sequence({der::Oid("1.2.840.113549.1.9.16.1.4"), der::Explicit(0, der::OctetString(der::Encode(info)))});
    data.signerInfos = der::Set({});
    return der::MessageOf(data);
}

#endif
