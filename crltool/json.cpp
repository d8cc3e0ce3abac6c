// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "crltool/json.h"

#include <stdint.h>

#include "crltool/text.h"

namespace
{

constexpr uint32_t REPLACEMENT_CHARACTER = 0xFFFD;
constexpr uint32_t FIRST_OF_TWO_UNITS = 0x10000; // RFC 8259, section 7: beyond it a character is a surrogate pair

void BeginLine(const JsonWriter &writer)
{
    (void)fprintf(writer.file, "\n%*s", 2 * writer.depth, "");
}

// Begins a value: what separates it from the one before, and its name.
void Begin(JsonWriter *writer, const char *name)
{
    if (writer->depth > 0) {
        (void)fputs(writer->isEmpty ? "" : ",", writer->file);
        BeginLine(*writer);
    }
    if (name != nullptr) {
        (void)fprintf(writer->file, "\"%s\": ", name);
    }
    writer->isEmpty = false;
}

void WriteUnit(FILE *file, uint32_t unit)
{
    (void)fprintf(file, "\\u%04x", static_cast<unsigned>(unit));
}

void WriteCharacter(FILE *file, uint32_t codePoint)
{
    if (codePoint == '"' || codePoint == '\\') {
        (void)fprintf(file, "\\%c", static_cast<int>(codePoint));
    } else if (0x20 <= codePoint && codePoint < 0x7F) {
        (void)fputc(static_cast<int>(codePoint), file);
    } else if (codePoint < FIRST_OF_TWO_UNITS) {
        WriteUnit(file, codePoint);
    } else {
        WriteUnit(file, 0xD800 + ((codePoint - FIRST_OF_TWO_UNITS) >> 10));
        WriteUnit(file, 0xDC00 + ((codePoint - FIRST_OF_TWO_UNITS) & 0x3FF));
    }
}

} // namespace

void JsonOpen(JsonWriter *writer, const char *name, char bracket)
{
    Begin(writer, name);
    (void)fputc(bracket, writer->file);
    writer->depth += 1;
    writer->isEmpty = true;
}

void JsonClose(JsonWriter *writer, char bracket)
{
    writer->depth -= 1;
    if (!writer->isEmpty) {
        BeginLine(*writer);
    }
    (void)fputc(bracket, writer->file);
    (void)fputs(writer->depth == 0 ? "\n" : "", writer->file);
    writer->isEmpty = false; // what was open around it has this in it
}

void JsonString(JsonWriter *writer, const char *name, std::initializer_list<const char *> parts)
{
    JsonBeginString(writer, name);
    Say({writer->file, WriteJsonCharacters}, parts);
    JsonEndString(writer);
}

void JsonBeginString(JsonWriter *writer, const char *name)
{
    Begin(writer, name);
    (void)fputc('"', writer->file);
}

void JsonEndString(JsonWriter *writer)
{
    (void)fputc('"', writer->file);
}

void JsonLiteral(JsonWriter *writer, const char *name, const char *literal)
{
    Begin(writer, name);
    (void)fputs(literal, writer->file);
}

void WriteJsonCharacters(FILE *file, const char *text)
{
    while (*text != '\0') {
        uint32_t codePoint = REPLACEMENT_CHARACTER;
        const size_t size = ReadCharacter(text, &codePoint);
        WriteCharacter(file, codePoint);
        text += size == 0 ? 1 : size;
    }
}
