// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

/// @file
/// The functions that a host of Sigkit must supply, under these names and with C linkage. They are found by name, so
/// there is one host a process: all that use the library in it share these functions. Besides them the library calls
/// the compiler's own support (memcpy and the like) and five bounds-checked functions, which many platforms bring
/// along:
///
/// @code
/// int memcpy_s(void *destination, size_t destinationSize, const void *source, size_t count);
/// int memset_s(void *destination, size_t destinationSize, int value, size_t count);
/// int strcpy_s(char *destination, size_t destinationSize, const char *source);
/// int strcat_s(char *destination, size_t destinationSize, const char *source);
/// int vsnprintf_s(char *buffer, size_t bufferSize, size_t count, const char *format, va_list arguments);
/// @endcode
/// The first four return 0, or another value when they refuse. vsnprintf_s returns the characters written; 0 or less is
/// a failure. C11's Annex K has a function of that name with four parameters: it links, and then crashes.
///
/// The library relies on the behaviour for null arguments that is given here. No callback may return early by longjmp
/// or an exception. They are called on the thread that called the library.
///
/// All of these functions return; none calls the library with the context that is at work. A failure is -1, or
/// 0x88000001 when there is no memory. Another code of sigkit.h reads as the fault of a file, a small positive number
/// as that of a bounds-checked function. What a callback created is given back to its releasing one, after a failure
/// too.
#ifndef SIGKIT_SIGKIT_HOST_H
#define SIGKIT_SIGKIT_HOST_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/// @name Memory and strings
/// @{

/// Allocates a block; it need not be zeroed.
///
/// @param[out] out the block, aligned for any record, owned by the library until SigkitFree; null when `size` is 0 or
///   on failure.
/// @param[in] size octets; 0 succeeds without a block.
///
/// @return 0, 0x88100001 when `out` is null, or 0x88000001 when there is no memory.
uint32_t SigkitMalloc(void **out, size_t size);

/// Releases a block of SigkitMalloc; null is ignored.
void SigkitFree(void *block);

/// Compares `n` octets as memcmp does; -1 when a pointer is null. Digests are no secrets: its time need not be
/// constant.
int SigkitMemCmp(const void *a, const void *b, size_t n);

/// Compares at most `n` characters as strncmp does; -1 when a pointer is null.
int SigkitStrNCmp(const char *a, const char *b, size_t n);

/// Returns 0 when the strings are equal, another value when they differ or a pointer is null. It gives no order.
int SigkitStrCmp(const char *a, const char *b);

/// Finds a string in a string as strstr does; null when it is not there or a pointer is null.
const char *SigkitStrStr(const char *haystack, const char *needle);

/// Finds a character, taken as an unsigned octet, as strchr does; null when it is not there or `text` is null. The
/// library does not call it at present.
const char *SigkitStrChr(const char *text, int character);

/// Returns the length of a string, cut to 32 bits; 0 for null.
uint32_t SigkitStrlen(const char *text);

/// @}

/// @name Files
/// A file is a handle of the host's own; the library only hands it back. A signature, certificate or CRL file is asked
/// for its size and read with one call. Content is read in pieces until a read gives 0: an error there looks like its
/// end. A host without files opens none.
/// @{

/// Opens a file. The library passes a path that is not null and the mode "rb". Returns null when it cannot be opened.
void *SigkitFileOpen(const char *path, const char *mode);

/// Reads at most `size` octets from the file's position into `buffer` and moves on. Returns the number of octets read;
/// fewer than asked means the end of the file or an error.
size_t SigkitFileRead(void *buffer, size_t size, void *file);

/// Closes a file. Returns 0, or another value when that fails or `file` is null; the handle is gone either way.
int SigkitFileClose(void *file);

/// Returns the size of a file in octets and leaves its position where it was; 0 when it is unknown or `file` is null.
size_t SigkitFileGetSize(void *file);

/// @}

/// @name Log
/// @{

/// Takes one line of the library's log. It decides nothing: it may be empty, slow or lossy. Of a failure's lines the
/// first is the cause and the last the answer.
///
/// @param[in] level 0 error, 1 warning; the library passes on no others.
/// @param[in] file the tag "sigkit_log.log".
/// @param[in] line line number of the event in its source.
/// @param[in] function name of the function in which the event arose.
/// @param[in] errorCode status code of the event, or 0.
/// @param[in] message the text, or null for an event that has none but could not be formatted. It may hold octets of
///   the data being judged (names), so a host that prints to a terminal may want to escape them.
///
/// All texts are borrowed for the call only.
void SigkitLogPrint(int level, const char *file, int line, const char *function, uint32_t errorCode,
                    const char *message);

/// @}

/// @name Digests
/// Hash algorithms are numbers: 43 SHA-256, 44 SHA-384, 45 SHA-512 (FIPS 180-4); no other may be taken. Every int32_t
/// result is 0 for success and another value for failure, which the library returns to its caller as it is.
/// @{

/// A digest in progress; its content is the host's own.
typedef struct SigkitMdCtx SigkitMdCtx;

/// Creates a digest context into `out`; the library owns it until SigkitMdDestoryCtx.
int32_t SigkitMdCreateCtx(SigkitMdCtx **out);

/// Starts a digest with the algorithm `hashAoid`; called once for each context, right after SigkitMdCreateCtx.
int32_t SigkitMdInit(SigkitMdCtx *ctx, uint32_t hashAoid);

/// Feeds `len` octets; null or empty data succeed and change nothing.
int32_t SigkitMdUpdate(SigkitMdCtx *ctx, const void *data, uint32_t len);

/// Ends a digest.
///
/// @param[out] digest an area of 64 octets.
/// @param[out] digestLen octets written.
/// @param[in] reserved a valid pointer that is not used; null is refused.
int32_t SigkitMdFinal(SigkitMdCtx *ctx, uint8_t *digest, uint32_t *digestLen, void *reserved);

/// Releases a digest context; null is ignored. (The spelling is part of the interface.)
void SigkitMdDestoryCtx(SigkitMdCtx *ctx);

/// @}

/// @name Signatures
/// RSA signatures of the RSASSA-PKCS1-v1_5 kind (RFC 8017, section 8.2) over streamed data. Every int32_t result is 0
/// for success. Another value says that the machine failed: then nothing is trusted any more, or the library's caller
/// gets it, or SIGKIT_ERR_SIGNATURE in its place. A key or a signature that is no good is not a failure but a check
/// whose outcome is 0.
/// @{

/// Octets of the largest modulus or exponent: a key of 4096 bits.
#define SIGKIT_MAX_KEY_SIZE 512

/// An unsigned integer, big-endian.
typedef struct SigkitBigInt {
    uint32_t len;                      ///< octets used, 0 to 512
    uint8_t data[SIGKIT_MAX_KEY_SIZE]; ///< the first `len` are the integer
} SigkitBigInt;

/// A signature check in progress; its content is the host's own.
typedef struct SigkitCryptoCtx SigkitCryptoCtx;

/// Creates a signature-check context into `out`; the library owns it until SigkitCryptoVerifyDestroyCtx.
int32_t SigkitCryptoVerifyCreateCtx(SigkitCryptoCtx **out);

/// Arms a check with a public key and a hash algorithm. The numbers are borrowed for the call only. An attacker may
/// have chosen them: with any, of no octets and with leading zeros too, it neither crashes nor takes long.
int32_t SigkitCryptoVerifyInit(SigkitCryptoCtx *ctx, const SigkitBigInt *exponent, const SigkitBigInt *modulus,
                               uint32_t hashAoid);

/// Feeds `len` octets of the signed data.
int32_t SigkitCryptoVerifyUpdate(SigkitCryptoCtx *ctx, const void *data, uint32_t len);

/// Ends a check.
///
/// @param[in] signature `len` octets; may be null when `len` is 0. It may be shorter than the modulus when its maker
///   dropped leading zeros: the tool's host takes it with up to three of them put back.
/// @param[out] verified 1 when the signature holds, 0 in every other case, an error of the cryptographic library
///   included.
///
/// @return 0 when the check was made, whatever its outcome.
int32_t SigkitCryptoVerifyFinal(SigkitCryptoCtx *ctx, const uint8_t *signature, uint32_t len, int32_t *verified);

/// Releases a signature-check context; null is ignored.
void SigkitCryptoVerifyDestroyCtx(SigkitCryptoCtx *ctx);

/// @}

#ifdef __cplusplus
}
#endif

#endif
