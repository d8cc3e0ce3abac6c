// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "src/libcrypto_start.h"

#include <stdint.h>

#include <openssl/crypto.h>

namespace
{

// What libcrypto shall leave out. Its configuration file, which the environment can name, could load modules into
// this process. Its tables of ciphers, of digests' names and of error texts are half of the time that it takes to
// start, and nothing here asks for them. At the end of the process the system takes everything back anyway.
constexpr uint64_t LIBCRYPTO_PARTS = OPENSSL_INIT_NO_LOAD_CONFIG | OPENSSL_INIT_NO_ADD_ALL_CIPHERS |
                                     OPENSSL_INIT_NO_ADD_ALL_DIGESTS | OPENSSL_INIT_NO_LOAD_CRYPTO_STRINGS |
                                     OPENSSL_INIT_NO_ATEXIT;

} // namespace

int StartLibcrypto(void)
{
    return OPENSSL_init_crypto(LIBCRYPTO_PARTS, nullptr);
}
