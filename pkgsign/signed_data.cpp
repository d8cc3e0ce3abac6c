#include "pkgsign/signed_data.h"
#include "pkgsign/der.h"
#include "pkgsign/digest.h"
#include "pkgsign/signature.h"
#include "pkgsign/status.h"

namespace
{
constexpr uint8_t TAG_CONTEXT_0 = 0xA0;

PkgsignBytes EncodeSignedAttributes(const PkgsignSigner &signer, const PkgsignSignedContent &content)
{
    std::vector<PkgsignBytes> attributes = signer.furtherAttributes;
    attributes.push_back(PkgsignEncodeAttribute("1.2.840.113549.1.9.3", content.contentType));
    attributes.push_back(PkgsignEncodeAttribute("1.2.840.113549.1.9.4", PkgsignDerOctetString(content.hash)));
    return PkgsignDerSetOf(attributes);
}

// IssuerAndSerialNumber ::= SEQUENCE { issuer Name, serialNumber INTEGER }
PkgsignStatus EncodeSignerIdentifier(const PkgsignBytes &certificate, PkgsignBytes *identifierOut)
{
    PkgsignBytes issuer;
    PkgsignBytes serialNumber;
    PkgsignStatus status = PkgsignGetIssuer(certificate, &issuer);
    if (status.ok) {
        status = PkgsignGetSerialNumber(certificate, &serialNumber);
    }
    if (status.ok) {
        *identifierOut = PkgsignDerSequence({issuer, PkgsignDerUnsigned(serialNumber)});
    }
    return status;
}

} // namespace

PkgsignBytes PkgsignEncodeAttribute(const char *identifier, const PkgsignBytes &value)
{
    return PkgsignDerSequence({PkgsignDerKnownIdentifier(identifier), PkgsignDerSetOf({value})});
}

PkgsignStatus PkgsignSignContent(const PkgsignSigner &signer, const PkgsignSignedContent &content,
                                 PkgsignSignature *signatureOut)
{
    PkgsignSignature signature;
    PkgsignStatus status;
    if (signer.signedAttributes) {
        // RFC 5652, 5.4: signed as a SET OF, carried with the tag [0] in its place
        signature.signedAttributes = EncodeSignedAttributes(signer, content);
        status = PkgsignSignOctets(signer.key, signer.digest, signature.signedAttributes, &signature.value);
        signature.signedAttributes.front() = TAG_CONTEXT_0;
    } else {
        status = PkgsignSignHash(signer.key, signer.digest, content.hash, &signature.value);
    }
    if (status.ok) {
        *signatureOut = signature;
    }
    return status;
}

PkgsignStatus PkgsignEncodeSignerInfo(const PkgsignSigner &signer, const PkgsignSignature &signature,
                                      const std::vector<PkgsignBytes> &unsignedAttributes, PkgsignBytes *signerInfoOut)
{
    PkgsignBytes identifier;
    PkgsignBytes algorithm;
    PkgsignStatus status = EncodeSignerIdentifier(signer.certificate, &identifier);
    if (status.ok) {
        status = PkgsignSignerAlgorithm(signer.key, signer.digest, &algorithm);
    }
    if (!status.ok) {
        return status;
    }
    PkgsignBytes attributes;
    if (!unsignedAttributes.empty()) {
        attributes = PkgsignDerConstructed(1, PkgsignDerJoin(unsignedAttributes));
    }
    *signerInfoOut =
        PkgsignDerSequence({PkgsignDerInteger(1), identifier, PkgsignDigestAlgorithm(signer.digest),
                            signature.signedAttributes, algorithm, PkgsignDerOctetString(signature.value), attributes});
    return status;
}

PkgsignBytes PkgsignEncodeSignedData(const PkgsignSignedData &data)
{
    PkgsignBytes content;
    if (!data.content.empty()) {
        content = PkgsignDerConstructed(0, PkgsignDerOctetString(data.content));
    }
    PkgsignBytes certificates;
    if (!data.certificates.empty()) {
        certificates = PkgsignDerConstructed(0, PkgsignDerJoin(data.certificates));
    }
    const PkgsignBytes signedData = PkgsignDerSequence(
        {PkgsignDerInteger(data.version), PkgsignDerSetOf({PkgsignDigestAlgorithm(data.digest)}),
         PkgsignDerSequence({data.contentType, content}), certificates, PkgsignDerSetOf(data.signerInfos)});
    return PkgsignDerSequence(
        {PkgsignDerKnownIdentifier("1.2.840.113549.1.7.2"), PkgsignDerConstructed(0, signedData)});
}
