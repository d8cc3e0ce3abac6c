// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// What a decoder has read, field by field, in a form that is the same for the library and for libcrypto.
#ifndef DIFFERENTIAL_FACTS_H
#define DIFFERENTIAL_FACTS_H

#include <map>
#include <string>

#include "tests/support/der_writer.h"

struct Facts {
    bool accepted = false;
    std::map<std::string, std::string> fields; // of an accepted input; octets in hexadecimal
};

// Stands for a value that was accepted and cannot be converted.
inline const std::string UNREADABLE = "unreadable";

// Something that both read.
struct Kind {
    const char *name;
    Facts (*library)(const der::Bytes &input);
    Facts (*libcrypto)(const der::Bytes &input);
};

Facts LibraryCertificate(const der::Bytes &input);
Facts LibraryCrl(const der::Bytes &input);
Facts LibcryptoCertificate(const der::Bytes &input);
Facts LibcryptoCrl(const der::Bytes &input);

inline constexpr Kind CERTIFICATE = {"certificate", LibraryCertificate, LibcryptoCertificate};
inline constexpr Kind CRL = {"CRL", LibraryCrl, LibcryptoCrl};

inline std::string HexOf(const uint8_t *octets, size_t count)
{
    static constexpr char DIGITS[] = "0123456789abcdef";
    std::string text;
    for (size_t i = 0; i < count; ++i) {
        text += {DIGITS[octets[i] >> 4], DIGITS[octets[i] & 0x0F]};
    }
    return text;
}

// Fields of the n-th revoked entry begin so.
inline std::string EntryField(size_t n, const std::string &field)
{
    return "entry " + std::to_string(n) + " " + field;
}

#endif
