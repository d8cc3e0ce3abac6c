// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// What is in a file, for people and as JSON, from any octets.
#include "fuzz/target.h"

#include <set>
#include <string>

#include <nlohmann/json.hpp>

#include <openssl/err.h>

#include "fuzz/support/mutate.h"
#include "pkgsign/explain/inspect.h"
#include "sigkit/asn1/decode.h"
#include "sigkit/x509/cert.h"
#include "sigkit/x509/crl.h"
#include "sigkit/x509/pkcs7.h"

namespace
{

using pkgsign::Bytes;

constexpr size_t OUTPUT_PER_OCTET = 4000; // of the text and of the JSON, beside a constant
constexpr size_t OUTPUT_BESIDE = 40000;

// Whether the device decodes an object at the beginning.
bool DeviceDecodes(const std::string &kind, const Bytes &data)
{
    const uint32_t size = static_cast<uint32_t>(data.size());
    uint32_t consumed = 0;
    bool decodes = false;
    if (kind == "certificate") {
        SigkitX509Cert *certificate = nullptr;
        decodes = SigkitX509DecodeCert(data.data(), size, &certificate, &consumed) == SIGKIT_OK;
        SigkitX509FreeCert(certificate);
    } else if (kind == "crl") {
        SigkitX509Crl *crl = nullptr;
        decodes = SigkitX509DecodeCrl(data.data(), size, &crl, &consumed) == SIGKIT_OK;
        SigkitX509FreeCrl(crl);
    } else {
        SigkitPkcs7Content *message = nullptr;
        decodes = SigkitPkcs7DecodeSigned(data.data(), size, &message, &consumed) == SIGKIT_OK;
        SigkitPkcs7FreeSigned(message);
    }
    return decodes;
}

// Whether an error is one of the decoder's. What stands in a token is decoded apart from what is around it.
bool IsOfDecoder(const nlohmann::ordered_json &finding)
{
    static const std::set<std::string> CODES = {
        "tag-number-high",   "length-indefinite", "length-of-many-octets", "length-beyond",
        "read-to",           "member-missing",    "member-type",           "member-unexpected",
        "integer-too-long",  "bits-empty",        "value-empty",           "certificates-too-many",
        "signers-too-many",  "entries-too-many",  "name-parts-too-many",   "name-attributes-too-many",
        "purposes-too-many", "key-usage-size",    "key-not-rsa",           "signer-by-key-identifier"};
    const std::string path = finding["path"].get<std::string>();
    return CODES.count(finding["code"].get<std::string>()) != 0 && path.find("timeStampToken") == std::string::npos &&
           path.find("TSTInfo") == std::string::npos;
}

// What the device does not decode has an error, and what it decodes none that says it does not.
void CheckErrors(const nlohmann::ordered_json &file, const Bytes &data)
{
    if (file["form"] != "DER" || file["objects"].empty()) {
        return;
    }
    const std::string kind = file["objects"][0]["kind"].get<std::string>();
    const bool isRead = kind == "certificate" || kind == "crl" || kind == "message" || kind == "timestampToken";
    const bool decodes = isRead && DeviceDecodes(kind, data);
    if (isRead && !decodes && file["errors"] == 0) {
        FuzzFail("a %s that the device does not decode has no error", kind.c_str());
    }
    for (const nlohmann::ordered_json &finding : file["objects"][0]["findings"]) {
        if (decodes && IsOfDecoder(finding)) {
            FuzzFail("a %s that the device decodes has the error %s", kind.c_str(), finding.dump().c_str());
        }
    }
    FuzzTally(decodes ? FUZZ_TALLY_AUTHENTIC : 0);
}

// Nothing that a terminal would obey.
void CheckText(const std::string &text)
{
    for (const char character : text) {
        const unsigned octet = static_cast<unsigned char>(character);
        if ((octet < 0x20 && character != '\n') || octet == 0x7F) {
            FuzzFail("a control character is shown");
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzBegin();
    {
        const Bytes octets(data, data + size);
        pkgsign::InspectOptions options;
        options.all = size % 2 == 1;
        if (pkgsign::AddIssuers("file", octets, &options).ok && options.issuers.empty()) {
            FuzzFail("an issuer is taken and is not there");
        }
        const nlohmann::ordered_json file = pkgsign::InspectFile("file", octets, options);
        const nlohmann::ordered_json files = nlohmann::ordered_json::array({file});
        const std::string text = pkgsign::InspectionText(files);
        const std::string json = pkgsign::InspectionJson(files);
        CheckText(text);
        CheckText(json);
        CheckErrors(file, octets);
        if (text.size() + json.size() > OUTPUT_BESIDE + OUTPUT_PER_OCTET * size) {
            FuzzFail("%zu octets make %zu", size, text.size() + json.size());
        }
        if (nlohmann::ordered_json::parse(json)["files"].size() != 1) {
            FuzzFail("the JSON holds no file");
        }
    }
    ERR_clear_error();
    FuzzEnd();
    return 0;
}

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t *data, size_t size, size_t maxSize, unsigned int seed)
{
    return FuzzMutateObjects(data, size, maxSize, seed);
}
