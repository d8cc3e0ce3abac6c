// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/authority/horizon.h"

#include <algorithm>
#include <map>

#include "pkgsign/authority/certificates.h"
#include "pkgsign/files/objects.h"

namespace pkgsign
{
namespace
{

bool IsIssuedByOneOf(const X509_CRL *crl, const std::vector<Certificate> &authorities)
{
    return std::any_of(authorities.begin(), authorities.end(), [&](const Certificate &ca) {
        return X509_NAME_cmp(X509_CRL_get_issuer(crl), X509_get_subject_name(ca.get())) == 0;
    });
}

} // namespace

Horizon FindHorizon(const std::vector<Party> &parties, const std::vector<Certificate> &authorities,
                    const Bytes &crlFile)
{
    std::vector<Horizon> ends;
    ends.reserve(parties.size() + authorities.size());
    for (const Party &party : parties) {
        ends.push_back({"the certificate '" + party.entry.name + "'", NotAfter(party.certificate.get())});
    }
    for (const Certificate &ca : authorities) {
        ends.push_back({"the certificate of '" + NameText(X509_get_subject_name(ca.get())) + "'", NotAfter(ca.get())});
    }
    Objects objects;
    if (!crlFile.empty() && !DecodeObjects(crlFile, "", &objects).ok) {
        objects.crls.clear(); // the device's library has taken the file: this is only about what is printed
    }
    std::map<std::string, int64_t> crlEnds; // of several CRLs of an issuer, a device uses those that are in date
    for (const auto &crl : objects.crls) {
        if (IsIssuedByOneOf(crl.get(), authorities)) {
            const int64_t time = TimeSeconds(X509_CRL_get0_nextUpdate(crl.get()));
            const auto entry = crlEnds.try_emplace(NameText(X509_CRL_get_issuer(crl.get())), time).first;
            entry->second = std::max(entry->second, time);
        }
    }
    for (const auto &[issuer, end] : crlEnds) {
        ends.push_back({"the CRL of '" + issuer + "'", end});
    }
    return *std::min_element(ends.begin(), ends.end(),
                             [](const Horizon &a, const Horizon &b) { return a.time < b.time; });
}

} // namespace pkgsign
