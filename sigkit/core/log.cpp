// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "core/log.h"

#include <stdarg.h>

#include "annexk.h"
#include "core/memory.h"
#include "sigkit/sigkit.h"

namespace
{

// Lines under which the log reports its own failures. Field support knows them by these numbers.
constexpr int LINE_NO_MEMORY = 33;
constexpr int LINE_FORMAT_FAILED = 49;

struct Event {
    int level;
    const char *file;
    int line;
    const char *function;
    uint32_t code;
};

void Print(const Event &event, const char *message)
{
    SigkitLogPrint(event.level, event.file, event.line, event.function, event.code, message);
}

[[gnu::format(printf, 2, 0)]] void FormatAndPrint(const Event &event, const char *format, va_list arguments)
{
    void *block = nullptr;
    if (SigkitMallocWith0(&block, SIGKIT_LOG_MESSAGE_SIZE) != SIGKIT_OK) {
        SigkitLogPrint(SIGKIT_LOG_ERROR, SIGKIT_LOG_TAG, LINE_NO_MEMORY, "SigkitLogCallback", SIGKIT_ERR_NO_MEMORY,
                       "Allocate memory for log message failed.");
        Print(event, format);
        return;
    }
    char *const message = static_cast<char *>(block);
    if (format != nullptr &&
        vsnprintf_s(message, SIGKIT_LOG_MESSAGE_SIZE, SIGKIT_LOG_MESSAGE_SIZE - 1, format, arguments) <= 0) {
        SigkitLogPrint(SIGKIT_LOG_ERROR, SIGKIT_LOG_TAG, LINE_FORMAT_FAILED, "SigkitLogCallback", SIGKIT_OK,
                       "format log message failed.");
        Print(event, format);
    } else {
        Print(event, message);
    }
    SigkitFree(block);
}

} // namespace

void SigkitLogCallback(int level, const char *file, int line, const char *function, uint32_t errorCode,
                       const char *format, ...)
{
    if (file == nullptr || function == nullptr || (level != SIGKIT_LOG_ERROR && level != SIGKIT_LOG_WARNING)) {
        return;
    }
    va_list arguments;
    va_start(arguments, format);
    FormatAndPrint({level, file, line, function, errorCode}, format, arguments);
    va_end(arguments);
}

uint32_t InternalLogEvent(int level, int line, const char *function, uint32_t code, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    FormatAndPrint({level, SIGKIT_LOG_TAG, line, function, code}, format, arguments);
    va_end(arguments);
    return code;
}

uint32_t InternalLogTrail(int line, const char *function, uint32_t code)
{
    SigkitLogCallback(SIGKIT_LOG_ERROR, SIGKIT_LOG_TAG, line, function, code, nullptr);
    return code;
}
