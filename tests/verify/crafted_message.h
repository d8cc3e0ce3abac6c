// Messages and timestamp tokens written member by member and really signed: what the release side refuses to make.
#ifndef CRAFTED_MESSAGE_H
#define CRAFTED_MESSAGE_H

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

// The message of a signer with these attributes, certificates and a good token.
inline PkgsignBytes CraftMessage(const Party &party, const std::vector<der::Bytes> &attributes)
{
    PkgsignBytes issuer;
    PkgsignBytes serial;
    PkgsignBytes signature;
    PkgsignBytes token;
    EXPECT_TRUE(PkgsignGetIssuer(party.certificate, &issuer).ok);
    EXPECT_TRUE(PkgsignGetSerialNumber(party.certificate, &serial).ok);
    EXPECT_TRUE(PkgsignSignOctets(party.key, PkgsignDigest::Sha256, der::Set(attributes), &signature).ok);
    EXPECT_TRUE(PkgsignMakeToken(MessageRequest("").tokenRequest, signature, &token).ok);
    der::SignerInfo signer;
    signer.sid = der::IssuerAndSerialNumber(issuer, der::IntegerRaw(serial));
    signer.signedAttrs = der::SignedAttributes(attributes);
    signer.signature = der::OctetString(signature);
    signer.unsignedAttrs = der::UnsignedAttributes({der::Attribute("1.2.840.113549.1.9.16.2.14", {token})});
    der::SignedData data;
    data.certificates = der::CertificateSet({party.certificate, AllParties().issuingCa.certificate});
    data.signerInfos = der::Set({der::Encode(signer)});
    return der::MessageOf(data);
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
