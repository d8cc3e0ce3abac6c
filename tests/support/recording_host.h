// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The host of the library tests: the tool's real callbacks, watched. The linker's --wrap option puts a function of this
// file before each callback named below; it counts the call, fails it on request, and otherwise hands it on. Log lines
// are kept instead of printed. Memory is watched one layer further down, by the recording platform.
#ifndef SUPPORT_RECORDING_HOST_H
#define SUPPORT_RECORDING_HOST_H

#include <stddef.h>
#include <stdint.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

// One line that the library handed to SigkitLogPrint.
struct LogLine {
    int level = 0;
    std::string file;
    int line = 0;
    std::string function;
    uint32_t errorCode = 0;
    std::optional<std::string> message; // no value for null, which is another thing than the empty text
};

// One watched function: how often it was called, and which call fails.
struct WatchedCall {
    uint32_t calls = 0;
    uint32_t failAt = 0;  // number of the call that fails, from 1; 0 for none
    int32_t failure = -1; // what a failed call returns, where the function returns a status
};

struct RecordingHost {
    std::vector<LogLine> lines;

    // A failed open or create gives null or no context; a failed read gives 0 octets, a failed size 0; a failed close
    // closes the file and returns `failure`; a failed digest or signature call returns `failure` and does nothing.
    WatchedCall fileOpen;
    WatchedCall fileRead;
    WatchedCall fileClose;
    WatchedCall fileGetSize;
    WatchedCall mdCreateCtx;
    WatchedCall mdInit;
    WatchedCall mdUpdate;
    WatchedCall mdFinal;
    WatchedCall cryptoCreateCtx;
    WatchedCall cryptoInit;
    WatchedCall cryptoUpdate;
    WatchedCall cryptoFinal;

    // A failed bounds-checked function touches nothing and returns `failure`. They are counted for the library and for
    // the tool's callbacks alike.
    WatchedCall memcpyS;
    WatchedCall memsetS;
    WatchedCall strcpyS;
    WatchedCall strncpyS;
    WatchedCall strcatS;
    WatchedCall vsnprintfS;

    bool cryptoFinalIsMute = false;        // SigkitCryptoVerifyFinal returns 0 and writes no outcome
    std::function<void()> beforeFileRead;  // runs before each SigkitFileRead, when there is one
    std::optional<size_t> claimedFileSize; // what every successful SigkitFileGetSize returns instead of the truth
    std::vector<uint32_t> mdAlgorithms;    // of every SigkitMdInit that was handed on
    std::vector<uint8_t> cryptoInput;      // of every SigkitCryptoVerifyUpdate that was handed on

    // What is alive. All zero again when nothing leaks.
    int32_t openFiles = 0;
    int32_t liveMdContexts = 0;
    int32_t liveCryptoContexts = 0;
};

extern RecordingHost g_recordingHost;

// Forgets all lines, counts and faults. What is still alive is forgotten as well, so assert first.
void ResetRecordingHost();

// The lines since the last reset.
std::vector<LogLine> Lines();

// One line in short: level letter (E, W, I, D or ?), function, code in hexadecimal or 0, and text, or "-" for a null or
// empty one; for example "E InternalDecLen 88300101 overflow length."
std::string LineText(const LogLine &line);

// All lines in short.
std::vector<std::string> LineTexts();

// How many lines read exactly so in short.
size_t CountLine(const std::string &text);

// Returns whether at least one line reads exactly so in short.
bool HasLine(const std::string &text);

// Files, digest contexts and signature contexts that are alive, together. Tests expect 0 at their end.
int32_t LiveHostObjects();

#endif
