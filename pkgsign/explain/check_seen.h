// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The library's records of certificates and CRLs, copied while they are there.
#ifndef PKGSIGN_EXPLAIN_CHECK_SEEN_H
#define PKGSIGN_EXPLAIN_CHECK_SEEN_H

#include <map>
#include <string>
#include <utility>

#include "asn1/records.h"
#include "pkgsign/explain/check.h"

namespace pkgsign
{

// Places of records in a check. A record is known by what it holds: its memory may be another's later.
struct SeenRecords {
    std::map<std::pair<Bytes, Bytes>, size_t> certificates; // by what is signed, and the signature
    std::map<std::pair<Bytes, Bytes>, size_t> crls;
};

// The place of a record, where it is copied when it is new.
size_t SeeCertificate(const SigkitX509Cert &record, Step source, SeenRecords *seen, Check *check);
size_t SeeCrl(const SigkitX509Crl &record, SeenRecords *seen, Check *check);

Bytes OctetsOf(const SigkitAsnOcts &view);

// In hexadecimal, as all the rows of a report have it.
std::string SerialText(const SigkitAsnOcts &serial);

// Nothing when it cannot be read.
MaybeTime ReadTime(const SigkitAsnOcts &view);

} // namespace pkgsign

#endif
