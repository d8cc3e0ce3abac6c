// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The request that the answers of the target `timestamp_answer` are for.
#ifndef FUZZ_TIMESTAMP_ANSWER_H
#define FUZZ_TIMESTAMP_ANSWER_H

#include "tests/forge/forge.h"

inline const forge::Bytes FUZZ_STAMPED_SIGNATURE(128, 1);
inline const forge::Bytes FUZZ_NONCE = {0x5A, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07};

#endif
