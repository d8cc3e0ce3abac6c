// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Base64: what is asked for is enough, what is written fits, and plain text decodes as RFC 4648 says.
#include "fuzz/target.h"

#include <cstring>
#include <string>
#include <vector>

#include "verify/load/base64.h"

namespace
{

constexpr char ALPHABET[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// Decodes text of the alphabet in whole groups with proper padding; false for any other text.
bool DecodePlain(const std::string &text, std::vector<uint8_t> *out)
{
    const size_t digits = text.find_last_not_of('=') + 1; // 0 when there is none
    const size_t padding = text.size() - digits;
    if (text.empty() || text.size() % 4 != 0 || digits == 0 || padding > 2 ||
        text.find_first_not_of(ALPHABET) < digits) {
        return false;
    }
    uint32_t bits = 0;
    int held = 0;
    for (size_t i = 0; i < digits; ++i) {
        bits = (bits << 6) | static_cast<uint32_t>(std::strchr(ALPHABET, text[i]) - ALPHABET);
        held += 6;
        if (held >= 8) {
            held -= 8;
            out->push_back(static_cast<uint8_t>(bits >> held));
        }
    }
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzBegin();
    const std::string text(reinterpret_cast<const char *>(data), size);
    const std::vector<char> exact(text.begin(), text.end()); // no NUL behind it
    uint32_t room = 0;
    const uint32_t status = SigkitBase64Decode(exact.data(), static_cast<int32_t>(size), nullptr, &room);
    FuzzTally(status);
    std::vector<uint8_t> expected;
    const bool isPlain = DecodePlain(text, &expected);
    if (status != SIGKIT_OK) {
        if (isPlain) {
            FuzzFail("plain text is refused: %08x", status);
        }
        return 0;
    }
    std::vector<uint8_t> decoded(room);
    uint32_t length = room;
    const uint32_t again = SigkitBase64Decode(exact.data(), static_cast<int32_t>(size), decoded.data(), &length);
    if (again != SIGKIT_OK || length > room) {
        FuzzFail("%08x, %u octets of %u", again, length, room);
    }
    decoded.resize(length);
    if (isPlain && decoded != expected) {
        FuzzFail("plain text decodes to something else");
    }
    if (room > 1) {
        uint32_t tooSmall = room - 1;
        std::vector<uint8_t> untouched(tooSmall, 0x5A);
        const uint32_t third =
            SigkitBase64Decode(exact.data(), static_cast<int32_t>(size), untouched.data(), &tooSmall);
        if (third != SIGKIT_OK || tooSmall != room || untouched != std::vector<uint8_t>(room - 1, 0x5A)) {
            FuzzFail("a small area is written to");
        }
    }
    FuzzEnd();
    return 0;
}
