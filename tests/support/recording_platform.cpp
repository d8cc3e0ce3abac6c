// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "tests/support/recording_platform.h"

#include <malloc.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>

RecordingPlatform g_recordingPlatform;

namespace
{

constexpr int FILL = 0xA5; // fresh blocks are not zero on the device either

char LevelLetter(int level)
{
    switch (level) {
    case QZLOG_ERROR:
        return 'E';
    case QZLOG_WARNING:
        return 'W';
    case QZLOG_INFO:
        return 'I';
    case QZLOG_DEBUG:
        return 'D';
    default:
        return '?';
    }
}

[[gnu::format(printf, 1, 0)]] std::string Format(const char *format, va_list arguments)
{
    va_list again;
    va_copy(again, arguments);
    const int length = vsnprintf(nullptr, 0, format, again);
    va_end(again);
    if (length < 0) {
        return "(unprintable)";
    }
    std::string text(static_cast<size_t>(length) + 1, '\0');
    (void)vsnprintf(text.data(), text.size(), format, arguments);
    text.pop_back();
    return text;
}

bool Fails(uint32_t call)
{
    const uint32_t failAt = g_recordingPlatform.failAt;
    return failAt != 0 && call == failAt;
}

} // namespace

void qzlog(uint32_t moduleId, int level, const char *file, int line, const char *function, int reserved,
           const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    g_recordingPlatform.logs.push_back({moduleId, level, file, line, function, reserved, Format(format, arguments)});
    va_end(arguments);
}

void *qzax_mallocsubstandard(uint32_t moduleId, size_t size, uint32_t flags, const char *function, int line)
{
    RecordingPlatform &platform = g_recordingPlatform;
    ++platform.allocations;
    platform.lastSize = size;
    void *const block = Fails(platform.allocations) ? nullptr : malloc(size);
    if (block != nullptr) {
        memset(block, FILL, size);
        ++platform.liveBlocks;
        platform.liveOctets += malloc_usable_size(block);
        platform.peakOctets = std::max(platform.peakOctets, platform.liveOctets);
    }
    if (platform.recordMemory) {
        platform.allocationCalls.push_back({moduleId, size, flags, function, line, block});
    }
    return block;
}

void qzax_freesub(void *block, const char *function, int line)
{
    RecordingPlatform &platform = g_recordingPlatform;
    --platform.liveBlocks;
    platform.liveOctets -= malloc_usable_size(block);
    if (platform.recordMemory) {
        platform.releaseCalls.push_back({block, function, line});
    }
    free(block);
}

void ResetRecordingPlatform()
{
    g_recordingPlatform = RecordingPlatform();
}

std::string LogText(const RecordedLog &log)
{
    return std::string(1, LevelLetter(log.level)) + " " + std::to_string(log.line) + " " + log.function + " " +
           log.message;
}

std::vector<std::string> LogTexts()
{
    std::vector<std::string> texts;
    for (const RecordedLog &log : g_recordingPlatform.logs) {
        texts.push_back(LogText(log));
    }
    return texts;
}
