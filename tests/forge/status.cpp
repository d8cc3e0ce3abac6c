// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "tests/forge/status.h"

#include <openssl/err.h>

namespace forge
{
Status FailCrypto(const std::string &what)
{
    const char *text = ERR_reason_error_string(ERR_peek_error());
    ERR_clear_error();
    return Fail(text == nullptr ? what : what + ": " + text);
}
} // namespace forge
