// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// What the program does with an input: it puts it into the library and hashes what the library says.
#ifndef TESTS_REPLAY_OPERATIONS_H
#define TESTS_REPLAY_OPERATIONS_H

#include <stddef.h>
#include <stdint.h>

inline constexpr size_t PARTS_MAX = 4;

struct Octets {
    uint8_t *data = nullptr;
    size_t size = 0;
};

struct Input {
    const struct Operation *operation = nullptr;
    Octets parts[PARTS_MAX];
};

struct Operation {
    const char *name;
    size_t files;        // that a line of the list names
    size_t parts;        // that they hold
    size_t firstAltered; // parts before it, trust anchors, stay as they are
    void (*run)(const Input &input);
};

// Null for a name that is none.
const Operation *FindOperation(const char *name);

// Packages that were found authentic so far, altered ones included: not every signature is checked by this host.
extern uint32_t g_authentic;

#endif
