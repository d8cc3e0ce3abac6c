// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "tests/support/der_records.h"

namespace der
{
namespace
{

// A SEQUENCE of the members that are there.
Bytes SequenceOfMembers(const std::vector<Member> &members)
{
    std::vector<Bytes> present;
    for (const Member &member : members) {
        if (member.has_value()) {
            present.push_back(*member);
        }
    }
    return Sequence(present);
}

} // namespace

// ---- Names, algorithms, keys, extensions ---------------------------------------------------------------------------

Bytes NameAttribute(const std::string &type, const Bytes &value)
{
    return Sequence({Oid(type), value});
}

Bytes RelativeName(const std::vector<Bytes> &attributes)
{
    return Set(attributes);
}

Bytes Name(const std::vector<Bytes> &relativeNames)
{
    return Sequence(relativeNames);
}

Bytes NameOf(const std::string &commonName)
{
    return Name({RelativeName({NameAttribute("2.5.4.6", Printable("XX"))}),
                 RelativeName({NameAttribute("2.5.4.10", Utf8("Test"))}),
                 RelativeName({NameAttribute("2.5.4.3", Utf8(commonName))})});
}

Bytes AlgorithmIdentifier(const std::string &algorithm, const Member &parameters)
{
    return SequenceOfMembers({Oid(algorithm), parameters});
}

Bytes Validity(const Bytes &notBefore, const Bytes &notAfter)
{
    return Sequence({notBefore, notAfter});
}

Bytes RsaPublicKey(const Bytes &modulus, const Bytes &publicExponent)
{
    return Sequence({modulus, publicExponent});
}

Bytes SubjectPublicKeyInfo()
{
    const Bytes modulus = IntegerRaw(Concatenate({{0x00}, Fill(256, 0xC3)}));
    return SubjectPublicKeyInfo(AlgorithmIdentifier("1.2.840.113549.1.1.1"),
                                BitString(0, RsaPublicKey(modulus, Integer(65537))));
}

Bytes SubjectPublicKeyInfo(const Bytes &algorithm, const Bytes &subjectPublicKey)
{
    return Sequence({algorithm, subjectPublicKey});
}

Bytes Extension(const std::string &identifier, const Bytes &value, const Member &critical)
{
    return SequenceOfMembers({Oid(identifier), critical, OctetString(value)});
}

Bytes BasicConstraintsExtension(bool cA)
{
    return Extension("2.5.29.19", cA ? Sequence({Boolean()}) : Sequence({}), Boolean());
}

Bytes KeyUsageExtension(const Bytes &bitString)
{
    return Extension("2.5.29.15", bitString, Boolean());
}

Bytes ExtKeyUsageExtension(const std::vector<std::string> &purposes)
{
    std::vector<Bytes> identifiers;
    for (const std::string &purpose : purposes) {
        identifiers.push_back(Oid(purpose));
    }
    return Extension("2.5.29.37", Sequence(identifiers));
}

Bytes CertExtensions(const std::vector<Bytes> &extensions)
{
    return Explicit(3, Sequence(extensions));
}

Bytes CrlExtensions(const std::vector<Bytes> &extensions)
{
    return Explicit(0, Sequence(extensions));
}

Bytes Attribute(const std::string &type, const std::vector<Bytes> &values)
{
    return Sequence({Oid(type), Set(values)});
}

// ---- Certificates --------------------------------------------------------------------------------------------------

Bytes Encode(const TbsCertificate &tbsCertificate)
{
    return SequenceOfMembers({tbsCertificate.version, tbsCertificate.serialNumber, tbsCertificate.signature,
                              tbsCertificate.issuer, tbsCertificate.validity, tbsCertificate.subject,
                              tbsCertificate.subjectPublicKeyInfo, tbsCertificate.issuerUniqueID,
                              tbsCertificate.subjectUniqueID, tbsCertificate.extensions, tbsCertificate.trailing});
}

Bytes Encode(const Certificate &certificate)
{
    return SequenceOfMembers(
        {certificate.tbsCertificate, certificate.signatureAlgorithm, certificate.signatureValue, certificate.trailing});
}

Bytes CertificateOf(const TbsCertificate &tbsCertificate)
{
    Certificate certificate;
    certificate.tbsCertificate = Encode(tbsCertificate);
    return Encode(certificate);
}

// ---- CRLs ----------------------------------------------------------------------------------------------------------

Bytes RevokedEntry(const Bytes &serialNumber, const Bytes &revocationDate, const Member &extensions)
{
    return SequenceOfMembers({serialNumber, revocationDate, extensions});
}

Bytes ReasonExtensions(int64_t reason)
{
    return Sequence({Extension("2.5.29.21", Enumerated(reason))});
}

Bytes Encode(const TbsCertList &tbsCertList)
{
    return SequenceOfMembers({tbsCertList.version, tbsCertList.signature, tbsCertList.issuer, tbsCertList.thisUpdate,
                              tbsCertList.nextUpdate, tbsCertList.revokedCertificates, tbsCertList.crlExtensions,
                              tbsCertList.trailing});
}

Bytes Encode(const CertificateList &certificateList)
{
    return SequenceOfMembers({certificateList.tbsCertList, certificateList.signatureAlgorithm,
                              certificateList.signatureValue, certificateList.trailing});
}

Bytes CertificateListOf(const TbsCertList &tbsCertList)
{
    CertificateList certificateList;
    certificateList.tbsCertList = Encode(tbsCertList);
    return Encode(certificateList);
}

// ---- Signature messages --------------------------------------------------------------------------------------------

Bytes IssuerAndSerialNumber(const Bytes &issuer, const Bytes &serialNumber)
{
    return Sequence({issuer, serialNumber});
}

Bytes SignedAttributes(const std::vector<Bytes> &attributes)
{
    return Implicit(0, true, Concatenate(attributes));
}

Bytes UnsignedAttributes(const std::vector<Bytes> &attributes)
{
    return Implicit(1, true, Concatenate(attributes));
}

Bytes CertificateSet(const std::vector<Bytes> &certificates)
{
    return Implicit(0, true, Concatenate(certificates));
}

std::vector<Bytes> PlainSignedAttributes(const Bytes &digest)
{
    return {Attribute("1.2.840.113549.1.9.3", {Oid("1.2.840.113549.1.7.1")}),
            Attribute("1.2.840.113549.1.9.4", {OctetString(digest)})};
}

Bytes Encode(const SignerInfo &signerInfo)
{
    return SequenceOfMembers({signerInfo.version, signerInfo.sid, signerInfo.digestAlgorithm, signerInfo.signedAttrs,
                              signerInfo.signatureAlgorithm, signerInfo.signature, signerInfo.unsignedAttrs,
                              signerInfo.trailing});
}

Bytes Encode(const SignedData &signedData)
{
    return SequenceOfMembers({signedData.version, signedData.digestAlgorithms, signedData.encapContentInfo,
                              signedData.certificates, signedData.crls, signedData.signerInfos, signedData.trailing});
}

Bytes Encode(const ContentInfo &contentInfo)
{
    return SequenceOfMembers({contentInfo.contentType, contentInfo.content, contentInfo.trailing});
}

Bytes MessageOf(const SignedData &signedData)
{
    ContentInfo contentInfo;
    contentInfo.content = Explicit(0, Encode(signedData));
    return Encode(contentInfo);
}

// ---- Timestamps ----------------------------------------------------------------------------------------------------

Bytes MessageImprint(const Bytes &hashAlgorithm, const Bytes &hashedMessage)
{
    return Sequence({hashAlgorithm, hashedMessage});
}

Bytes Encode(const TstInfo &tstInfo)
{
    return SequenceOfMembers({tstInfo.version, tstInfo.policy, tstInfo.messageImprint, tstInfo.serialNumber,
                              tstInfo.genTime, tstInfo.accuracy, tstInfo.ordering, tstInfo.nonce, tstInfo.tsa,
                              tstInfo.extensions, tstInfo.trailing});
}

} // namespace der
