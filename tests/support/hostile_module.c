// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

/* Leaves a mark when it is loaded: a file that the environment names. */
#include <stdio.h>
#include <stdlib.h>

__attribute__((constructor)) static void LeaveMark(void)
{
    const char *const path = getenv("HOSTILE_MARK");
    FILE *const file = path == NULL ? NULL : fopen(path, "w");
    if (file != NULL) {
        (void)fclose(file);
    }
}
