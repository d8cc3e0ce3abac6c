// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "core/list.h"

#include "sigkit/sigkit.h"

uint32_t SigkitListAdd(SigkitList *list, void *item)
{
    if (list == nullptr || item == nullptr) {
        return SIGKIT_ERR_PARAM;
    }
    if (list->count >= SIGKIT_LIST_CAPACITY) {
        return SIGKIT_ERR_LIST_FULL;
    }
    list->items[list->count] = item;
    list->count += 1;
    return SIGKIT_OK;
}

void SigkitListFree(SigkitList *list, SigkitListDestructor destructor)
{
    if (list == nullptr || destructor == nullptr) {
        return;
    }
    for (uint32_t i = 0; i < list->count; ++i) {
        destructor(list->items[i]);
    }
    list->count = 0;
}

uint32_t SigkitListSort(SigkitList *list, SigkitListComparator comparator)
{
    if (list == nullptr || comparator == nullptr) {
        return SIGKIT_ERR_PARAM;
    }
    // Each pass carries the smallest remaining entry from the back to position `sorted`.
    bool swapped = true;
    for (uint32_t sorted = 0; swapped && sorted + 1 < list->count; ++sorted) {
        swapped = false;
        for (uint32_t j = list->count - 1; j > sorted; --j) {
            void *const first = list->items[j - 1];
            void *const second = list->items[j];
            if (comparator(first, second) > 0) {
                list->items[j - 1] = second;
                list->items[j] = first;
                swapped = true;
            }
        }
    }
    return SIGKIT_OK;
}
