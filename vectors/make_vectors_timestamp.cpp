// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Timestamp tokens: the imprint, each member of the TSTInfo, and what is around it.
#include <algorithm>

#include "tests/forge/digest.h"
#include "vectors/make_vectors_case.h"
#include "vectors/make_vectors_element.h"
#include "vectors/make_vectors_rules.h"

namespace vectors
{
namespace
{
constexpr Rule TOKEN = {"protocol", "timestamps", "The signer carries one token, over its own signature value."};
constexpr Rule IMPRINT = {"RFC 3161", "2.4.2",
                          "hashedMessage is the digest of what is stamped, as long as the digest is."};
constexpr Rule VERSION = {"RFC 3161", "2.4.2", "The version of a TSTInfo is 1."};
constexpr Rule GEN_TIME = {"RFC 3161", "2.4.2",
                           "genTime is a GeneralizedTime in UTC, with seconds, to the last digit sound."};
constexpr Rule FRACTION = {"RFC 3161", "2.4.2", "genTime may have fractions of a second, without zeros at their end."};
constexpr Rule TSA_NAME = {"RFC 3161", "2.4.2", "tsa, where it is present, is a name of the certificate that signed."};
constexpr Rule EXTENSIONS = {"RFC 3161", "2.4.2",
                             "Extensions are those of certificates: an unknown critical one ends it."};
constexpr Rule OPTIONAL_MEMBERS = {"RFC 3161", "2.4.2", "accuracy, ordering and nonce may be present."};
constexpr Rule MEMBERS = {"RFC 3161", "2.4.2", "A TSTInfo has these members and no others."};
constexpr Rule ACCURACY = {"RFC 3161", "2.4.2", "accuracy counts 1 to 999 milliseconds, and as many microseconds."};
constexpr Rule DER_TST_INFO = {"RFC 3161", "2.4.2", "A TSTInfo is in DER, where what is the default is left out."};
constexpr Rule SERIAL_NUMBER = {"RFC 3161", "2.4.2", "A serial number has up to 160 bits."};
constexpr Rule TST_CONTENT = {"RFC 3161", "2.4.2",
                              "A token is a SignedData over a TSTInfo that it carries, by its type."};

Change WithTstInfo(std::function<void(der::TstInfo *)> change)
{
    return [change](Package *p) { p->tstInfo = [change](der::TstInfo *info, const Bytes &) { change(info); }; };
}

// ---- The imprint ---------------------------------------------------------------------------------------------------

Change WithHashedMessage(std::function<Bytes(const Bytes &digest)> change)
{
    return [change](Package *p) {
        p->tstInfo = [change](der::TstInfo *info, const Bytes &signature) {
            const Bytes digest = HashOf(forge::Digest::Sha256, signature);
            info->messageImprint =
                der::MessageImprint(forge::DigestAlgorithm(forge::Digest::Sha256), der::OctetString(change(digest)));
        };
    };
}

void AddImprints(Group *group)
{
    const struct {
        const char *name;
        std::function<Bytes(const Bytes &)> change;
    } rows[] = {
        {"of_0_octets", [](const Bytes &) { return Bytes(); }},
        {"of_1_octet", [](const Bytes &digest) { return Bytes{digest[0]}; }},
        {"of_31_octets", [](const Bytes &digest) { return der::Truncate(digest, 1); }},
        {"of_33_octets",
         [](const Bytes &digest) {
             return der::Concatenate({digest, {0}});
         }},
        {"with_a_turned_bit",
         [](Bytes digest) {
             digest.back() ^= 0x01;
             return digest;
         }},
        {"of_zeros", [](const Bytes &) { return der::Fill(32, 0); }},
        {"of_another_signature", [](const Bytes &) { return HashOf(forge::Digest::Sha256, Octets("another one")); }},
    };
    for (const auto &row : rows) {
        Refused(group,
                {std::string("imprint_") + row.name, GOOD, "token/tstInfo/messageImprint/hashedMessage",
                 SIGKIT_ERR_TIMESTAMP_IMPRINT},
                IMPRINT, WithHashedMessage(row.change));
    }
    Refused(
        group,
        {"imprint_of_the_content", GOOD, "token/tstInfo/messageImprint/hashedMessage", SIGKIT_ERR_TIMESTAMP_IMPRINT},
        TOKEN, [](Package *p) {
            const Bytes digest = HashOf(forge::Digest::Sha256, p->content);
            WithHashedMessage([digest](const Bytes &) { return digest; })(p);
        });
}

Change WithImprintBy(forge::Digest algorithm, forge::Digest digest)
{
    return [algorithm, digest](Package *p) {
        p->tstInfo = [algorithm, digest](der::TstInfo *info, const Bytes &signature) {
            info->messageImprint =
                der::MessageImprint(forge::DigestAlgorithm(algorithm), der::OctetString(HashOf(digest, signature)));
        };
    };
}

void AddImprintDigests(Group *group)
{
    using forge::Digest;
    Accepted(group, "imprint_by_sha384", STRONG_DIGEST, WithImprintBy(Digest::Sha384, Digest::Sha384)).features = {
        "sha384"};
    Accepted(group, "imprint_by_sha512", STRONG_DIGEST, WithImprintBy(Digest::Sha512, Digest::Sha512)).features = {
        "sha512"};
    Refused(group, {"imprint_by_sha1", GOOD, "token/tstInfo/messageImprint/hashAlgorithm", SIGKIT_ERR_TIMESTAMP_HASH},
            STRONG_DIGEST, WithImprintBy(Digest::Sha1, Digest::Sha1))
        .cve = {"CVE-2005-4900"};
    Refused(group,
            {"imprint_of_sha256_called_sha384", GOOD, "token/tstInfo/messageImprint/hashAlgorithm",
             SIGKIT_ERR_TIMESTAMP_IMPRINT},
            IMPRINT, WithImprintBy(Digest::Sha384, Digest::Sha256));
    Refused(
        group,
        {"imprint_by_an_unknown_digest", GOOD, "token/tstInfo/messageImprint/hashAlgorithm", SIGKIT_ERR_TIMESTAMP_HASH},
        STRONG_DIGEST, [](Package *p) {
            p->tstInfo = [](der::TstInfo *info, const Bytes &signature) {
                info->messageImprint =
                    der::MessageImprint(der::AlgorithmIdentifier("1.3.6.1.4.1.99999.7", std::nullopt),
                                        der::OctetString(HashOf(forge::Digest::Sha256, signature)));
            };
        });
}

// ---- genTime -------------------------------------------------------------------------------------------------------

Change WithTime(const Bytes &encoded)
{
    return [encoded](Package *p) { p->genTime = encoded; };
}

void AddTimes(Group *group)
{
    const std::string place = "token/tstInfo/genTime";
    const struct {
        const char *name;
        Bytes encoded;
    } formats[] = {
        {"without_z", der::GeneralizedTime("20260115120000")},
        {"without_seconds", der::GeneralizedTime("202601151200Z")},
        {"with_an_offset", der::GeneralizedTime("20260115130000+0100")},
        {"with_a_fraction_that_ends_in_zero", der::GeneralizedTime("20260115120000.50Z")},
        {"with_a_fraction_of_no_digits", der::GeneralizedTime("20260115120000.Z")},
        {"with_a_comma", der::GeneralizedTime("20260115120000,5Z")},
        {"of_no_characters", der::GeneralizedTime("")},
        {"that_is_an_integer", der::Integer(1768478400)},
    };
    for (const auto &row : formats) {
        Refused(group, {std::string("time_") + row.name, GOOD, place, SIGKIT_ERR_TIME_FORMAT}, GEN_TIME,
                WithTime(row.encoded));
    }
    Narrow(group, {"time_with_tenths", GOOD, place, SIGKIT_ERR_TIME_FORMAT}, FRACTION,
           "Times have the 15 characters that certificates and CRLs have; an authority can be asked for whole seconds.",
           WithTime(der::GeneralizedTime("20260115120000.5Z")))
        .features = {"fractional_seconds"};
    group->cases.back().importance = "medium";
    Narrow(group, {"time_with_microseconds", GOOD, place, SIGKIT_ERR_TIME_FORMAT}, FRACTION,
           "Times have the 15 characters that certificates and CRLs have; an authority can be asked for whole seconds.",
           WithTime(der::GeneralizedTime("20260115120000.000001Z")))
        .features = {"fractional_seconds"};
}

void AddLenientTimes(Group *group)
{
    const struct {
        const char *name;
        Bytes encoded;
    } rows[] = {
        {"that_is_a_utc_time", der::UtcTime("260115120000Z")},
        {"in_month_13", der::GeneralizedTime("20251315120000Z")},
        {"in_month_0", der::GeneralizedTime("20260015120000Z")},
        {"on_30_february", der::GeneralizedTime("20260230120000Z")},
        {"on_day_0", der::GeneralizedTime("20260100120000Z")},
        {"at_hour_25", der::GeneralizedTime("20260115250000Z")},
        {"at_minute_60", der::GeneralizedTime("20260115126000Z")},
        {"at_second_61", der::GeneralizedTime("20260115120061Z")},
        {"ending_in_a_letter", der::GeneralizedTime("20260115120000A")},
        {"with_a_letter_for_a_digit", der::GeneralizedTime("2026011512000:Z")},
    };
    for (const auto &row : rows) {
        Lenient(group, {std::string("time_") + row.name, GOOD, "token/tstInfo/genTime", SIGKIT_OK}, GEN_TIME,
                "Of a time type and length are looked at; its digits are the authority's, which signed them.",
                WithTime(row.encoded));
    }
}

// ---- Other members -------------------------------------------------------------------------------------------------

// tsa [0] EXPLICIT GeneralName
Bytes DirectoryName(const std::string &commonName)
{
    Bytes name;
    if (!forge::EncodeName(NameOf(commonName), &name).ok) {
        std::abort();
    }
    return der::Explicit(0, der::Explicit(4, name));
}

void AddMembers(Group *group)
{
    Accepted(group, "all_optional_members", OPTIONAL_MEMBERS, WithTstInfo([](der::TstInfo *info) {
                 info->accuracy = der::Sequence({der::Integer(1), der::Implicit(0, false, {0x05})});
                 info->ordering = der::Boolean();
                 info->nonce = der::IntegerRaw({0x12, 0x34, 0x56, 0x78, 0x9A, 0xBC, 0xDE, 0xF0});
                 info->tsa = DirectoryName("Timestamp Authority");
             }));
    Lenient(group, {"version_2", GOOD, "token/tstInfo/version", SIGKIT_OK}, VERSION,
            "The version is not read: what has the members of version 1 is read as version 1.",
            WithTstInfo([](der::TstInfo *info) { info->version = der::Integer(2); }));
    Refused(group, {"version_missing", GOOD, "token/tstInfo/version", SIGKIT_ERR_ASN_TAG}, MEMBERS,
            WithTstInfo([](der::TstInfo *info) { info->version.reset(); }));
    Refused(group, {"policy_missing", GOOD, "token/tstInfo/policy", SIGKIT_ERR_ASN_TAG}, MEMBERS,
            WithTstInfo([](der::TstInfo *info) { info->policy.reset(); }));
    Refused(group, {"imprint_missing", GOOD, "token/tstInfo/messageImprint", SIGKIT_ERR_ASN_TAG}, MEMBERS,
            WithTstInfo([](der::TstInfo *info) { info->messageImprint.reset(); }));
    Refused(group, {"serial_number_missing", GOOD, "token/tstInfo/serialNumber", SIGKIT_ERR_ASN_OCTETS_TAG}, MEMBERS,
            WithTstInfo([](der::TstInfo *info) { info->serialNumber.reset(); }));
    Refused(group, {"a_member_too_many", GOOD, "token/tstInfo", SIGKIT_ERR_ASN_SEQUENCE}, MEMBERS,
            WithTstInfo([](der::TstInfo *info) { info->trailing = der::Utf8("more"); }));
    Accepted(group, "tsa_of_the_certificate", TSA_NAME,
             WithTstInfo([](der::TstInfo *info) { info->tsa = DirectoryName("Timestamp Authority"); }));
    Lenient(group, {"tsa_of_another_name", "timestamp::tsa_of_the_certificate", "token/tstInfo/tsa", SIGKIT_OK},
            TSA_NAME, "The name is not read: the certificate that signed is the one that is judged.",
            WithTstInfo([](der::TstInfo *info) { info->tsa = DirectoryName("Another Authority"); }));
    // Names of kinds that are rarely met have to be compared with care.
    Accepted(group, "tsa_that_is_an_edi_party", TSA_NAME, [](Package *p) {
        const Bytes party = der::Implicit(5, true, der::Explicit(1, der::Utf8("party")));
        p->parties[TIMESTAMP].request.extensions.push_back({"2.5.29.17", false, der::Sequence({party})});
        p->tstInfo = [party](der::TstInfo *info, const Bytes &) { info->tsa = der::Explicit(0, party); };
    }).cve = {"CVE-2020-1971"};
}

void AddValues(Group *group)
{
    const std::string info = "token/tstInfo";
    const std::string reason = "Of a TSTInfo only the imprint and the time are read.";
    for (const auto &[name, octets] :
         {std::pair<const char *, Bytes>("of_no_milliseconds", {0x00}), {"of_1000_milliseconds", {0x03, 0xE8}}}) {
        Lenient(group, {std::string("accuracy_") + name, GOOD, info + "/accuracy", SIGKIT_OK}, ACCURACY, reason,
                WithTstInfo([octets = octets](der::TstInfo *tstInfo) {
                    tstInfo->accuracy = der::Sequence({der::Implicit(0, false, octets)});
                }))
            .importance = "low";
    }
    Lenient(group, {"ordering_that_is_false", GOOD, info + "/ordering", SIGKIT_OK}, DER_TST_INFO, reason,
            WithTstInfo([](der::TstInfo *tstInfo) { tstInfo->ordering = der::Boolean(0x00); }))
        .importance = "low";
    Accepted(group, "serial_number_of_160_bits", SERIAL_NUMBER,
             WithTstInfo([](der::TstInfo *tstInfo) { tstInfo->serialNumber = der::IntegerRaw(der::Fill(20, 0x7A)); }));
    Refused(group, {"serial_number_that_is_text", GOOD, info, SIGKIT_ERR_ASN_OCTETS_TAG}, MEMBERS,
            WithTstInfo([](der::TstInfo *tstInfo) { tstInfo->serialNumber = der::Utf8("77"); }));
    Lenient(group, {"policy_that_is_text", GOOD, info, SIGKIT_OK}, MEMBERS, reason,
            WithTstInfo([](der::TstInfo *tstInfo) { tstInfo->policy = der::Utf8("1.3.6.1.4.1.99999.1"); }))
        .importance = "low";
}

void AddExtensions(Group *group)
{
    const auto with = [](const der::Member &critical) {
        return WithTstInfo([critical](der::TstInfo *info) {
            info->extensions = der::Implicit(1, true, der::Extension("1.3.6.1.4.1.99999.3", der::Null(), critical));
        });
    };
    Accepted(group, "unknown_extension", EXTENSIONS, with(std::nullopt));
    Lenient(group,
            {"unknown_critical_extension", "timestamp::unknown_extension", "token/tstInfo/extensions", SIGKIT_OK},
            EXTENSIONS, "Extensions of tokens are not read; authorities make none that change what a token means.",
            with(der::Boolean()));
}

// ---- The SignedData around it --------------------------------------------------------------------------------------

void AddContainers(Group *group)
{
    const std::string place = "token/encapContentInfo";
    Lenient(group, {"content_type_of_plain_data", GOOD, place + "/eContentType", SIGKIT_OK}, TST_CONTENT,
            "Content types are not read: only a TSTInfo decodes as one. The authority's key must sign nothing else.",
            [](Package *p) {
                p->token.signedData = [](der::SignedData *data) {
                    data->encapContentInfo = EditAt(*data->encapContentInfo, {0},
                                                    [](const Bytes &) { return der::Oid("1.2.840.113549.1.7.1"); });
                };
            });
    Refused(group, {"content_missing", GOOD, place + "/eContent", SIGKIT_ERR_PARAM}, TST_CONTENT, [](Package *p) {
        p->token.signedData = [](der::SignedData *data) {
            data->encapContentInfo = EditAt(*data->encapContentInfo, {1}, [](const Bytes &) { return Bytes(); });
        };
    });
    Refused(group, {"content_altered", GOOD, "token/tstInfo/serialNumber", SIGKIT_ERR_TIMESTAMP_SIGNATURE},
            MESSAGE_DIGEST, [](Package *p) {
                p->token.signedData = [](der::SignedData *data) {
                    data->encapContentInfo =
                        EditAt(*data->encapContentInfo, {1, 0, 0, 3}, [](const Bytes &) { return der::Integer(78); });
                };
            });
    Refused(group, {"time_altered", GOOD, "token/tstInfo/genTime", SIGKIT_ERR_TIMESTAMP_SIGNATURE}, MESSAGE_DIGEST,
            [](Package *p) {
                p->token.signedData = [](der::SignedData *data) {
                    data->encapContentInfo = EditAt(*data->encapContentInfo, {1, 0, 0, 4}, [](const Bytes &) {
                        return der::GeneralizedTime("20260114120000Z");
                    });
                };
            });
    Refused(group, {"token_missing", GOOD, "token", SIGKIT_ERR_PARAM}, TOKEN,
            [](Package *p) { p->timestamped = false; });
    Refused(group,
            {"response_in_the_place_of_the_token", GOOD, "signature/signer/unsignedAttrs/timeStampToken",
             SIGKIT_ERR_SIGNED_DATA},
            TOKEN, [](Package *p) {
                p->token.whole = [](const Bytes &token) {
                    return der::Sequence({der::Sequence({der::Integer(0)}), token});
                };
            });
    Refused(
        group,
        {"nothing_in_the_place_of_the_token", GOOD, "signature/signer/unsignedAttrs/timeStampToken", SIGKIT_ERR_PARAM},
        TOKEN, [](Package *p) { p->token.whole = [](const Bytes &) { return der::Sequence({}); }; });
}

// A token attribute with a wrong imprint beside the good one.
Bytes WithWrongImprint(const Bytes &attribute)
{
    return EditAt(attribute, {1, 0, 1, 0, 2, 1, 0, 0, 2, 1}, [](Bytes imprint) {
        imprint.back() ^= 0x01;
        return imprint;
    });
}

void AddSeveralTokens(Group *group)
{
    const std::string place = "signature/signer/unsignedAttrs";
    Lenient(group, {"two_tokens_the_last_good", GOOD, place + "/timeStampToken#1", SIGKIT_OK}, TOKEN,
            "Of a repeated attribute the last one counts, and it is judged in full.", [](Package *p) {
                p->unsignedAttributes = [](std::vector<Bytes> *attributes) {
                    attributes->insert(attributes->begin(), WithWrongImprint(attributes->front()));
                };
            });
    Refused(group, {"two_tokens_the_last_bad", GOOD, place + "/timeStampToken#2", SIGKIT_ERR_TIMESTAMP_IMPRINT}, TOKEN,
            [](Package *p) {
                p->unsignedAttributes = [](std::vector<Bytes> *attributes) {
                    attributes->push_back(WithWrongImprint(attributes->front()));
                };
            });
    Accepted(group, "further_unsigned_attribute", TOKEN, [](Package *p) {
        p->unsignedAttributes = [](std::vector<Bytes> *attributes) {
            attributes->push_back(der::Attribute("1.3.6.1.4.1.99999.4", {der::Null()}));
        };
    });
    Refused(group, {"token_under_another_identifier", GOOD, place, SIGKIT_ERR_PARAM}, TOKEN, [](Package *p) {
        p->unsignedAttributes = [](std::vector<Bytes> *attributes) {
            attributes->front() =
                EditAt(attributes->front(), {0}, [](const Bytes &) { return der::Oid("1.2.840.113549.1.9.16.2.15"); });
        };
    });
}

} // namespace

Group TimestampCases()
{
    Group group = {"timestamp", {}};
    for (const auto add : {AddImprints, AddImprintDigests, AddTimes, AddLenientTimes, AddMembers, AddValues,
                           AddExtensions, AddContainers, AddSeveralTokens, AddTokenSignerCases}) {
        add(&group);
    }
    return group;
}
} // namespace vectors
