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

// The signer of these attributes, or of `content` itself when there are none, with SHA-256. `signedOctets` are signed
// instead of both when there are any.
inline der::SignerInfo CraftSigner(const Party &party, const std::vector<der::Bytes> &attributes,
                                   const PkgsignBytes &content, const PkgsignBytes &signedOctets = {})
{
    PkgsignBytes issuer;
    PkgsignBytes serial;
    EXPECT_TRUE(PkgsignGetIssuer(party.certificate, &issuer).ok);
    EXPECT_TRUE(PkgsignGetSerialNumber(party.certificate, &serial).ok);
    der::SignerInfo signer;
    signer.sid = der::IssuerAndSerialNumber(issuer, der::IntegerRaw(der::Concatenate({{0}, serial})));
    signer.signedAttrs = std::nullopt;
    PkgsignBytes toBeSigned = content;
    if (!attributes.empty()) {
        signer.signedAttrs = der::SignedAttributes(attributes);
        toBeSigned = der::Set(attributes);
    }
    if (!signedOctets.empty()) {
        toBeSigned = signedOctets;
    }
    PkgsignBytes signature;
    EXPECT_TRUE(PkgsignSignOctets(party.key, PkgsignDigest::Sha256, toBeSigned, &signature).ok);
    signer.signature = der::OctetString(signature);
    return signer;
}

// The message with a token of any form in it.
inline PkgsignBytes WithToken(const PkgsignBytes &message, const PkgsignBytes &token)
{
    PkgsignBytes whole;
    EXPECT_TRUE(PkgsignEmbedToken(message, token, &whole).ok);
    return whole;
}

// A good token over the signature of a message.
inline PkgsignBytes GoodToken(const PkgsignBytes &message)
{
    PkgsignBytes signature;
    PkgsignBytes token;
    EXPECT_TRUE(PkgsignGetSignatureValue(message, &signature).ok);
    EXPECT_TRUE(PkgsignMakeToken(MessageRequest("").tokenRequest, signature, &token).ok);
    return token;
}

// A message of the crafted signer, with the good signer's certificates and a good token.
inline PkgsignBytes CraftMessage(const der::SignerInfo &signer)
{
    der::SignedData data;
    data.certificates = der::CertificateSet({AllParties().signer.certificate, AllParties().issuingCa.certificate});
    data.signerInfos = der::Set({der::Encode(signer)});
    const PkgsignBytes message = der::MessageOf(data);
    return WithToken(message, GoodToken(message));
}

// A message of the good signer whose messageDigest is this one.
inline PkgsignBytes MessageOfDigest(const PkgsignBytes &digest)
{
    return CraftMessage(CraftSigner(AllParties().signer, der::PlainSignedAttributes(digest), {}));
}

// Content of a token over `signature`, at PACKAGE_TIME.
inline der::TstInfo CraftTstInfo(const PkgsignBytes &signature)
{
    der::TstInfo info;
    info.messageImprint = der::MessageImprint(der::AlgorithmIdentifier("2.16.840.1.101.3.4.2.1"),
                                              der::OctetString(Sha256(signature)));
    info.genTime = der::GeneralizedTime("20220101000000Z");
    return info;
}

// A token around an encoded eContent, which may also be missing.
inline PkgsignBytes CraftToken(const der::Member &content, const std::vector<der::Bytes> &signers,
                               const std::vector<der::Bytes> &certificates)
{
    der::SignedData data;
    data.version = der::Integer(3);
    const der::Bytes type = der::Oid("1.2.840.113549.1.9.16.1.4");
    data.encapContentInfo =
        content.has_value() ? der::Sequence({type, der::Explicit(0, *content)}) : der::Sequence({type});
    if (!certificates.empty()) {
        data.certificates = der::CertificateSet(certificates);
    }
    data.signerInfos = der::Set(signers);
    return der::MessageOf(data);
}

// A good message whose token is to be replaced, and its signature value.
struct TokenlessMessage {
    PkgsignBytes message;
    PkgsignBytes signature;

    explicit TokenlessMessage(const std::string &content)
    {
        PkgsignMessageRequest request = MessageRequest(content);
        request.timestamp = PkgsignTimestamp::None;
        message = MakeMessage(request);
        EXPECT_TRUE(PkgsignGetSignatureValue(message, &signature).ok);
    }
};

// The trail of a failure of Begin that arose in the signer's own check.
inline Texts CmsTrail(const std::string &code, Texts before = {})
{
    before.push_back("E InternalVerifyCms " + code + " -");
    before.push_back("E SigkitVerifyDetachSignatureBegin " + code + " -");
    return before;
}

// The trail of a failure of Begin that arose in the timestamp token.
inline Texts TimestampTrail(const std::string &code, Texts before = {})
{
    before.push_back("E InternalVerifyTimeStamp " + code + " -");
    return CmsTrail(code, before);
}

#endif
