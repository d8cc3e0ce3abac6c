// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "tests/differential/facts.h"

#include "asn1/records.h"
#include "sigkit/sigkit.h"
#include "tests/support/pretended_host.h"
#include "x509/cert.h"
#include "x509/crl.h"
#include "x509/time.h"

namespace
{

std::string OctetsText(const SigkitAsnOcts &view)
{
    return HexOf(view.data, view.len);
}

// An element of any type; an empty one leaves no trace in its view.
std::string AnyText(const SigkitAsnOcts &view)
{
    if (view.len == 0) {
        return "";
    }
    return std::to_string(view.cls) + "." + std::to_string(view.constructed) + "." + std::to_string(view.tag) + ":" +
           OctetsText(view);
}

std::string NumberText(const SigkitAsnOcts &view)
{
    const std::string text = OctetsText(view);
    size_t zeros = 0;
    while (text.compare(zeros, 2, "00") == 0) {
        zeros += 2;
    }
    return text.substr(zeros);
}

std::string TimeText(const SigkitAsnOcts &view)
{
    uint64_t seconds = 0;
    if (SigkitConvertDatetimeToTime(&view, &seconds) != SIGKIT_OK) {
        return UNREADABLE;
    }
    return std::to_string(static_cast<int64_t>(seconds));
}

std::string NameText(const SigkitX509Name &name)
{
    std::string text;
    for (uint32_t i = 0; i < name.count; ++i) {
        for (uint32_t j = 0; j < name.items[i].count; ++j) {
            const SigkitX509AttrEntry &attribute = name.items[i].items[j];
            text += std::to_string(i) + "/" + OctetsText(attribute.type) + "=" + AnyText(attribute.value) + " ";
        }
    }
    return text;
}

std::string AlgorithmText(const SigkitX509AlgoIdentifier &algorithm)
{
    return OctetsText(algorithm.algorithm) + " " + AnyText(algorithm.parameters);
}

std::string PointText(const SigkitX509IssuingDistPoint &point)
{
    return "distributionPoint " + std::to_string(point.distributionPoint.len != 0 ? 1 : 0) + " user " +
           std::to_string(point.onlyContainsUserCerts) + " CA " + std::to_string(point.onlyContainsCACerts) +
           " reasons " + OctetsText(point.onlySomeReasons) + " indirect " + std::to_string(point.indirectCRL) +
           " attribute " + std::to_string(point.onlyContainsAttributeCerts);
}

void ReadCertificate(const SigkitX509Cert &cert, std::map<std::string, std::string> *fields)
{
    const SigkitX509CertInfo &info = cert.tbsCertificate;
    const SigkitRsaPublicKey &key = info.subjectPublicKeyInfo.subjectPublicKey.rsaPublicKey;
    *fields = {{"tbs", OctetsText(cert.encoded)},
               {"serialNumber", OctetsText(info.serialNumber)},
               {"issuer", NameText(info.issuer)},
               {"notBefore", TimeText(info.validity.notBefore)},
               {"notAfter", TimeText(info.validity.notAfter)},
               {"subject", NameText(info.subject)},
               {"keyAlgorithm", AlgorithmText(info.subjectPublicKeyInfo.algorithm)},
               {"modulus", NumberText(key.modulus)},
               {"publicExponent", NumberText(key.publicExponent)},
               {"basicConstraints", std::to_string(info.extensions.basicConstraints.cA)},
               {"keyUsage", std::to_string(info.extensions.keyUsage)},
               {"extKeyUsage", std::to_string(info.extensions.extKeyUsage)},
               {"signatureAlgorithm", AlgorithmText(cert.signatureAlgorithm)},
               {"signatureValue", OctetsText(cert.signatureValue)}};
}

void ReadCrl(const SigkitX509Crl &crl, std::map<std::string, std::string> *fields)
{
    const SigkitX509CrlInfo &info = crl.tbsCertList;
    *fields = {{"tbs", OctetsText(crl.encoded)},
               {"version", std::to_string(info.version)},
               {"issuer", NameText(info.issuer)},
               {"thisUpdate", TimeText(info.thisUpdate)},
               {"nextUpdate", TimeText(info.nextUpdate)},
               {"entries", std::to_string(info.revokedCertificates.count)},
               {"issuingDistributionPoint", PointText(info.crlExtensions.issuingDistributionPoint)},
               {"signatureAlgorithm", AlgorithmText(crl.signatureAlgorithm)},
               {"signatureValue", OctetsText(crl.signatureValue)}};
    for (uint32_t i = 0; i < info.revokedCertificates.count; ++i) {
        const SigkitX509RevokeEntry &entry = info.revokedCertificates.items[i];
        (*fields)[EntryField(i, "serialNumber")] = OctetsText(entry.userCertificate);
        (*fields)[EntryField(i, "date")] = TimeText(entry.revocationDate);
        (*fields)[EntryField(i, "reason")] = std::to_string(entry.crlEntryExtensions.reasonCode);
    }
}

} // namespace

Facts LibraryCertificate(const der::Bytes &input)
{
    g_pretendedHost.lines.clear();
    InternalCertGuard cert;
    uint32_t consumed = 0;
    Facts facts;
    facts.accepted =
        SigkitX509DecodeCert(input.data(), static_cast<uint32_t>(input.size()), &cert.held, &consumed) == SIGKIT_OK;
    if (facts.accepted) {
        ReadCertificate(*cert.held, &facts.fields);
        facts.fields["consumed"] = std::to_string(consumed);
    }
    return facts;
}

Facts LibraryCrl(const der::Bytes &input)
{
    g_pretendedHost.lines.clear();
    InternalCrlGuard crl;
    uint32_t consumed = 0;
    Facts facts;
    facts.accepted =
        SigkitX509DecodeCrl(input.data(), static_cast<uint32_t>(input.size()), &crl.held, &consumed) == SIGKIT_OK;
    if (facts.accepted) {
        ReadCrl(*crl.held, &facts.fields);
        facts.fields["consumed"] = std::to_string(consumed);
    }
    return facts;
}
