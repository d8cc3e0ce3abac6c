// The host callbacks of the library, over the C library, libcrypto and the platform's log and memory.
//
// The RSA calls with which a public key is put together are deprecated since OpenSSL 3.0 but are there in every version
// from 1.1.1 on; the build asks for the interface of 1.1.1 (OPENSSL_API_COMPAT). Their results are checked, so that a
// libcrypto without memory or without an algorithm refuses a signature and never crashes the tool.
#include "src/upgrade_sigkit_sdk_callback.h"

#include <limits.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <atomic>

#include <openssl/bn.h>
#include <openssl/opensslv.h>
#include <openssl/rsa.h>

#include "annexk.h"
#include "qzlog.h"
#include "qzosax.h"
#include "sigkit/sigkit.h"
#include "sigkit/sigkit_host.h"
#include "src/module.h"

#define SOURCE_NAME "upgrade_sigkit_sdk_callback"

namespace
{

// Line numbers by which the memory service knows the blocks, and the log the events.
constexpr int LINE_MALLOC = 52;
constexpr int LINE_FREE = 72;
constexpr int LINE_PRINT_ERROR = 283;
constexpr int LINE_PRINT_WARNING = 290;
constexpr int LINE_PRINT_DEBUG = 297;
constexpr int LINE_PRINT_INFO = 304;
constexpr int LINE_MD_NO_DIGEST = 442;
constexpr int LINE_MD_INIT_FAILED = 448;
constexpr int LINE_MD_UPDATE_FAILED = 477;
constexpr int LINE_MD_FINAL_FAILED = 504;
constexpr int LINE_VERIFY_NO_DIGEST = 612;
constexpr int LINE_VERIFY_INIT_FAILED = 626;
constexpr int LINE_VERIFY_UPDATE_FAILED = 655;

constexpr int32_t FAILURE = -1;

// Longest path that is opened, in characters without the NUL; PATH_MAX counts it.
constexpr size_t MAX_PATH_LENGTH = 4096;

// Octets read from the system at a time; the library asks for 4096.
constexpr size_t FILE_BUFFER_SIZE = 32768;

// The buffer of the stream that was opened when no other had it. Streams beside it have the small ones of the C library.
// It is given back only after its stream was closed, when another stream may have the same address already.
alignas(64) char g_fileBuffer[FILE_BUFFER_SIZE];
std::atomic<bool> g_isBufferTaken{false};
std::atomic<FILE *> g_bufferedStream{nullptr};

// A signature goes to libcrypto at a length that is a multiple of this. Octets.
constexpr uint64_t SIGNATURE_UNIT = 4;

// The library's numbers of the hash algorithms.
constexpr uint32_t HASH_SHA256 = 43;
constexpr uint32_t HASH_SHA384 = 44;
constexpr uint32_t HASH_SHA512 = 45;

// How an event of the library appears on the console and in the platform's log.
struct LogLevel {
    const char *prefix;
    int platformLevel;
    int line;
};

constexpr LogLevel LOG_LEVELS[] = {{"[ERROR]", QZLOG_ERROR, LINE_PRINT_ERROR},
                                   {"[WARNING]", QZLOG_WARNING, LINE_PRINT_WARNING},
                                   {"[INFO]", QZLOG_INFO, LINE_PRINT_INFO},
                                   {"[DEBUG]", QZLOG_DEBUG, LINE_PRINT_DEBUG}};
constexpr int LOG_LEVEL_COUNT = static_cast<int>(sizeof(LOG_LEVELS) / sizeof(LOG_LEVELS[0]));

// The tag at the head of both records is their own size.
constexpr uint32_t CONTEXT_SIZE = 24;
static_assert(sizeof(SigkitMdCtx) == CONTEXT_SIZE && sizeof(SigkitCryptoCtx) == CONTEXT_SIZE);

// Positions of files are 32-bit numbers to the library.
int32_t Position(FILE *stream)
{
    return static_cast<int32_t>(ftell(stream));
}

// Tells whether a digest is in progress. libcrypto crashes when it is fed one that is not.
bool IsDigesting(const EVP_MD_CTX *mdCtx)
{
    return mdCtx != nullptr && EVP_MD_CTX_md(mdCtx) != nullptr;
}

// Starts a digest; after a failure none is in progress.
bool StartDigest(EVP_MD_CTX *mdCtx, const EVP_MD *digest)
{
    if (mdCtx == nullptr) {
        return false;
    }
    if (EVP_DigestInit_ex(mdCtx, digest, nullptr) != 1) {
        (void)EVP_MD_CTX_reset(mdCtx);
        return false;
    }
    return true;
}

bool FeedDigest(EVP_MD_CTX *mdCtx, const void *data, uint32_t len)
{
    return IsDigesting(mdCtx) && EVP_DigestUpdate(mdCtx, data, len) == 1;
}

// Null for a record that claims more octets than it has, or without memory.
BIGNUM *MakeNumber(const SigkitBigInt *number)
{
    if (number->len > sizeof(number->data)) {
        return nullptr;
    }
    return BN_bin2bn(number->data, static_cast<int>(number->len), nullptr);
}

// Makes the public key (modulus, exponent) of RFC 8017, section 3.1. Null without memory; the caller frees it.
RSA *MakeRsa(const SigkitBigInt *exponent, const SigkitBigInt *modulus)
{
    RSA *const rsa = RSA_new();
    BIGNUM *const n = MakeNumber(modulus);
    BIGNUM *const e = MakeNumber(exponent);
    if (rsa == nullptr || n == nullptr || e == nullptr || RSA_set0_key(rsa, n, e, nullptr) != 1) {
        BN_free(e); // the key owns them only after a success
        BN_free(n);
        RSA_free(rsa);
        return nullptr;
    }
    return rsa;
}

EVP_PKEY *MakeKey(const SigkitBigInt *exponent, const SigkitBigInt *modulus)
{
    EVP_PKEY *const key = EVP_PKEY_new();
    if (key == nullptr) {
        return nullptr;
    }
#if OPENSSL_VERSION_NUMBER < 0x30000000L
    // libcrypto refuses this for a key without a type yet; the assignment below gives it its type either way.
    (void)EVP_PKEY_set_alias_type(key, EVP_PKEY_type(EVP_PKEY_RSA));
#endif
    RSA *const rsa = MakeRsa(exponent, modulus);
    if (rsa == nullptr || EVP_PKEY_assign(key, EVP_PKEY_RSA, rsa) != 1) {
        RSA_free(rsa); // the key owns it only after a success
        EVP_PKEY_free(key);
        return nullptr;
    }
    return key;
}

int32_t DropKey(SigkitCryptoCtx *ctx)
{
    EVP_PKEY_free(ctx->pkey);
    ctx->pkey = nullptr;
    return FAILURE;
}

// Checks a signature whose length is no multiple of the unit: with leading zero octets up to the next one. A signature
// is a number (RFC 8017, section 8.2.2), so they do not change it, and one that was stored without its leading zeros
// gets back the length of the modulus, which libcrypto insists on.
//
// Returns 0 with libcrypto's result, or -1 when there is no memory for the padded signature.
int32_t VerifyPadded(SigkitCryptoCtx *ctx, const uint8_t *signature, uint32_t len, uint64_t padded, int *result)
{
    void *block = nullptr;
    if (padded > UINT_MAX || SigkitMalloc(&block, padded) != SIGKIT_OK) { // libcrypto counts in an unsigned int
        return FAILURE;
    }
    const unsigned int size = static_cast<unsigned int>(padded);
    uint8_t *const buffer = static_cast<uint8_t *>(block);
    (void)memset_s(buffer, size, 0, size);
    (void)memcpy_s(buffer + (size - len), len, signature, len);
    *result = EVP_VerifyFinal(ctx->mdCtx, buffer, size, ctx->pkey);
    SigkitFree(buffer);
    return 0;
}

} // namespace

// ---- Memory and strings --------------------------------------------------------------------------------------------

uint32_t SigkitMalloc(void **out, size_t size)
{
    if (out == nullptr) {
        return SIGKIT_ERR_PARAM;
    }
    *out = nullptr;
    if (size == 0) {
        return SIGKIT_OK;
    }
    void *const block = qzax_mallocsubstandard(MODULE_ID, size, 0, __func__, LINE_MALLOC);
    if (block == nullptr) {
        return SIGKIT_ERR_NO_MEMORY;
    }
    *out = block;
    return SIGKIT_OK;
}

void SigkitFree(void *block)
{
    if (block != nullptr) {
        qzax_freesub(block, __func__, LINE_FREE);
    }
}

int SigkitMemCmp(const void *a, const void *b, size_t n)
{
    return a == nullptr || b == nullptr ? FAILURE : memcmp(a, b, n);
}

int SigkitStrNCmp(const char *a, const char *b, size_t n)
{
    return a == nullptr || b == nullptr ? FAILURE : strncmp(a, b, n);
}

int SigkitStrCmp(const char *a, const char *b)
{
    if (a == nullptr || b == nullptr) {
        return FAILURE;
    }
    if (a == b) {
        return 0;
    }
    const uint32_t length = SigkitStrlen(a);
    return length == SigkitStrlen(b) ? strncmp(a, b, length) : FAILURE;
}

const char *SigkitStrStr(const char *haystack, const char *needle)
{
    return haystack == nullptr || needle == nullptr ? nullptr : strstr(haystack, needle);
}

const char *SigkitStrChr(const char *text, int character)
{
    return text == nullptr ? nullptr : strchr(text, static_cast<unsigned char>(character));
}

uint32_t SigkitStrlen(const char *text)
{
    return text == nullptr ? 0 : static_cast<uint32_t>(strlen(text));
}

// ---- Files ---------------------------------------------------------------------------------------------------------

void *SigkitFileOpen(const char *path, const char *mode)
{
    if (strlen(path) > MAX_PATH_LENGTH) {
        return nullptr;
    }
    // Only asks whether the path leads anywhere: what is opened is the path as it was given.
    char resolved[MAX_PATH_LENGTH + 1] = {};
    if (realpath(path, resolved) == nullptr) {
        return nullptr;
    }
    FILE *const stream = fopen(path, mode);
    if (stream != nullptr && !g_isBufferTaken.exchange(true)) {
        g_bufferedStream.store(stream);
        (void)setvbuf(stream, g_fileBuffer, _IOFBF, FILE_BUFFER_SIZE);
    }
    return stream;
}

size_t SigkitFileRead(void *buffer, size_t size, void *file)
{
    return fread(buffer, 1, size, static_cast<FILE *>(file));
}

int SigkitFileClose(void *file)
{
    if (file == nullptr) {
        return FAILURE;
    }
    FILE *const stream = static_cast<FILE *>(file);
    const bool isBuffered = g_bufferedStream.load() == stream;
    if (isBuffered) {
        g_bufferedStream.store(nullptr);
    }
    const int result = fclose(stream);
    if (isBuffered) {
        g_isBufferTaken.store(false);
    }
    return result;
}

size_t SigkitFileGetSize(void *file)
{
    FILE *const stream = static_cast<FILE *>(file);
    if (stream == nullptr) {
        return 0;
    }
    const int32_t position = Position(stream);
    if (position < 0) {
        return 0;
    }
    (void)fseek(stream, 0, SEEK_END);
    const int32_t size = Position(stream);
    (void)fseek(stream, position, SEEK_SET);
    // A size that its 32 bits make negative becomes a huge one here, which the library refuses.
    return static_cast<size_t>(size);
}

// ---- Log -----------------------------------------------------------------------------------------------------------

void SigkitLogPrint(int level, const char *file, int line, const char *function, uint32_t errorCode,
                    const char *message)
{
    const char *const text = message == nullptr ? "(null)" : message;
    if (level >= 0 && level < LOG_LEVEL_COUNT) {
        const LogLevel &row = LOG_LEVELS[level];
        (void)printf("%s", row.prefix);
        LOG_EVENT(row.platformLevel, row.line, "%s(%d):(%s):%s", file, line, function, text);
    }
    (void)printf("%s(%d):(%s):%s", file, line, function, text);
    if (errorCode != 0) {
        (void)printf("(err:%x)", errorCode);
    }
    (void)puts("\r");
    (void)fflush(stdout); // lines are few, and none may be lost if the process dies
}

// ---- Digests -------------------------------------------------------------------------------------------------------

const EVP_MD *SkvGetOpensslEvpmd(uint32_t aoid)
{
    switch (aoid) {
    case HASH_SHA256:
        return EVP_sha256();
    case HASH_SHA384:
        return EVP_sha384();
    case HASH_SHA512:
        return EVP_sha512();
    default:
        return nullptr;
    }
}

uint32_t SkvOpensslUnint(uint32_t value)
{
    return value;
}

int32_t SigkitMdCreateCtx(SigkitMdCtx **out)
{
    if (out == nullptr) {
        return static_cast<int32_t>(SIGKIT_ERR_PARAM);
    }
    void *block = nullptr;
    const uint32_t status = SigkitMalloc(&block, CONTEXT_SIZE);
    if (status != SIGKIT_OK) {
        return static_cast<int32_t>(status);
    }
    const int zeroed = memset_s(block, CONTEXT_SIZE, 0, CONTEXT_SIZE);
    if (zeroed != 0) {
        SigkitFree(block);
        return zeroed;
    }
    SigkitMdCtx *const ctx = static_cast<SigkitMdCtx *>(block);
    ctx->size = CONTEXT_SIZE;
    *out = ctx;
    return 0;
}

int32_t SigkitMdInit(SigkitMdCtx *ctx, uint32_t hashAoid)
{
    if (ctx == nullptr) {
        return FAILURE;
    }
    ctx->mdCtx = EVP_MD_CTX_new();
    (void)EVP_MD_CTX_reset(ctx->mdCtx);
    const EVP_MD *const digest = SkvGetOpensslEvpmd(hashAoid);
    if (digest == nullptr) {
        LOG_EVENT(QZLOG_ERROR, LINE_MD_NO_DIGEST, "Failed to get openssl evp handler.");
        return FAILURE;
    }
    if (!StartDigest(ctx->mdCtx, digest)) {
        LOG_EVENT(QZLOG_ERROR, LINE_MD_INIT_FAILED, "Failed to connect handler with hash algo.");
        return FAILURE;
    }
    return 0;
}

int32_t SigkitMdUpdate(SigkitMdCtx *ctx, const void *data, uint32_t len)
{
    if (ctx == nullptr) {
        return FAILURE;
    }
    if (data == nullptr || len == 0) {
        return 0;
    }
    if (!FeedDigest(ctx->mdCtx, data, len)) {
        LOG_EVENT(QZLOG_ERROR, LINE_MD_UPDATE_FAILED, "Failed to update handler.");
        return FAILURE;
    }
    return 0;
}

int32_t SigkitMdFinal(SigkitMdCtx *ctx, uint8_t *digest, uint32_t *digestLen, void *reserved)
{
    if (ctx == nullptr || digest == nullptr || digestLen == nullptr || reserved == nullptr) {
        return FAILURE;
    }
    if (!IsDigesting(ctx->mdCtx) || EVP_DigestFinal(ctx->mdCtx, digest, digestLen) != 1) {
        LOG_EVENT(QZLOG_ERROR, LINE_MD_FINAL_FAILED, "Failed to get final md.");
        return FAILURE;
    }
    return 0;
}

void SigkitMdDestoryCtx(SigkitMdCtx *ctx)
{
    if (ctx != nullptr) {
        EVP_MD_CTX_free(ctx->mdCtx);
        SigkitFree(ctx);
    }
}

// ---- Signatures ----------------------------------------------------------------------------------------------------

int32_t SigkitCryptoVerifyCreateCtx(SigkitCryptoCtx **out)
{
    void *block = nullptr;
    if (out == nullptr || SigkitMalloc(&block, CONTEXT_SIZE) != SIGKIT_OK) {
        return FAILURE;
    }
    (void)memset_s(block, CONTEXT_SIZE, 0, CONTEXT_SIZE);
    SigkitCryptoCtx *const ctx = static_cast<SigkitCryptoCtx *>(block);
    *ctx = {CONTEXT_SIZE, nullptr, nullptr}; // whatever became of the zeroing: the pointers are freed with the record
    *out = ctx;
    return 0;
}

int32_t SigkitCryptoVerifyInit(SigkitCryptoCtx *ctx, const SigkitBigInt *exponent, const SigkitBigInt *modulus,
                               uint32_t hashAoid)
{
    if (ctx == nullptr || exponent == nullptr || modulus == nullptr) {
        return FAILURE;
    }
    ctx->pkey = MakeKey(exponent, modulus);
    if (ctx->pkey == nullptr) {
        return FAILURE;
    }
    const EVP_MD *const digest = SkvGetOpensslEvpmd(hashAoid);
    if (digest == nullptr) {
        LOG_EVENT(QZLOG_ERROR, LINE_VERIFY_NO_DIGEST, "Failed to get algo handler.");
        return DropKey(ctx);
    }
    ctx->mdCtx = EVP_MD_CTX_new();
    if (!StartDigest(ctx->mdCtx, digest)) {
        LOG_EVENT(QZLOG_ERROR, LINE_VERIFY_INIT_FAILED, "Failed to bind algo handler to ctx.");
        return DropKey(ctx);
    }
    return 0;
}

int32_t SigkitCryptoVerifyUpdate(SigkitCryptoCtx *ctx, const void *data, uint32_t len)
{
    if (ctx == nullptr) {
        return FAILURE;
    }
    if (!FeedDigest(ctx->mdCtx, data, len)) {
        LOG_EVENT(QZLOG_ERROR, LINE_VERIFY_UPDATE_FAILED, "Failed to update signature data.");
        return FAILURE;
    }
    return 0;
}

int32_t SigkitCryptoVerifyFinal(SigkitCryptoCtx *ctx, const uint8_t *signature, uint32_t len, int32_t *verified)
{
    if (ctx == nullptr || ctx->pkey == nullptr || verified == nullptr) {
        return FAILURE;
    }
    const uint64_t length = len; // wider than `len`, so that rounding up cannot wrap
    const uint64_t padded = (length + SIGNATURE_UNIT - 1) / SIGNATURE_UNIT * SIGNATURE_UNIT;
    int result = 0;
    if (padded == length) {
        result = EVP_VerifyFinal(ctx->mdCtx, signature, len, ctx->pkey);
    } else if (VerifyPadded(ctx, signature, len, padded, &result) != 0) {
        return FAILURE;
    }
    *verified = result == 1 ? 1 : 0;
    return 0;
}

void SigkitCryptoVerifyDestroyCtx(SigkitCryptoCtx *ctx)
{
    if (ctx != nullptr) {
        EVP_MD_CTX_free(ctx->mdCtx);
        EVP_PKEY_free(ctx->pkey);
        SigkitFree(ctx);
    }
}
