// What a decoder has read, field by field, in a form that does not tell which decoder it was.
#ifndef DIFFERENTIAL_FACTS_H
#define DIFFERENTIAL_FACTS_H

#include <map>
#include <string>

#include "tests/support/der_writer.h"

struct Facts {
    bool accepted = false;
    std::map<std::string, std::string> fields; // of an accepted input; octets in hexadecimal
};

// What stands for a value that was taken but cannot be converted.
inline const std::string UNREADABLE = "unreadable";

Facts LibraryCertificate(const der::Bytes &input);
Facts LibraryCrl(const der::Bytes &input);
Facts LibcryptoCertificate(const der::Bytes &input);
Facts LibcryptoCrl(const der::Bytes &input);

std::string HexOf(const uint8_t *octets, size_t count);
std::string HexOf(const der::Bytes &octets);

// Fields of the n-th revoked entry begin so.
std::string EntryField(size_t n, const std::string &field);

#endif
