// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

/// @file
/// Sigkit: proves that content is authentic by a detached CMS signature (RFC 5652).
///
/// A verify context is created, given trust anchors and CRLs, and asked about one or more signatures. Every signer must
/// carry an RFC 3161 timestamp token; all dates of certificates and CRLs are judged at the token's time, never at the
/// wall clock. A signer counts only when its certificate, and every certificate above it, leads to a trust anchor and
/// is covered by a CRL whose own issuer is validated in the same way.
///
/// What is not checked: the policy, name constraints and path length constraints of certificates, critical extensions
/// that the library does not know, sizes of keys, a CRL's thisUpdate and scope, and the nonce, policy and accuracy of a
/// timestamp token. docs/security.md has all that is taken leniently.
///
/// The library does no input, output or allocation of its own: the host supplies the functions of sigkit_host.h.
///
/// A whole verification, from docs/examples/verify_memory.c:
/// @code
/// static uint32_t Verify(uint32_t *verdict)
/// {
///     SigkitVerifyCreateParam param = SIGKIT_VERIFY_CREATE_PARAM_INIT;
///     SigkitVerifyCtx *ctx = NULL;
///     uint32_t status = SigkitVerifyCreateCtx(&ctx, &param);
///     if (status != SIGKIT_OK) {
///         return status;
///     }
///     status = SigkitVerifyAddCertFile(ctx, "root");
///     if (status == SIGKIT_OK) {
///         status = SigkitVerifyAddCrlFile(ctx, "crls");
///     }
///     if (status == SIGKIT_OK) {
///         status = SigkitVerifyDetachSignatureQuick(ctx, "content", "signature", verdict);
///     }
///     SigkitVrfCtxFree(ctx); // on every path: a check that was left open would meet the next content
///     return status;
/// }
/// @endcode
/// The content is authentic when the status is SIGKIT_OK and the verdict is 1, and in no other case.
///
/// Conventions: lengths are octets; times are seconds since 1970-01-01 00:00:00 UTC. Every operation returns a status:
/// SIGKIT_OK, one of the codes below or, whatever codes are named at the operation, what a callback or a bounds-checked
/// function returned when it failed. It runs to completion on the caller's thread. A context serves one thread at a
/// time; different contexts share nothing.
///
/// A failing machine: what cannot be used may be skipped, as a PEM block that does not decode, a certificate beside
/// CRLs, a candidate for an issuer, a CRL whose issuer is not trusted or that cannot be summarised. If something was
/// skipped because memory or a callback failed, it may have been the CRL that revokes. From then on this context trusts
/// no certificate. Create a new one. On the old one Begin returns the failure's code, and SigkitDecodeCrl gives
/// summaries with `verified` 0, those that it made before the failure included.
#ifndef SIGKIT_SIGKIT_H
#define SIGKIT_SIGKIT_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/// Marks what returns a status: a compiler that can warns when a caller drops it.
#if defined(__cplusplus) && __cplusplus >= 201703L
#define SIGKIT_MUST_USE [[nodiscard]]
#elif defined(__GNUC__)
#define SIGKIT_MUST_USE __attribute__((warn_unused_result))
#else
#define SIGKIT_MUST_USE
#endif

/// @name Status codes
/// 0x88 marks a failure. Classes: 0x00 resources and formats, 0x10 parameters, 0x20 verification, 0x30 ASN.1 decoding.
/// Some are only logged, or are behind other checks and not met: docs/troubleshooting.md says which, and what to do
/// about each.
/// @{

#define SIGKIT_OK UINT32_C(0) ///< the operation succeeded

#define SIGKIT_ERR_NO_MEMORY UINT32_C(0x88000001)      ///< there is not enough memory
#define SIGKIT_ERR_VALUE_TOO_LONG UINT32_C(0x88000002) ///< a signed messageDigest is longer than 64 octets
#define SIGKIT_ERR_FILE_OPEN UINT32_C(0x88000101)      ///< the file cannot be opened
#define SIGKIT_ERR_FILE_READ UINT32_C(0x88000102)      ///< the file gave fewer octets than its size
#define SIGKIT_ERR_FILE_EMPTY UINT32_C(0x88000104)     ///< the file is empty, or its size is unknown
#define SIGKIT_ERR_FILE_TOO_BIG UINT32_C(0x88000106)   ///< the file is larger than 2000000 octets
#define SIGKIT_ERR_BUFFER_END UINT32_C(0x88000201)     ///< an element ends before its length says so
#define SIGKIT_ERR_TIME_FORMAT UINT32_C(0x88000301)    ///< a time is neither YYMMDDhhmmssZ nor YYYYMMDDhhmmssZ
#define SIGKIT_ERR_BASE64 UINT32_C(0x88000302)         ///< a PEM block is not Base64
#define SIGKIT_ERR_NAME_TOO_LONG UINT32_C(0x880004FF)  ///< an attribute was cut in a printed name
#define SIGKIT_ERR_LIST_FULL UINT32_C(0x88000501)      ///< a list holds 16 entries already

#define SIGKIT_ERR_CTX_NULL UINT32_C(0x88100000) ///< the context is null
#define SIGKIT_ERR_PARAM UINT32_C(0x88100001)    ///< an argument is null, empty or out of range
#define SIGKIT_ERR_CTX_TAG UINT32_C(0x88100002)  ///< the record's leading size is not the expected one

#define SIGKIT_ERR_CERT_DUPLICATE UINT32_C(0x88200001)     ///< the certificate is in the store already
#define SIGKIT_ERR_CERT_REVOKED UINT32_C(0x88200002)       ///< a CRL revokes the certificate
#define SIGKIT_ERR_KEY_TOO_LONG UINT32_C(0x88200003)       ///< a modulus or exponent has more than 512 octets
#define SIGKIT_ERR_NO_ROOT UINT32_C(0x88200004)            ///< no chain leads from the certificate to a trust anchor
#define SIGKIT_ERR_CERT_USAGE UINT32_C(0x88200007)         ///< the certificate may not sign this kind of content
#define SIGKIT_ERR_NAME_ATTRIBUTE UINT32_C(0x88200008)     ///< a name holds an attribute type that cannot be printed
#define SIGKIT_ERR_CERT_UNTRUSTED UINT32_C(0x88200009)     ///< path validation ended without error and without trust
#define SIGKIT_ERR_NO_CRL UINT32_C(0x88200012)             ///< no usable CRL covers the certificate
#define SIGKIT_ERR_CERT_NOT_YET_VALID UINT32_C(0x88200013) ///< the certificate's notBefore lies after the token's time
#define SIGKIT_ERR_CERT_EXPIRED UINT32_C(0x88200014)       ///< the certificate's notAfter lies before the token's time
#define SIGKIT_ERR_TIMESTAMP_HASH UINT32_C(0x88200016)     ///< the token's imprint uses an unsupported digest
#define SIGKIT_ERR_PATH_TOO_DEEP UINT32_C(0x88200018)      ///< more than 10 validations are nested below the top one

#define SIGKIT_ERR_CRL_LOCKED UINT32_C(0x88200101)            ///< the context takes no more CRLs
#define SIGKIT_ERR_CRL_LOAD UINT32_C(0x88200102)              ///< no CRL could be decoded, or it could not be stored
#define SIGKIT_ERR_CRL_EXPIRED UINT32_C(0x88200103)           ///< a CRL's nextUpdate lies before the token's time
#define SIGKIT_ERR_CRL_UNVERIFIED UINT32_C(0x88200104)        ///< no CRL has an issuer that validates
#define SIGKIT_ERR_CRL_BUNDLE_EMPTY UINT32_C(0x88200105)      ///< no CRL of one of the files can be read
#define SIGKIT_ERR_CRL_BUNDLE_UNVERIFIED UINT32_C(0x88200106) ///< a CRL cannot be read, or its issuer is not trusted
#define SIGKIT_ERR_CRL_DUPLICATE UINT32_C(0x88200107)         ///< the CRL is in the store already
#define SIGKIT_ERR_CRL_DECODE UINT32_C(0x88200108)            ///< one input holds more than 16 CRLs
#define SIGKIT_ERR_CRL_ISSUER_TWICE UINT32_C(0x88200109)      ///< one file holds two CRLs of one issuer
#define SIGKIT_ERR_CRL_COVERAGE UINT32_C(0x88200110) ///< the newer file drops an issuer that it does not revoke

#define SIGKIT_ERR_SIGNATURE_TOO_LONG UINT32_C(0x88200201) ///< a signature has more than 516 octets
#define SIGKIT_ERR_SIGNER_NOT_FOUND UINT32_C(0x88200301)   ///< no certificate has the signer's issuer and serial number
#define SIGKIT_ERR_DIGEST_CONFLICT UINT32_C(0x88200303)    ///< two signers state different digests of one content
#define SIGKIT_ERR_ARMOUR UINT32_C(0x88200305)             ///< there are fewer than 38 octets, or PEM without its end
#define SIGKIT_ERR_DIGEST_ALGORITHM UINT32_C(0x88200306)   ///< a messageDigest's digestAlgorithm is not supported
#define SIGKIT_ERR_NOT_BEGUN UINT32_C(0x88200307)          ///< content came with no check open
#define SIGKIT_ERR_CMS_DECODE UINT32_C(0x88200308)         ///< the message is not a SignedData that can be decoded
#define SIGKIT_ERR_SIGNATURE UINT32_C(0x88200309)          ///< the signature does not hold
#define SIGKIT_ERR_ALGORITHM UINT32_C(0x88200310)          ///< a signature or digest algorithm is not supported
#define SIGKIT_ERR_SIGNED_DATA UINT32_C(0x88200312)        ///< a token, or a certificate in it, cannot be decoded

#define SIGKIT_ERR_TIMESTAMP_SIGNER UINT32_C(0x88200401)    ///< no certificate is there for the token's signer
#define SIGKIT_ERR_TIMESTAMP_IMPRINT UINT32_C(0x88200402)   ///< the token was made for another signature
#define SIGKIT_ERR_TIMESTAMP_SIGNATURE UINT32_C(0x88200403) ///< the token's content does not match its signature

#define SIGKIT_ERR_ASN_NO_DECODER UINT32_C(0x88300000) ///< a type has no decode function
#define SIGKIT_ERR_ASN_TAG UINT32_C(0x88300001)        ///< another type than expected, or a tag number above 30
#define SIGKIT_ERR_ASN_OCTETS_TAG UINT32_C(0x88300003) ///< another type than expected, in a member kept as octets
#define SIGKIT_ERR_ASN_LENGTH UINT32_C(0x88300101)     ///< a length is indefinite, or leads past the end of the input
#define SIGKIT_ERR_ASN_PEEK UINT32_C(0x88300202)       ///< a look-ahead has no output
#define SIGKIT_ERR_ASN_SEQUENCE UINT32_C(0x88300401)   ///< a SEQUENCE lacks a required member, or has one too many
#define SIGKIT_ERR_ASN_BITS UINT32_C(0x88300501)       ///< a BIT STRING is malformed
#define SIGKIT_ERR_ASN_INTEGER UINT32_C(0x88300601)    ///< an INTEGER that must fit four octets does not
#define SIGKIT_ERR_ASN_SET UINT32_C(0x88300701)        ///< an element of a list is malformed, or there are too many
#define SIGKIT_ERR_ASN_BOOLEAN UINT32_C(0x88300801)    ///< a BOOLEAN's length is not 1

#define SIGKIT_ERR_UNKNOWN UINT32_C(0xFFFFFFFF) ///< there is no certificate in the data, or a callback returned -1

/// Returns what a status code means: the phrase behind its macro above. It is a static text, never null and never
/// freed; for any other number, such as a callback's own, "not a status code of Sigkit". It calls no callback. A
/// program that calls neither this nor SigkitStatusName does not carry the texts: they are a member of libsigkit.a and,
/// beside the shared library, an archive of their own, libsigkit_status.a, which its pkg-config and CMake files link.
const char *SigkitStatusText(uint32_t status);

/// Returns the name of a status code's macro, such as "SIGKIT_ERR_NO_ROOT", as a static text; for any other number an
/// empty one.
const char *SigkitStatusName(uint32_t status);

/// @}

/// @name Records
/// @{

/// Largest file that is read whole: a signature message, a certificate file or a CRL file. Octets.
#define SIGKIT_MAX_FILE_SIZE 2000000

/// A verify context: trust anchors, certificates, CRLs and the verification in progress.
typedef struct SigkitVerifyCtx SigkitVerifyCtx;

/// Creation parameters of a verify context.
typedef struct SigkitVerifyCreateParam {
    uint64_t size;        ///< sizeof(SigkitVerifyCreateParam), 72
    uint8_t reserved[64]; ///< zero
} SigkitVerifyCreateParam;

/// The creation parameters as SigkitVerifyCreateCtx wants them: `SigkitVerifyCreateParam param =
/// SIGKIT_VERIFY_CREATE_PARAM_INIT;`
#define SIGKIT_VERIFY_CREATE_PARAM_INIT                                                                                \
    {                                                                                                                  \
        sizeof(SigkitVerifyCreateParam),                                                                               \
        {                                                                                                              \
            0                                                                                                          \
        }                                                                                                              \
    }

/// A certificate's serial number.
typedef struct SigkitCrlSerial {
    uint8_t serial[32]; ///< content octets, left-aligned
    uint32_t len;       ///< octets used, 1 to 32; 0: no serial number
} SigkitCrlSerial;

/// What one CRL of a file says.
typedef struct SigkitCrlInfo {
    uint32_t verified;    ///< 1: a trusted issuer was found at the CRL's thisUpdate; else 0
    int64_t thisUpdate;   ///< seconds since 1970-01-01 00:00:00 UTC (RFC 5280, section 5.1.2.4)
    int64_t nextUpdate;   ///< seconds since 1970-01-01 00:00:00 UTC (RFC 5280, section 5.1.2.5)
    char issuerName[256]; ///< as "C=..,O=..,CN=..", NUL-terminated; empty when it cannot be printed
    /// of the certificate that issued the CRL; `len` 0 when unknown or longer than 32
    SigkitCrlSerial issuerSerial;
    /// owned: revoked CA certificates, `revokedCount` of them; null unless a root's CRL
    SigkitCrlSerial *revokedSerials;
    int32_t revokedCount; ///< entries of `revokedSerials`
    uint8_t reserved[68]; ///< zero
} SigkitCrlInfo;

/// What the CRLs of a file say: one summary for each CRL, in the order of the file.
typedef struct SigkitCrlBundle {
    uint64_t size;           ///< sizeof(SigkitCrlBundle): 208, or 144 where pointers have 32 bits
    SigkitCrlInfo *crls[16]; ///< owned; null where a CRL could not be summarised, and behind the last CRL
    int32_t count;           ///< slots that are not null
    uint8_t reserved[68];    ///< zero
} SigkitCrlBundle;

/// Answers of SigkitCrlCompare.
#define SIGKIT_CRL_EQUAL UINT32_C(0)        ///< the files are equally new
#define SIGKIT_CRL_FIRST_NEWER UINT32_C(1)  ///< the first file is newer
#define SIGKIT_CRL_SECOND_NEWER UINT32_C(2) ///< the second file is newer
#define SIGKIT_CRL_CONFLICT UINT32_C(3)     ///< the files cannot be compared

/// @}

/// @name Context and trust material
/// @{

/// Creates a verify context with an empty store.
///
/// @param[out] ctx the new context; the caller owns it until SigkitVrfCtxFree. Not written on failure.
/// @param[in] param SIGKIT_VERIFY_CREATE_PARAM_INIT; borrowed for the call only.
///
/// @return SIGKIT_OK, SIGKIT_ERR_PARAM (a null argument), SIGKIT_ERR_CTX_TAG (`param->size` is not 72) or
/// SIGKIT_ERR_NO_MEMORY.
SIGKIT_MUST_USE uint32_t SigkitVerifyCreateCtx(SigkitVerifyCtx **ctx, const SigkitVerifyCreateParam *param);

/// Adds certificates to the store. Self-signed ones become trust anchors: this and SigkitVerifyAddCertFile are the only
/// ways to add a trust anchor.
///
/// @param[in,out] ctx copies the octets that it keeps.
/// @param[in] data `len` octets, borrowed for the call only: DER certificates back to back, or PEM text with any number
///   of "CERTIFICATE" blocks. CRLs among them are decoded and dropped.
/// @param[in] len octets.
///
/// A context keeps at most 16 images in all its life: each DER input takes one, and so does each PEM block that is
/// kept.
///
/// @return SIGKIT_OK or one of these:
/// - SIGKIT_ERR_CTX_NULL, SIGKIT_ERR_CTX_TAG: the context is null, or not a live context
/// - SIGKIT_ERR_PARAM: `data` is null or `len` is 0
/// - SIGKIT_ERR_ARMOUR: fewer than 38 octets, or a PEM block without an end
/// - SIGKIT_ERR_NO_MEMORY: no memory
/// - SIGKIT_ERR_LIST_FULL: the context holds 16 images, or the data more than 16 certificates (DER alone), or the store
///   holds 16
/// - another code: the DER data do not decode, from the first object that does not
/// - SIGKIT_ERR_UNKNOWN: no certificate in the data
///
/// A certificate that is in the store already is no error. A PEM block that does not decode, or for which no image is
/// left, is logged and skipped. Deliberate: a tail of DER data of up to 32 octets that does not decode is dropped.
/// After a failure, whatever was added before it stays.
SIGKIT_MUST_USE uint32_t SigkitVerifyAddCert(SigkitVerifyCtx *ctx, const uint8_t *data, uint32_t len);

/// Adds the certificates of a file, as SigkitVerifyAddCert does.
///
/// @param[in,out] ctx the context.
/// @param[in] path NUL-terminated, borrowed for the call only.
///
/// @return what SigkitVerifyAddCert returns, or SIGKIT_ERR_PARAM (null or empty path), SIGKIT_ERR_FILE_OPEN,
/// SIGKIT_ERR_FILE_EMPTY, SIGKIT_ERR_FILE_TOO_BIG or SIGKIT_ERR_FILE_READ.
SIGKIT_MUST_USE uint32_t SigkitVerifyAddCertFile(SigkitVerifyCtx *ctx, const char *path);

/// Adds CRLs (RFC 5280, section 5) to the store. Certificates found beside them are added too, except self-signed ones,
/// which are skipped with a warning; trouble with those certificates is logged and does not make this operation fail.
///
/// @param[in,out] ctx copies the octets that it keeps.
/// @param[in] data `len` octets, borrowed for the call only: DER objects back to back, or PEM text with "X509 CRL"
///   blocks.
/// @param[in] len octets.
///
/// @return SIGKIT_OK or the first of these that applies:
/// - SIGKIT_ERR_CTX_NULL, SIGKIT_ERR_CTX_TAG: the context is null, or not a live context
/// - SIGKIT_ERR_PARAM: `data` is null or `len` is 0
/// - SIGKIT_ERR_CRL_LOCKED: the context takes no more CRLs; no operation brings that about
/// - SIGKIT_ERR_CRL_LOAD: the data do not decode or hold no CRL or, as DER, more than 16 of one kind; there is no
///   memory, or, for DER data, the context holds 16 images
/// - SIGKIT_ERR_LIST_FULL: the store holds 16 CRLs
///
/// A CRL that is in the store already is no error. PEM blocks are skipped and a tail of DER data is dropped as by
/// SigkitVerifyAddCert, and what they revoke is lost. After a failure, whatever was added before it stays.
SIGKIT_MUST_USE uint32_t SigkitVerifyAddCrl(SigkitVerifyCtx *ctx, const uint8_t *data, uint32_t len);

/// Adds the CRLs of a file, as SigkitVerifyAddCrl does.
///
/// @param[in,out] ctx the context.
/// @param[in] path NUL-terminated, borrowed for the call only.
///
/// @return what SigkitVerifyAddCrl returns, or SIGKIT_ERR_FILE_OPEN, SIGKIT_ERR_FILE_EMPTY, SIGKIT_ERR_FILE_TOO_BIG,
/// SIGKIT_ERR_FILE_READ or SIGKIT_ERR_NO_MEMORY. Deliberate: a null context is SIGKIT_ERR_PARAM here, as a null or
/// empty path is.
SIGKIT_MUST_USE uint32_t SigkitVerifyAddCrlFile(SigkitVerifyCtx *ctx, const char *path);

/// Frees a context with everything in it, a verification in progress included.
///
/// @param[in] ctx from SigkitVerifyCreateCtx; must not be used afterwards.
///
/// @return SIGKIT_OK, or SIGKIT_ERR_PARAM when `ctx` is null.
uint32_t SigkitVrfCtxFree(SigkitVerifyCtx *ctx);

/// Returns the version of this interface, which a release keeps for the sake of its hosts; releases have numbers of
/// their own. A static text that is never freed. It cannot fail.
const char *SigkitGetVersion(void);

/// @}

/// @name Detached signatures
/// @{

/// Begins a verification: decodes the signature message, verifies its signer's timestamp token, certificate and
/// signature over the signed attributes, and opens a check of the content to come.
///
/// One Begin for one Final: the checks of several share the content and one verdict, in which a later check that holds
/// may hide an earlier one that does not. A verification that failed or was given up ends with
/// SigkitVerifyDetachSignatureFinal or SigkitVrfCtxFree before the next Begin or Quick: until then its check stays
/// open, and what it was fed counts as the beginning of the next content.
///
/// @param[in,out] ctx copies the message; its certificates and those of the token stay in the store, after a failure
///   too.
/// @param[in] data `len` octets, borrowed for the call only: a SignedData (RFC 5652, section 5) as DER, or as PEM text
///   that begins with "-----BEGIN CMS-----" or "-----BEGIN PKCS7-----".
/// @param[in] len octets.
///
/// @return SIGKIT_OK or the first code of these steps that applies. Arguments:
/// - SIGKIT_ERR_CTX_NULL, SIGKIT_ERR_CTX_TAG: the context is null, or not a live context
/// - SIGKIT_ERR_PARAM: `data` is null or `len` is 0
///
/// Loading the message:
/// - SIGKIT_ERR_ARMOUR: fewer than 38 octets
/// - SIGKIT_ERR_CMS_DECODE: it does not decode, there is no memory, or, for PEM text, the context holds 16 images
/// - SIGKIT_ERR_LIST_FULL: the store has no space for its certificates
///
/// The signer's token (RFC 3161, 2.4.2):
/// - SIGKIT_ERR_PARAM: there is none, or no TSTInfo in it
/// - SIGKIT_ERR_SIGNED_DATA: it does not decode; of the TSTInfo in it: a decoding code
/// - SIGKIT_ERR_TIMESTAMP_HASH: its imprint uses an unsupported digest
/// - SIGKIT_ERR_TIMESTAMP_IMPRINT: it is about another signature
/// - SIGKIT_ERR_TIME_FORMAT: its time cannot be read
/// - SIGKIT_ERR_LIST_FULL: the store has no space for its certificates
/// - SIGKIT_ERR_TIMESTAMP_SIGNER: no certificate for its signer; then the codes of a certificate
/// - SIGKIT_ERR_SIGNATURE: its signature does not hold over its signed attributes
/// - SIGKIT_ERR_TIMESTAMP_SIGNATURE: it was not made for this TSTInfo
///
/// The signer of the content (RFC 5652, 5.4 and 5.6):
/// - SIGKIT_ERR_SIGNER_NOT_FOUND: no certificate for it; then the codes of a certificate
/// - SIGKIT_ERR_SIGNATURE: its signature does not hold over its signed attributes
///
/// Opening the check of the content:
/// - SIGKIT_ERR_DIGEST_CONFLICT: a check of another digest is open since an earlier Begin
/// - SIGKIT_ERR_LIST_FULL: 16 checks are open
///
/// The codes of a certificate, at the token's time; all but the first also come from a certificate above it:
/// - SIGKIT_ERR_CERT_USAGE: it may not sign this kind of content
/// - SIGKIT_ERR_CERT_NOT_YET_VALID, SIGKIT_ERR_CERT_EXPIRED: its dates
/// - SIGKIT_ERR_TIME_FORMAT: its dates, or the one on which a CRL revokes it, cannot be read
/// - SIGKIT_ERR_NO_ROOT: no chain leads to a trust anchor
/// - SIGKIT_ERR_NO_CRL, SIGKIT_ERR_PATH_TOO_DEEP: no CRL decides
/// - SIGKIT_ERR_CERT_REVOKED: a CRL revokes it
///
/// Algorithms and sizes, of the token's signer and the content's:
/// - SIGKIT_ERR_VALUE_TOO_LONG: a messageDigest of more than 64 octets
/// - SIGKIT_ERR_ALGORITHM, SIGKIT_ERR_KEY_TOO_LONG, SIGKIT_ERR_SIGNATURE_TOO_LONG: not supported; where signed
///   attributes are checked it is SIGKIT_ERR_SIGNATURE
/// - SIGKIT_ERR_ALGORITHM, SIGKIT_ERR_PARAM: a certificate that names itself as its issuer has another algorithm, or a
///   key beyond 4096 bits or an empty signature
///
/// A callback that fails gives its own code, or SIGKIT_ERR_SIGNATURE where it was to check signed attributes.
/// Deliberate: a message without a signer is accepted and opens no check.
SIGKIT_MUST_USE uint32_t SigkitVerifyDetachSignatureBegin(SigkitVerifyCtx *ctx, const uint8_t *data, uint32_t len);

/// Feeds content to the verification in progress; any number of times.
///
/// @param[in,out] ctx the context.
/// @param[in] data `len` octets, borrowed for the call only, not null.
/// @param[in] len octets; 0 is allowed.
///
/// @return SIGKIT_OK, an argument code, SIGKIT_ERR_NOT_BEGUN when no check is open, or the code of the callback that
/// failed; end the verification then.
SIGKIT_MUST_USE uint32_t SigkitVerifyDetachSignatureUpdate(SigkitVerifyCtx *ctx, const uint8_t *data, uint32_t len);

/// Ends the verification in progress. Once the arguments are in order, the checks are gone afterwards, whatever the
/// outcome; a new one may begin.
///
/// @param[in,out] ctx the context.
/// @param[out] verdict 1 when the content is authentic, else 0. Only meaningful together with SIGKIT_OK.
///
/// @return SIGKIT_OK (also for content that does not match: that is a verdict), an argument code, or the code of the
/// callback that failed. Deliberate: with no check open the verdict is 1, so callers judge by the first call after a
/// Begin that succeeded.
SIGKIT_MUST_USE uint32_t SigkitVerifyDetachSignatureFinal(SigkitVerifyCtx *ctx, uint32_t *verdict);

/// Begin, Update and Final for files. The content is streamed in pieces of 4096 octets and may be of any size. After a
/// failure call Final or free the context, as after a Begin.
///
/// @param[in,out] ctx the context.
/// @param[in] contentPath path of the signed content, NUL-terminated.
/// @param[in] signaturePath path of the signature message, NUL-terminated; at most SIGKIT_MAX_FILE_SIZE octets.
/// @param[out] verdict 1 when the content is authentic, else 0. Only meaningful together with SIGKIT_OK.
///
/// @return SIGKIT_OK, an argument code, a code of reading the files, or what the three steps return.
SIGKIT_MUST_USE uint32_t SigkitVerifyDetachSignatureQuick(SigkitVerifyCtx *ctx, const char *contentPath,
                                                          const char *signaturePath, uint32_t *verdict);

/// @}

/// @name CRL files
/// May a CRL file replace another one? Both are summarised and the summaries compared. No signature over content is
/// involved, and the wall clock neither.
/// @{

/// Summarises the CRLs in `data` and adds them, and the CA certificates beside them, to the store. The trust anchor
/// must be there already: a self-signed certificate in the data is skipped with a warning.
///
/// @param[in,out] ctx copies the octets that it keeps. What is added counts in later verifications on this context, so
///   compare on one of its own. Its time of judgement is left at the thisUpdate of the last CRL whose issuer was found;
///   the token of the next message sets it anew.
/// @param[in] data `len` octets, borrowed for the call only: DER objects back to back, or PEM text, with at least one
///   CRL and at least one certificate.
/// @param[in] len octets.
/// @param[out] out the summaries, owned by the caller until SigkitCrlFree; they do not refer to the context. Null after
///   any failure.
///
/// @return SIGKIT_OK or the first of these that applies:
/// - SIGKIT_ERR_CTX_NULL, SIGKIT_ERR_CTX_TAG: the context is null, or not a live context
/// - SIGKIT_ERR_PARAM: `data` or `out` is null, or `len` is 0
/// - SIGKIT_ERR_CRL_LOAD: the data do not decode, hold no CRL or no certificate, or, as DER, more than 16 of one kind,
///   or the context holds 16 images; or the store has no space, there is no memory, or a certificate that names itself
///   as its issuer cannot be checked
/// - SIGKIT_ERR_CRL_DECODE: more than 16 CRLs were decoded, which no input brings about
///
/// A PEM block that does not decode, or for which none of the context's 16 images is left, is logged and skipped. A CRL
/// that cannot be summarised is logged and leaves its slot null. A CRL whose issuer is unknown or not trusted is
/// summarised with `verified` 0, and so is every CRL when the machine failed, now or earlier on this context: see the
/// top. After a failure, what was added to the store stays.
SIGKIT_MUST_USE uint32_t SigkitDecodeCrl(SigkitVerifyCtx *ctx, const uint8_t *data, uint32_t len,
                                         SigkitCrlBundle **out);

/// Summarises the CRLs of a file, as SigkitDecodeCrl does.
///
/// @param[in,out] ctx the context.
/// @param[in] path NUL-terminated, borrowed for the call only.
/// @param[out] out as for SigkitDecodeCrl.
///
/// @return what SigkitDecodeCrl returns, or SIGKIT_ERR_PARAM (null or empty path), SIGKIT_ERR_FILE_OPEN,
/// SIGKIT_ERR_FILE_EMPTY, SIGKIT_ERR_FILE_TOO_BIG, SIGKIT_ERR_FILE_READ or SIGKIT_ERR_NO_MEMORY.
SIGKIT_MUST_USE uint32_t SigkitDecodeCrlFile(SigkitVerifyCtx *ctx, const char *path, SigkitCrlBundle **out);

/// Finds out which of two files is newer. CRLs are paired by the printed names of their issuers. The newer file must
/// account for every issuer of the older one: by a CRL of that issuer, or by a root's CRL that revokes the issuer's
/// certificate.
///
/// @param[in] ctx any live context.
/// @param[in] first the summaries of one file.
/// @param[in] second those of the other.
/// @param[out] result SIGKIT_CRL_EQUAL, SIGKIT_CRL_FIRST_NEWER, SIGKIT_CRL_SECOND_NEWER or SIGKIT_CRL_CONFLICT.
///
/// @return SIGKIT_OK (SIGKIT_CRL_CONFLICT then means that each file is newer for some issuer) or the first of these
/// that applies:
/// - SIGKIT_ERR_CTX_NULL, SIGKIT_ERR_CTX_TAG: the context is null, or not a live context; no result
/// - SIGKIT_ERR_PARAM: another argument is null; no result
/// - SIGKIT_ERR_CRL_BUNDLE_EMPTY: a file has no summary; no result
/// - SIGKIT_ERR_CRL_BUNDLE_UNVERIFIED: a summary is missing before another one, or its issuer is not trusted, or the
///   machine failed while the file was summarised; SIGKIT_CRL_CONFLICT
/// - SIGKIT_ERR_CRL_ISSUER_TWICE: one file has two CRLs of one issuer; SIGKIT_CRL_CONFLICT
/// - SIGKIT_ERR_CRL_COVERAGE: the newer file drops an issuer that it does not revoke; SIGKIT_CRL_CONFLICT
///
/// Deliberate: where only the last summaries of a file are missing, it is compared as one without those CRLs.
SIGKIT_MUST_USE uint32_t SigkitCrlCompare(SigkitVerifyCtx *ctx, const SigkitCrlBundle *first,
                                          const SigkitCrlBundle *second, uint32_t *result);

/// Frees summaries.
///
/// @param[in] ctx not null.
/// @param[in] bundle from SigkitDecodeCrl or SigkitDecodeCrlFile; every slot is freed, whatever `count` says. Must not
///   be used afterwards.
///
/// @return SIGKIT_OK, or SIGKIT_ERR_PARAM when an argument is null.
uint32_t SigkitCrlFree(SigkitVerifyCtx *ctx, SigkitCrlBundle *bundle);

/// @}

#ifdef __cplusplus
}
#endif

#endif
