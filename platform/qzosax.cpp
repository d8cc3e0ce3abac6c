// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The workstation's memory service: the C library's heap. What the device records about a block is not kept here.
#include "qzosax.h"

#include <stdlib.h>

void *qzax_mallocsubstandard(uint32_t /*moduleId*/, size_t size, uint32_t /*flags*/, const char * /*function*/,
                             int /*line*/)
{
    return malloc(size);
}

void qzax_freesub(void *block, const char * /*function*/, int /*line*/)
{
    free(block);
}
