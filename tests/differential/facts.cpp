#include "tests/differential/facts.h"

std::string HexOf(const uint8_t *octets, size_t count)
{
    static const char digits[] = "0123456789abcdef";
    std::string text;
    for (size_t i = 0; i < count; ++i) {
        text += digits[octets[i] >> 4];
        text += digits[octets[i] & 0x0F];
    }
    return text;
}

std::string HexOf(const der::Bytes &octets)
{
    return HexOf(octets.data(), octets.size());
}

std::string EntryField(size_t n, const std::string &field)
{
    return "entry " + std::to_string(n) + " " + field;
}
