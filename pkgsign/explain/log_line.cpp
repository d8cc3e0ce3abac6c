// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/explain/log_line.h"

#include <charconv>

namespace pkgsign
{
namespace
{

constexpr std::string_view LIBRARY = "sigkit_log.log(";
constexpr std::string_view SOURCES[] = {"verify_frame_main(", "upgrade_sigkit_handle(", "upgrade_sigkit_sdk_callback("};
constexpr std::string_view LIBRARY_THROUGH_TOOL = "SigkitLogPrint";
constexpr std::string_view ERR = "(err:";

// The tool's texts and the functions that log them: a platform's log may write all else in its own way.
struct KnownText {
    std::string_view text;
    std::string_view function;
};
constexpr KnownText KNOWN_TEXTS[] = {
    {"VERIFY_TOOL: Execute function (", "UPGRADE_CmdExe"},
    {"VERIFY_TOOL: Execute ret(", "UPGRADE_CmdExe"},
    {"VERIFY_TOOL: Cannot find opcode(", "UPGRADE_CmdExe"},
    {"Verify VKB Command exec fail!", "UPGRADE_MainExe"},
    {"Upgrade Command parse fail!", "UPGRADE_MainExe"},
    {"API parameter error.", "UPGRADE_CmdParse"},
    {"API parameter parse fail.", "UPGRADE_CmdParse"},
    {"The path of cms file is (", "UPGRADE_CmdParseSingle"},
    {"The path of checksum file is : ", "UPGRADE_CmdParseSingle"},
    {"The path of crl file is : ", "UPGRADE_CmdParseSingle"},
    {"Verify signature error, code ", "VerifyCmsFile"},
    {"Verify signature not match.", "VerifyCmsFile"},
    {"CheckSum file is valid.", "VerifyCmsFile"},
};

bool IsNameCharacter(char c)
{
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_';
}

// Takes digits, then `after`, off the beginning of `text`.
bool SkipNumber(std::string_view *text, std::string_view after)
{
    size_t digits = 0;
    while (digits < text->size() && (*text)[digits] >= '0' && (*text)[digits] <= '9') {
        ++digits;
    }
    if (digits == 0 || text->substr(digits, after.size()) != after) {
        return false;
    }
    text->remove_prefix(digits + after.size());
    return true;
}

// Takes the name of a function, then `after`, off the beginning of `text`.
bool TakeName(std::string_view *text, std::string_view after, std::string *nameOut)
{
    size_t length = 0;
    while (length < text->size() && IsNameCharacter((*text)[length])) {
        ++length;
    }
    if (length == 0 || length > 64 || text->substr(length, after.size()) != after) {
        return false;
    }
    *nameOut = text->substr(0, length);
    text->remove_prefix(length + after.size());
    return true;
}

std::string_view WithoutLineEnd(std::string_view text)
{
    while (!text.empty() && (text.back() == '\r' || text.back() == ' ' || text.back() == '\0')) {
        text.remove_suffix(1);
    }
    return text;
}

// Takes "(err:88200002)" off the end of `text`.
std::optional<uint32_t> TakeCode(std::string_view *text)
{
    const size_t at = text->rfind(ERR);
    if (at == std::string_view::npos) {
        return {};
    }
    const std::optional<int64_t> code = NumberBetween(text->substr(at), ERR, ")", 16);
    if (code) {
        *text = text->substr(0, at);
        return static_cast<uint32_t>(*code);
    }
    return {};
}

// text: from behind LIBRARY on: "117):(InternalCrlGetScore):Found ...(err:88200103)".
bool ReadLibraryLine(std::string_view text, LogLine *line)
{
    if (!SkipNumber(&text, "):(") || !TakeName(&text, "):", &line->function)) {
        return false;
    }
    text = WithoutLineEnd(text);
    line->code = TakeCode(&text);
    line->text = text;
    line->isLibrary = true;
    return true;
}

// text: from behind the source's name on: "105) UPGRADE_CmdExe: VERIFY_TOOL: ...".
bool ReadToolLine(std::string_view text, LogLine *line)
{
    line->isWarning = line->isWarning || text.substr(0, 5) == "290) "; // by which the log knows the library's warnings
    if (!SkipNumber(&text, ") ") || !TakeName(&text, ": ", &line->function)) {
        return false;
    }
    if (line->function == LIBRARY_THROUGH_TOOL && text.substr(0, LIBRARY.size()) == LIBRARY) {
        return ReadLibraryLine(text.substr(LIBRARY.size()), line);
    }
    line->text = WithoutLineEnd(text);
    return true;
}

bool ReadKnownText(std::string_view text, LogLine *line)
{
    for (const KnownText &known : KNOWN_TEXTS) {
        const size_t at = text.find(known.text);
        if (at != std::string_view::npos) {
            line->function = known.function;
            line->text = WithoutLineEnd(text.substr(at));
            return true;
        }
    }
    return false;
}

// The last "[812]: " before the line's own text.
std::string ProcessIn(std::string_view head)
{
    const size_t end = head.rfind("]:");
    const size_t begin = end == std::string_view::npos ? end : head.rfind('[', end);
    if (begin == std::string_view::npos) {
        return {};
    }
    const std::string_view digits = head.substr(begin + 1, end - begin - 1);
    const bool isNumber = digits.find_first_not_of("0123456789") == std::string_view::npos;
    return !digits.empty() && digits.size() <= 10 && isNumber ? std::string(digits) : std::string();
}

} // namespace

std::optional<int64_t> NumberBetween(std::string_view text, std::string_view before, std::string_view after, int base)
{
    const size_t at = text.find(before);
    if (at == std::string_view::npos) {
        return {};
    }
    const char *const begin = text.data() + at + before.size();
    const char *const end = text.data() + text.size();
    int64_t number = 0;
    const std::from_chars_result result = std::from_chars(begin, end, number, base);
    const std::string_view rest(result.ptr, static_cast<size_t>(end - result.ptr));
    if (result.ec != std::errc() || rest.substr(0, after.size()) != after || number > UINT32_MAX ||
        number < INT32_MIN) {
        return {};
    }
    return number;
}

std::optional<uint32_t> ReadCodeLine(std::string_view line)
{
    line = WithoutLineEnd(line);
    const bool isWhole = !line.empty() && line.back() == ')' && line.find("):(") == std::string_view::npos;
    return isWhole ? TakeCode(&line) : std::nullopt;
}

bool ReadLogLine(std::string_view line, LogLine *lineOut)
{
    LogLine found;
    size_t at = line.find(LIBRARY);
    std::string_view marker = LIBRARY;
    for (const std::string_view source : SOURCES) {
        const size_t here = line.find(source);
        if (here < at) {
            at = here;
            marker = source;
        }
    }
    const std::string_view head = line.substr(0, at);
    found.process = ProcessIn(head);
    found.isWarning = head.find("WARNING") != std::string_view::npos;
    found.isInformation = head.find("INFO ") != std::string_view::npos;
    bool isRead = false;
    if (at != std::string_view::npos) {
        const std::string_view text = line.substr(at + marker.size());
        found.isConsole = marker == LIBRARY;
        isRead = found.isConsole ? ReadLibraryLine(text, &found) : ReadToolLine(text, &found);
    }
    if (isRead || ReadKnownText(line, &found)) {
        *lineOut = std::move(found);
        return true;
    }
    return false;
}

} // namespace pkgsign
