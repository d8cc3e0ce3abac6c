// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

/* A program that starts, loads libcrypto, does the digests and signature checks of a file of operations, and ends: the
 * least that any verifier over libcrypto does. Usage: least_work OPERATIONS */
#include <fcntl.h>
#include <stdint.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <openssl/evp.h>
#include <openssl/rsa.h>

#include "bench/operations.h"
#include "src/libcrypto_start.h"

struct Piece {
    uint32_t len;
    const uint8_t *octets;
};

static uint8_t g_file[1 << 20];

static EVP_PKEY *MakeKey(const struct Piece *modulus, const struct Piece *exponent)
{
    EVP_PKEY *const key = EVP_PKEY_new();
    RSA *const rsa = RSA_new();
    if (key == NULL || rsa == NULL ||
        RSA_set0_key(rsa, BN_bin2bn(modulus->octets, (int)modulus->len, NULL),
                     BN_bin2bn(exponent->octets, (int)exponent->len, NULL), NULL) != 1 ||
        EVP_PKEY_assign(key, EVP_PKEY_RSA, rsa) != 1) {
        return NULL;
    }
    return key;
}

static const EVP_MD *FindDigest(const char *name)
{
    if (strcmp(name, "SHA256") == 0) {
        return EVP_sha256();
    }
    return strcmp(name, "SHA384") == 0 ? EVP_sha384() : EVP_sha512();
}

static int Do(const char *digest, const struct Piece *pieces)
{
    uint8_t value[EVP_MAX_MD_SIZE];
    EVP_MD_CTX *const ctx = EVP_MD_CTX_new();
    int done = ctx != NULL && EVP_DigestInit_ex(ctx, FindDigest(digest), NULL) == 1 &&
               EVP_DigestUpdate(ctx, pieces[PIECE_DATA].octets, pieces[PIECE_DATA].len) == 1;
    if (pieces[PIECE_MODULUS].len == 0) {
        done = done && EVP_DigestFinal(ctx, value, NULL) == 1;
    } else {
        EVP_PKEY *const key = MakeKey(&pieces[PIECE_MODULUS], &pieces[PIECE_EXPONENT]);
        done = done && EVP_VerifyFinal(ctx, pieces[PIECE_SIGNATURE].octets, pieces[PIECE_SIGNATURE].len, key) == 1;
        EVP_PKEY_free(key);
    }
    EVP_MD_CTX_free(ctx);
    return done;
}

static int DoAll(const uint8_t *place, const uint8_t *end)
{
    while (place < end) {
        struct Piece pieces[OPERATION_PIECES];
        const char *const digest = (const char *)place;
        place += OPERATION_NAME_SIZE;
        for (int i = 0; i < OPERATION_PIECES; ++i) {
            memcpy(&pieces[i].len, place, sizeof(pieces[i].len));
            pieces[i].octets = place + sizeof(pieces[i].len);
            place = pieces[i].octets + pieces[i].len;
        }
        if (!Do(digest, pieces)) {
            return 0;
        }
    }
    return 1;
}

int main(int argc, char **argv)
{
    if (argc != 2) {
        return 2;
    }
    const int file = open(argv[1], O_RDONLY | O_CLOEXEC);
    const ssize_t size = read(file, g_file, sizeof(g_file));
    if (size <= 0 || StartLibcrypto() != 1) {
        return 2;
    }
    return DoAll(g_file, g_file + size) ? 0 : 1;
}
