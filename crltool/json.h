// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// A JSON document (RFC 8259) in ASCII, written value by value, each on a line of its own.
#ifndef CRLTOOL_JSON_H
#define CRLTOOL_JSON_H

#include <stdio.h>

#include <initializer_list>

struct JsonWriter {
    FILE *file;
    int depth = 0;       // objects and arrays that are open
    bool isEmpty = true; // of the innermost one: nothing is in it yet
};

// In all of these `name` is that of an object's member, in plain ASCII; null in an array, and for the document itself.

// Opens an object or array, by its bracket, and closes it.
void JsonOpen(JsonWriter *writer, const char *name, char bracket);
void JsonClose(JsonWriter *writer, char bracket);

// Writes a string of several parts.
void JsonString(JsonWriter *writer, const char *name, std::initializer_list<const char *> parts);

// The same for one that the caller writes between the two, by WriteJsonCharacters.
void JsonBeginString(JsonWriter *writer, const char *name);
void JsonEndString(JsonWriter *writer);

// Writes true, false, null or a number.
void JsonLiteral(JsonWriter *writer, const char *name, const char *literal);

// Writes a text as it stands between the quotation marks of a string. U+FFFD stands for each octet that is no UTF-8.
void WriteJsonCharacters(FILE *file, const char *text);

#endif
