// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "tests/support/recording_host.h"

#include <stdarg.h>
#include <stdio.h>

#include <algorithm>

#include "platform/annexk.h"
#include "sigkit/sigkit_host.h"

RecordingHost g_recordingHost;

namespace
{

// Counts a call and returns whether it is one that fails.
bool Fails(WatchedCall &call)
{
    ++call.calls;
    return call.calls == call.failAt;
}

char LevelLetter(int level)
{
    constexpr char letters[] = {'E', 'W', 'I', 'D'};
    return level >= 0 && level < 4 ? letters[level] : '?';
}

std::string TextOrEmpty(const char *text)
{
    return text == nullptr ? std::string() : std::string(text);
}

} // namespace

void ResetRecordingHost()
{
    g_recordingHost = RecordingHost();
}

std::vector<LogLine> Lines()
{
    return g_recordingHost.lines;
}

std::string LineText(const LogLine &line)
{
    char code[16] = {};
    (void)snprintf(code, sizeof(code), "%x", line.errorCode);
    const std::string message = line.message.value_or("");
    return std::string(1, LevelLetter(line.level)) + " " + line.function + " " + code + " " +
           (message.empty() ? "-" : message);
}

std::vector<std::string> LineTexts()
{
    std::vector<std::string> texts;
    for (const LogLine &line : g_recordingHost.lines) {
        texts.push_back(LineText(line));
    }
    return texts;
}

size_t CountLine(const std::string &text)
{
    const std::vector<std::string> texts = LineTexts();
    return static_cast<size_t>(std::count(texts.begin(), texts.end(), text));
}

bool HasLine(const std::string &text)
{
    return CountLine(text) > 0;
}

int32_t LiveHostObjects()
{
    return g_recordingHost.openFiles + g_recordingHost.liveMdContexts + g_recordingHost.liveCryptoContexts;
}

// ---- Functions that the linker puts in place -----------------------------------------------------------------------

// The names are the linker's: __wrap_X is called for X, and __real_X is the X that was linked.
#pragma GCC diagnostic push
#if defined(__clang__)
#pragma GCC diagnostic ignored "-Wreserved-identifier"
#pragma GCC diagnostic ignored "-Wmissing-prototypes"
#endif

extern "C" {

void *__real_SigkitFileOpen(const char *path, const char *mode);
size_t __real_SigkitFileRead(void *buffer, size_t size, void *file);
int __real_SigkitFileClose(void *file);
size_t __real_SigkitFileGetSize(void *file);
int32_t __real_SigkitMdCreateCtx(SigkitMdCtx **out);
int32_t __real_SigkitMdInit(SigkitMdCtx *ctx, uint32_t hashAoid);
int32_t __real_SigkitMdUpdate(SigkitMdCtx *ctx, const void *data, uint32_t len);
int32_t __real_SigkitMdFinal(SigkitMdCtx *ctx, uint8_t *digest, uint32_t *digestLen, void *reserved);
void __real_SigkitMdDestoryCtx(SigkitMdCtx *ctx);
int32_t __real_SigkitCryptoVerifyCreateCtx(SigkitCryptoCtx **out);
int32_t __real_SigkitCryptoVerifyInit(SigkitCryptoCtx *ctx, const SigkitBigInt *exponent, const SigkitBigInt *modulus,
                                      uint32_t hashAoid);
int32_t __real_SigkitCryptoVerifyUpdate(SigkitCryptoCtx *ctx, const void *data, uint32_t len);
int32_t __real_SigkitCryptoVerifyFinal(SigkitCryptoCtx *ctx, const uint8_t *signature, uint32_t len, int32_t *verified);
void __real_SigkitCryptoVerifyDestroyCtx(SigkitCryptoCtx *ctx);
int __real_memcpy_s(void *destination, size_t destinationSize, const void *source, size_t count);
int __real_memset_s(void *destination, size_t destinationSize, int value, size_t count);
int __real_strcpy_s(char *destination, size_t destinationSize, const char *source);
int __real_strncpy_s(char *destination, size_t destinationSize, const char *source, size_t count);
int __real_strcat_s(char *destination, size_t destinationSize, const char *source);
__attribute__((format(printf, 4, 0))) int __real_vsnprintf_s(char *buffer, size_t bufferSize, size_t count,
                                                             const char *format, va_list arguments);

void __wrap_SigkitLogPrint(int level, const char *file, int line, const char *function, uint32_t errorCode,
                           const char *message);
void *__wrap_SigkitFileOpen(const char *path, const char *mode);
size_t __wrap_SigkitFileRead(void *buffer, size_t size, void *file);
int __wrap_SigkitFileClose(void *file);
size_t __wrap_SigkitFileGetSize(void *file);
int32_t __wrap_SigkitMdCreateCtx(SigkitMdCtx **out);
int32_t __wrap_SigkitMdInit(SigkitMdCtx *ctx, uint32_t hashAoid);
int32_t __wrap_SigkitMdUpdate(SigkitMdCtx *ctx, const void *data, uint32_t len);
int32_t __wrap_SigkitMdFinal(SigkitMdCtx *ctx, uint8_t *digest, uint32_t *digestLen, void *reserved);
void __wrap_SigkitMdDestoryCtx(SigkitMdCtx *ctx);
int32_t __wrap_SigkitCryptoVerifyCreateCtx(SigkitCryptoCtx **out);
int32_t __wrap_SigkitCryptoVerifyInit(SigkitCryptoCtx *ctx, const SigkitBigInt *exponent, const SigkitBigInt *modulus,
                                      uint32_t hashAoid);
int32_t __wrap_SigkitCryptoVerifyUpdate(SigkitCryptoCtx *ctx, const void *data, uint32_t len);
int32_t __wrap_SigkitCryptoVerifyFinal(SigkitCryptoCtx *ctx, const uint8_t *signature, uint32_t len, int32_t *verified);
void __wrap_SigkitCryptoVerifyDestroyCtx(SigkitCryptoCtx *ctx);
int __wrap_memcpy_s(void *destination, size_t destinationSize, const void *source, size_t count);
int __wrap_memset_s(void *destination, size_t destinationSize, int value, size_t count);
int __wrap_strcpy_s(char *destination, size_t destinationSize, const char *source);
int __wrap_strncpy_s(char *destination, size_t destinationSize, const char *source, size_t count);
int __wrap_strcat_s(char *destination, size_t destinationSize, const char *source);
__attribute__((format(printf, 4, 0))) int __wrap_vsnprintf_s(char *buffer, size_t bufferSize, size_t count,
                                                             const char *format, va_list arguments);

void __wrap_SigkitLogPrint(int level, const char *file, int line, const char *function, uint32_t errorCode,
                           const char *message)
{
    LogLine kept;
    kept.level = level;
    kept.file = TextOrEmpty(file);
    kept.line = line;
    kept.function = TextOrEmpty(function);
    kept.errorCode = errorCode;
    if (message != nullptr) {
        kept.message = message;
    }
    g_recordingHost.lines.push_back(kept);
}

// ---- Files

void *__wrap_SigkitFileOpen(const char *path, const char *mode)
{
    if (Fails(g_recordingHost.fileOpen)) {
        return nullptr;
    }
    void *const file = __real_SigkitFileOpen(path, mode);
    g_recordingHost.openFiles += file == nullptr ? 0 : 1;
    return file;
}

size_t __wrap_SigkitFileRead(void *buffer, size_t size, void *file)
{
    if (g_recordingHost.beforeFileRead) {
        g_recordingHost.beforeFileRead();
    }
    return Fails(g_recordingHost.fileRead) ? 0 : __real_SigkitFileRead(buffer, size, file);
}

int __wrap_SigkitFileClose(void *file)
{
    const bool fails = Fails(g_recordingHost.fileClose);
    g_recordingHost.openFiles -= file == nullptr ? 0 : 1;
    const int result = __real_SigkitFileClose(file);
    return fails ? g_recordingHost.fileClose.failure : result;
}

size_t __wrap_SigkitFileGetSize(void *file)
{
    if (Fails(g_recordingHost.fileGetSize)) {
        return 0;
    }
    return g_recordingHost.claimedFileSize.has_value() ? *g_recordingHost.claimedFileSize
                                                       : __real_SigkitFileGetSize(file);
}

// ---- Digests

int32_t __wrap_SigkitMdCreateCtx(SigkitMdCtx **out)
{
    if (Fails(g_recordingHost.mdCreateCtx)) {
        return g_recordingHost.mdCreateCtx.failure;
    }
    const int32_t status = __real_SigkitMdCreateCtx(out);
    g_recordingHost.liveMdContexts += status == 0 ? 1 : 0;
    return status;
}

int32_t __wrap_SigkitMdInit(SigkitMdCtx *ctx, uint32_t hashAoid)
{
    if (Fails(g_recordingHost.mdInit)) {
        return g_recordingHost.mdInit.failure;
    }
    g_recordingHost.mdAlgorithms.push_back(hashAoid);
    return __real_SigkitMdInit(ctx, hashAoid);
}

int32_t __wrap_SigkitMdUpdate(SigkitMdCtx *ctx, const void *data, uint32_t len)
{
    return Fails(g_recordingHost.mdUpdate) ? g_recordingHost.mdUpdate.failure : __real_SigkitMdUpdate(ctx, data, len);
}

int32_t __wrap_SigkitMdFinal(SigkitMdCtx *ctx, uint8_t *digest, uint32_t *digestLen, void *reserved)
{
    return Fails(g_recordingHost.mdFinal) ? g_recordingHost.mdFinal.failure
                                          : __real_SigkitMdFinal(ctx, digest, digestLen, reserved);
}

void __wrap_SigkitMdDestoryCtx(SigkitMdCtx *ctx)
{
    g_recordingHost.liveMdContexts -= ctx == nullptr ? 0 : 1;
    __real_SigkitMdDestoryCtx(ctx);
}

// ---- Signatures

int32_t __wrap_SigkitCryptoVerifyCreateCtx(SigkitCryptoCtx **out)
{
    if (Fails(g_recordingHost.cryptoCreateCtx)) {
        return g_recordingHost.cryptoCreateCtx.failure;
    }
    const int32_t status = __real_SigkitCryptoVerifyCreateCtx(out);
    g_recordingHost.liveCryptoContexts += status == 0 ? 1 : 0;
    return status;
}

int32_t __wrap_SigkitCryptoVerifyInit(SigkitCryptoCtx *ctx, const SigkitBigInt *exponent, const SigkitBigInt *modulus,
                                      uint32_t hashAoid)
{
    if (Fails(g_recordingHost.cryptoInit)) {
        return g_recordingHost.cryptoInit.failure;
    }
    return __real_SigkitCryptoVerifyInit(ctx, exponent, modulus, hashAoid);
}

int32_t __wrap_SigkitCryptoVerifyUpdate(SigkitCryptoCtx *ctx, const void *data, uint32_t len)
{
    if (Fails(g_recordingHost.cryptoUpdate)) {
        return g_recordingHost.cryptoUpdate.failure;
    }
    const uint8_t *const octets = static_cast<const uint8_t *>(data);
    g_recordingHost.cryptoInput.insert(g_recordingHost.cryptoInput.end(), octets, octets + len);
    return __real_SigkitCryptoVerifyUpdate(ctx, data, len);
}

int32_t __wrap_SigkitCryptoVerifyFinal(SigkitCryptoCtx *ctx, const uint8_t *signature, uint32_t len, int32_t *verified)
{
    if (Fails(g_recordingHost.cryptoFinal)) {
        return g_recordingHost.cryptoFinal.failure;
    }
    return g_recordingHost.cryptoFinalIsMute ? 0 : __real_SigkitCryptoVerifyFinal(ctx, signature, len, verified);
}

void __wrap_SigkitCryptoVerifyDestroyCtx(SigkitCryptoCtx *ctx)
{
    g_recordingHost.liveCryptoContexts -= ctx == nullptr ? 0 : 1;
    __real_SigkitCryptoVerifyDestroyCtx(ctx);
}

// ---- Bounds-checked functions

int __wrap_memcpy_s(void *destination, size_t destinationSize, const void *source, size_t count)
{
    return Fails(g_recordingHost.memcpyS) ? g_recordingHost.memcpyS.failure
                                          : __real_memcpy_s(destination, destinationSize, source, count);
}

int __wrap_memset_s(void *destination, size_t destinationSize, int value, size_t count)
{
    return Fails(g_recordingHost.memsetS) ? g_recordingHost.memsetS.failure
                                          : __real_memset_s(destination, destinationSize, value, count);
}

int __wrap_strcpy_s(char *destination, size_t destinationSize, const char *source)
{
    return Fails(g_recordingHost.strcpyS) ? g_recordingHost.strcpyS.failure
                                          : __real_strcpy_s(destination, destinationSize, source);
}

int __wrap_strncpy_s(char *destination, size_t destinationSize, const char *source, size_t count)
{
    return Fails(g_recordingHost.strncpyS) ? g_recordingHost.strncpyS.failure
                                           : __real_strncpy_s(destination, destinationSize, source, count);
}

int __wrap_strcat_s(char *destination, size_t destinationSize, const char *source)
{
    return Fails(g_recordingHost.strcatS) ? g_recordingHost.strcatS.failure
                                          : __real_strcat_s(destination, destinationSize, source);
}

int __wrap_vsnprintf_s(char *buffer, size_t bufferSize, size_t count, const char *format, va_list arguments)
{
    return Fails(g_recordingHost.vsnprintfS) ? g_recordingHost.vsnprintfS.failure
                                             : __real_vsnprintf_s(buffer, bufferSize, count, format, arguments);
}

} // extern "C"

#pragma GCC diagnostic pop
