// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Whole messages over one content, judged from Begin to Final.
#ifndef WHOLE_MESSAGE_H
#define WHOLE_MESSAGE_H

#include <string>

#include "tests/verify/verify_fixture.h"

inline constexpr char CONTENT[] = "f4d1b0 firmware.bin\n";

inline forge::Bytes GoodMessage()
{
    return MakeMessage(MessageRequest(CONTENT));
}

class WholeMessageTest : public VerifyTest
{
protected:
    // The first failure, or SIGKIT_OK with the verdict.
    uint32_t Verify(const forge::Bytes &message, const std::string &content = CONTENT)
    {
        verdict = 0;
        uint32_t status = Begin(message);
        if (status == SIGKIT_OK) {
            status = Update(content);
        }
        const uint32_t ended = Final(); // empties the checks in every case
        verdict = status == SIGKIT_OK ? verdict : 0;
        return status == SIGKIT_OK ? ended : status;
    }
};

#endif
