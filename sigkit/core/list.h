// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The library's list: a fixed number of pointers, embedded in the record that owns it.
//
// Logs: nothing, in any function of this header.
#ifndef CORE_LIST_H
#define CORE_LIST_H

#include <stdint.h>

// Entries that a list can hold. Stores, candidate lists and the images of a context all share this bound, which is what
// keeps the cost of a verification finite.
inline constexpr uint32_t SIGKIT_LIST_CAPACITY = 16;

// Pointers in order: items[0] to items[count - 1]. All zero is the empty list.
struct SigkitList {
    uint32_t count;
    void *items[SIGKIT_LIST_CAPACITY];
};

// Releases one entry of a list.
using SigkitListDestructor = void (*)(void *item);

// Orders two entries: positive when `first` belongs behind `second`.
using SigkitListComparator = int32_t (*)(const void *first, const void *second);

// Appends `item`, which the list then holds for its owner.
//
// Returns SIGKIT_OK, SIGKIT_ERR_PARAM when an argument is null, or SIGKIT_ERR_LIST_FULL; after a failure the item stays
// with the caller.
[[nodiscard]] uint32_t SigkitListAdd(SigkitList *list, void *item);

// Hands every entry to `destructor` and empties the list. Does nothing when an argument is null. The slots keep their
// old pointers.
void SigkitListFree(SigkitList *list, SigkitListDestructor destructor);

// Sorts the list in place. Entries that compare equal keep their order.
//
// Returns SIGKIT_OK, or SIGKIT_ERR_PARAM when an argument is null.
[[nodiscard]] uint32_t SigkitListSort(SigkitList *list, SigkitListComparator comparator);

#endif
