// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Scope guards: release what a function holds on every way out of it.
#ifndef CORE_GUARD_H
#define CORE_GUARD_H

#include "sigkit/sigkit_host.h"

// Holds one resource and releases it at the end of the scope unless it was taken out. Guards of one scope release in
// reverse order of their declaration. A guard is always a local of a function.
template <typename T, void (*Release)(T *)>
struct InternalGuard {
    T *held = nullptr;

    InternalGuard() = default;
    explicit InternalGuard(T *resource) : held(resource)
    {
    }
    InternalGuard(const InternalGuard &) = delete;
    InternalGuard &operator=(const InternalGuard &) = delete;
    ~InternalGuard()
    {
        if (held != nullptr) {
            Release(held);
        }
    }

    // Hands the resource over; the guard holds nothing afterwards.
    [[nodiscard]] T *Take()
    {
        T *const resource = held;
        held = nullptr;
        return resource;
    }
};

template <typename T>
void InternalFreeBlock(T *block)
{
    SigkitFree(block);
}

// Holds a block of SigkitMalloc that owns nothing else.
template <typename T>
using InternalBlockGuard = InternalGuard<T, InternalFreeBlock<T>>;

using InternalBytesGuard = InternalBlockGuard<uint8_t>;

#endif
