// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Makes the tests' set of RSA keys. Usage: make_rsa_keys DIRECTORY BITS COUNT [BITS COUNT]...
#include "tests/support/rsa_keys.h"

#include <stdio.h>
#include <stdlib.h>

#include <openssl/x509.h>

namespace
{

bool MakeKey(const std::string &path, int bits)
{
    const RsaKey key = GenerateTestKey(bits);
    FILE *const file = key == nullptr ? nullptr : fopen(path.c_str(), "wb");
    if (file == nullptr) {
        return false;
    }
    const bool written = i2d_PrivateKey_fp(file, key.get()) == 1;
    return fclose(file) == 0 && written;
}

} // namespace

int main(int argc, char **argv)
{
    for (int i = 2; i + 1 < argc; i += 2) {
        const int bits = atoi(argv[i]);
        const unsigned count = static_cast<unsigned>(atoi(argv[i + 1]));
        for (unsigned n = 0; n < count; ++n) {
            const std::string path = TestKeyPath(argv[1], bits, n);
            if (!MakeKey(path, bits)) {
                (void)fprintf(stderr, "make_rsa_keys: %s cannot be made\n", path.c_str());
                return 1;
            }
        }
    }
    return 0;
}
