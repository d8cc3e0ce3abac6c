// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// What is in a file: signature messages, CRLs, certificates, timestamp tokens, requests and answers, in whatever state
// they are, and every departure from what the device takes.
#ifndef PKGSIGN_EXPLAIN_INSPECT_H
#define PKGSIGN_EXPLAIN_INSPECT_H

#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "pkgsign/status.h"

namespace pkgsign
{

inline constexpr int INSPECT_VERSION = 1;                   // of the JSON (docs/pkgsign-inspect.schema.json)
inline constexpr size_t INSPECT_SIZE_MAX = size_t{1} << 27; // octets of a file
inline constexpr size_t INSPECT_SHOWN = 50;                 // objects, entries and findings of a file that are shown
inline constexpr size_t INSPECT_SHOWN_WITH_ALL = 1000000;   // the same with `all`

namespace inspection
{
struct InspectIssuer;
}

struct InspectOptions {
    bool all = false;
    std::vector<inspection::InspectIssuer> issuers; // whose signatures are verified
    InspectOptions();
    ~InspectOptions();
    InspectOptions(const InspectOptions &) = delete;
    InspectOptions &operator=(const InspectOptions &) = delete;
};

// Takes the certificates of a file as issuers. Refused: a file without a certificate that can be read.
Status AddIssuers(const std::string &name, const Bytes &data, InspectOptions *options);

// One element of "files" in the JSON. Takes time and memory in proportion to the octets, whatever they are.
nlohmann::ordered_json InspectFile(const std::string &name, const Bytes &data, const InspectOptions &options);

// The whole JSON document of files.
std::string InspectionJson(const nlohmann::ordered_json &files);

// The same for people.
std::string InspectionText(const nlohmann::ordered_json &files);

} // namespace pkgsign

#endif
