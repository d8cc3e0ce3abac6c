// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Trace points: what the judging code comes to at each step, for a program that explains it. On a device they are
// nothing: the macro's arguments are gone before the compiler sees them. The library is compiled a second time with
// SIGKIT_TRACED, for pkgsign alone, and then each point hands a record to the sink of the thread. A point decides
// nothing and changes nothing.
#ifndef CORE_TRACE_H
#define CORE_TRACE_H

#ifdef SIGKIT_TRACED

#include <stdint.h>

// The points, each with its subject, its object and its value: the pointers live for the call only. "outcome" is a
// status, SIGKIT_OK for a step that has passed.
enum SigkitTracePoint : uint32_t {
    // Reading: SigkitDecodeBuf with the cursor at what is refused.
    SIGKIT_TRACE_LENGTH_INDEFINITE, // buffer
    SIGKIT_TRACE_LENGTH_OVERFLOW,   // buffer
    SIGKIT_TRACE_MEMBER_REFUSED,    // buffer, SigkitAsnTemplate; outcome
    SIGKIT_TRACE_ELEMENT_REFUSED,   // buffer, SigkitAsnTemplate; outcome
    SIGKIT_TRACE_ELEMENT_TOO_MANY,  // buffer, SigkitAsnTemplate; how many are allowed
    SIGKIT_TRACE_BLOCK_SKIPPED,     // text of a PEM block; outcome
    SIGKIT_TRACE_ARMOUR_REFUSED,    // text of a message; outcome
    SIGKIT_TRACE_MESSAGE_CERT,      // encoding of a certificate that a message or token brings; outcome
    SIGKIT_TRACE_CERT_ADMITTED,     // certificate; outcome, of which SIGKIT_ERR_CERT_DUPLICATE has passed
    SIGKIT_TRACE_CERT_SELF_SIGNED,  // certificate that is left out, as it would be a trust anchor
    SIGKIT_TRACE_CRL_ADMITTED,      // CRL; outcome, of which SIGKIT_ERR_CRL_DUPLICATE has passed

    // Message and token.
    SIGKIT_TRACE_MESSAGE,            // decoded message or null; outcome
    SIGKIT_TRACE_TOKEN,              // decoded token or null; outcome
    SIGKIT_TRACE_TST_INFO,           // SigkitTimestampInfo or null; outcome
    SIGKIT_TRACE_IMPRINT,            // SigkitTimestampInfo, content signer; outcome
    SIGKIT_TRACE_TOKEN_TIME,         // SigkitTimestampInfo; outcome
    SIGKIT_TRACE_VERIFY_TIME,        // SigkitTimestampInfo; seconds since 1970
    SIGKIT_TRACE_AUTHORITY,          // token signer, certificate or null; outcome
    SIGKIT_TRACE_TOKEN_ATTRIBUTES,   // token signer, certificate; outcome
    SIGKIT_TRACE_TOKEN_DIGEST,       // SigkitMdInfo, digest; 1 when it is the expected one
    SIGKIT_TRACE_TOKEN_SIGNATURE,    // token signer, certificate; outcome
    SIGKIT_TRACE_SIGNER,             // content signer, certificate or null; outcome
    SIGKIT_TRACE_USAGE,              // certificate; outcome
    SIGKIT_TRACE_PATH,               // certificate; outcome of its validation
    SIGKIT_TRACE_CONTENT_ATTRIBUTES, // content signer, certificate; outcome
    SIGKIT_TRACE_CHECK_OPENED,       // content signer; outcome
    SIGKIT_TRACE_CONTENT_DIGEST,     // SigkitMdInfo, digest; its octets, 0: the host has none
    SIGKIT_TRACE_CONTENT_MATCHES,    // SigkitMdInfo; 1 when the content is the one that was signed

    // Path validation.
    SIGKIT_TRACE_CERT_BEGIN,    // certificate; depth
    SIGKIT_TRACE_CERT_END,      // certificate; outcome
    SIGKIT_TRACE_CERT_RECALLED, // certificate; outcome of an earlier validation, which stands for this one
    SIGKIT_TRACE_CERT_TOO_DEEP, // certificate
    SIGKIT_TRACE_HOST_FAILURE,  // certificate; outcome of the host that forbids trust
    SIGKIT_TRACE_VALIDITY,      // certificate; outcome
    SIGKIT_TRACE_ANCHOR,        // certificate; 1 when it is a trust anchor, which ends its path
    SIGKIT_TRACE_ANCHOR_ERROR,  // certificate; outcome
    SIGKIT_TRACE_ROOT,          // certificate, root or null
    SIGKIT_TRACE_ROOT_TOO_DEEP, // certificate
    SIGKIT_TRACE_COVERED,       // certificate, issuer of its CRL; 1 when the path is done, 0: the issuer is next

    // Candidates for an issuer.
    SIGKIT_TRACE_NAME_AGREES,         // issuer name of a certificate or CRL, candidate
    SIGKIT_TRACE_ISSUER_NO_CA,        // certificate, candidate
    SIGKIT_TRACE_ISSUER_NO_CERT_SIGN, // certificate, candidate
    SIGKIT_TRACE_ISSUER_TRIED,        // certificate, candidate; outcome
    SIGKIT_TRACE_ISSUER_TAKEN,        // certificate, candidate
    SIGKIT_TRACE_CRL_NO_CRL_SIGN,     // CRL, candidate
    SIGKIT_TRACE_CRL_TRIED,           // CRL, candidate; outcome
    SIGKIT_TRACE_CRL_SIGNED_BY,       // CRL, candidate

    // CRLs of a certificate.
    SIGKIT_TRACE_CRL_OTHER_ISSUER,   // CRL, certificate
    SIGKIT_TRACE_CRL_NO_ISSUER,      // CRL, certificate
    SIGKIT_TRACE_CRL_OTHER_ROOT,     // CRL, certificate
    SIGKIT_TRACE_CRL_NO_NEXT_UPDATE, // CRL, certificate
    SIGKIT_TRACE_CRL_EXPIRED,        // CRL, certificate; 1 when it lists the certificate
    SIGKIT_TRACE_CRL_SCORE,          // CRL, certificate; sum of SIGKIT_CRL_SCORE_..., 0: not usable
    SIGKIT_TRACE_CRL_ISSUER_JUDGED,  // CRL, its issuer; outcome
    SIGKIT_TRACE_CRL_CHOSEN,         // certificate, CRL or null; outcome
    SIGKIT_TRACE_ENTRY_DATE,         // entry; 1 when its date counts
    SIGKIT_TRACE_ENTRY,              // certificate, entry; 1 when it revokes
    SIGKIT_TRACE_REVOCATION,         // certificate, CRL; outcome
};

struct SigkitTraceRecord {
    SigkitTracePoint point;
    const void *subject;
    const void *object;
    int64_t value;
};

// Takes the records of a thread. It calls nothing of the library that has trace points.
struct SigkitTraceSink {
    void (*take)(void *context, const SigkitTraceRecord &record);
    void *context;
};

// The sink of this thread; a null `take` ends the tracing.
inline constinit thread_local SigkitTraceSink g_traceSink = {};

inline void InternalTrace(const SigkitTraceRecord &record)
{
    if (g_traceSink.take != nullptr) {
        g_traceSink.take(g_traceSink.context, record);
    }
}

#define SIGKIT_TRACE(point, subject, object, value)                                                                    \
    InternalTrace({SIGKIT_TRACE_##point, (subject), (object), static_cast<int64_t>(value)})

#else

#define SIGKIT_TRACE(point, subject, object, value)

#endif

#endif
