// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Runs inputs through the library, as they are, altered and with failing allocations, and prints one number for all
// that it said: builds and machines that print the same number behave alike. It needs neither libcrypto nor a C++
// library.
//
// Usage: replay [--each] <LIST; a line of the list is the name of an operation and the paths of its files. With --each
// the number stands behind every line as well, so that two machines' outputs show where they part.
// Exit status: 0, or 1 when an input cannot be read or something is not released.
#include <inttypes.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "tests/replay/alterations.h"
#include "tests/replay/operations.h"
#include "tests/replay/record_hash.h"
#include "tests/replay/stand_in_host.h"

namespace
{

constexpr uint32_t ALTERATIONS = 16; // of each input
constexpr size_t LINE_SIZE = 2048;   // octets of a line of the list, its NUL included
constexpr size_t FLAG_OCTETS = 4;    // at the head of a container
constexpr size_t LENGTH_OCTETS = 4;  // before each of its parts

uint32_t g_runs = 0;

[[noreturn]] void Fail(const char *what, const char *name)
{
    (void)fprintf(stderr, "replay: %s: %s\n", what, name);
    exit(1);
}

Octets ReadFile(const char *path)
{
    FILE *const file = fopen(path, "rb");
    if (file == nullptr || fseek(file, 0, SEEK_END) != 0) {
        Fail("cannot be read", path);
    }
    const long size = ftell(file);
    Octets octets = {static_cast<uint8_t *>(malloc(static_cast<size_t>(size) + 1)), static_cast<size_t>(size)};
    rewind(file);
    if (size < 0 || octets.data == nullptr || fread(octets.data, 1, octets.size, file) != octets.size) {
        Fail("cannot be read", path);
    }
    (void)fclose(file);
    return octets;
}

// Takes one part off the head of what is left of a container; its octets stay where they are. A length beyond the end
// means the rest, and where nothing is left a part is empty.
Octets TakePart(Octets *rest)
{
    if (rest->size < LENGTH_OCTETS) {
        rest->size = 0;
        return *rest;
    }
    size_t length = 0;
    for (size_t i = 0; i < LENGTH_OCTETS; ++i) {
        length = length << 8 | rest->data[i];
    }
    const size_t left = rest->size - LENGTH_OCTETS;
    const Octets part = {rest->data + LENGTH_OCTETS, length < left ? length : left};
    *rest = {part.data + part.size, left - part.size};
    return part;
}

// Once. A leak would be the same on every machine, and is none of the hash's.
void Run(const Input &input, const char *line, const StandInHost &host)
{
    g_standInHost = host;
    input.operation->run(input);
    if (g_standInHost.liveBlocks != 0 || g_standInHost.digests != 0) {
        Fail("something is not released", line);
    }
    ++g_runs;
}

void RunAltered(const Input &input, const char *line, uint64_t *state)
{
    const Operation &operation = *input.operation;
    for (uint32_t i = 0; i < ALTERATIONS; ++i) {
        const uint32_t choices = static_cast<uint32_t>(operation.parts - operation.firstAltered);
        const size_t part = operation.firstAltered + Draw(state, choices);
        Input altered = input;
        altered.parts[part] = Alter(input.parts[part], state);
        StandInHost host;
        host.doubtsAll = i % 2 == 1;
        Run(altered, line, host);
        free(altered.parts[part].data);
    }
}

// Fails the first allocations, and of those behind them fewer and fewer.
void RunWithoutMemory(const Input &input, const char *line, uint32_t allocations)
{
    uint32_t before = 1;
    uint32_t failAt = 1;
    while (failAt <= allocations) {
        StandInHost host;
        host.failAt = failAt;
        host.staysEmpty = g_runs % 2 == 1;
        Run(input, line, host);
        const uint32_t next = failAt + before;
        before = failAt;
        failAt = next;
    }
}

void RunAll(const Input &input, const char *line, uint32_t number)
{
    StandInHost host;
    Run(input, line, host);
    const uint32_t allocations = g_standInHost.allocations;
    host.doubtsAll = true;
    Run(input, line, host);
    uint64_t state = number;
    RunAltered(input, line, &state);
    RunWithoutMemory(input, line, allocations);
}

// A line that is taken to pieces, and `line` as it was.
void RunLine(char *words, const char *line, uint32_t number)
{
    Input input;
    char *rest = nullptr;
    const char *const name = strtok_r(words, " \n", &rest);
    input.operation = name == nullptr ? nullptr : FindOperation(name);
    if (input.operation == nullptr) {
        Fail("no operation", line);
    }
    Octets files[PARTS_MAX];
    for (size_t i = 0; i < input.operation->files; ++i) {
        const char *const path = strtok_r(nullptr, " \n", &rest);
        if (path == nullptr) {
            Fail("names too few files", line);
        }
        files[i] = ReadFile(path);
        input.parts[i] = files[i];
    }
    if (input.operation->parts > input.operation->files) { // the last file is a container
        const size_t container = input.operation->files - 1;
        const size_t skipped = files[container].size < FLAG_OCTETS ? files[container].size : FLAG_OCTETS;
        Octets left = {files[container].data + skipped, files[container].size - skipped};
        for (size_t i = container; i < input.operation->parts; ++i) {
            input.parts[i] = TakePart(&left);
        }
    }
    RunAll(input, line, number);
    for (const Octets &file : files) {
        free(file.data);
    }
}

} // namespace

int main(int argc, char **argv)
{
    const bool showsEach = argc == 2 && strcmp(argv[1], "--each") == 0;
    char line[LINE_SIZE];
    char words[LINE_SIZE];
    uint32_t inputs = 0;
    while (fgets(line, sizeof(line), stdin) != nullptr) {
        line[strcspn(line, "\n")] = '\0';
        memcpy(words, line, sizeof(words));
        RunLine(words, line, inputs++);
        if (showsEach) {
            (void)printf("%016" PRIx64 " %s\n", g_hash, line);
        }
    }
    if (inputs == 0) {
        Fail("no input", "the list is empty");
    }
    (void)printf("%016" PRIx64 "  %" PRIu32 " inputs, %" PRIu32 " runs, %" PRIu32 " found authentic\n", g_hash, inputs,
                 g_runs, g_authentic);
    return 0;
}
