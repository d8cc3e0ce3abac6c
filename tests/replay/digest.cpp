// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "tests/replay/digest.h"

#include <string.h>

namespace
{

// The first 64 bits of the fractions of the square roots of the first 16 primes: the initial values of SHA-512 and,
// from the ninth on, of SHA-384. Those of SHA-256 are the high halves of the first eight (FIPS 180-4, 5.3).
constexpr uint64_t ROOTS_2[] = {
    0x6a09e667f3bcc908, 0xbb67ae8584caa73b, 0x3c6ef372fe94f82b, 0xa54ff53a5f1d36f1,
    0x510e527fade682d1, 0x9b05688c2b3e6c1f, 0x1f83d9abfb41bd6b, 0x5be0cd19137e2179,
    0xcbbb9d5dc1059ed8, 0x629a292a367cd507, 0x9159015a3070dd17, 0x152fecd8f70e5939,
    0x67332667ffc00b31, 0x8eb44a8768581511, 0xdb0c2e0d64f98fa7, 0x47b5481dbefa4fa4,
};

// The first 64 bits of the fractions of the cube roots of the first 80 primes; SHA-256 has the high halves of the first
// 64 (FIPS 180-4, 4.2).
constexpr uint64_t ROOTS_3[] = {
    0x428a2f98d728ae22, 0x7137449123ef65cd, 0xb5c0fbcfec4d3b2f, 0xe9b5dba58189dbbc, 0x3956c25bf348b538,
    0x59f111f1b605d019, 0x923f82a4af194f9b, 0xab1c5ed5da6d8118, 0xd807aa98a3030242, 0x12835b0145706fbe,
    0x243185be4ee4b28c, 0x550c7dc3d5ffb4e2, 0x72be5d74f27b896f, 0x80deb1fe3b1696b1, 0x9bdc06a725c71235,
    0xc19bf174cf692694, 0xe49b69c19ef14ad2, 0xefbe4786384f25e3, 0x0fc19dc68b8cd5b5, 0x240ca1cc77ac9c65,
    0x2de92c6f592b0275, 0x4a7484aa6ea6e483, 0x5cb0a9dcbd41fbd4, 0x76f988da831153b5, 0x983e5152ee66dfab,
    0xa831c66d2db43210, 0xb00327c898fb213f, 0xbf597fc7beef0ee4, 0xc6e00bf33da88fc2, 0xd5a79147930aa725,
    0x06ca6351e003826f, 0x142929670a0e6e70, 0x27b70a8546d22ffc, 0x2e1b21385c26c926, 0x4d2c6dfc5ac42aed,
    0x53380d139d95b3df, 0x650a73548baf63de, 0x766a0abb3c77b2a8, 0x81c2c92e47edaee6, 0x92722c851482353b,
    0xa2bfe8a14cf10364, 0xa81a664bbc423001, 0xc24b8b70d0f89791, 0xc76c51a30654be30, 0xd192e819d6ef5218,
    0xd69906245565a910, 0xf40e35855771202a, 0x106aa07032bbd1b8, 0x19a4c116b8d2d0c8, 0x1e376c085141ab53,
    0x2748774cdf8eeb99, 0x34b0bcb5e19b48a8, 0x391c0cb3c5c95a63, 0x4ed8aa4ae3418acb, 0x5b9cca4f7763e373,
    0x682e6ff3d6b2b8a3, 0x748f82ee5defb2fc, 0x78a5636f43172f60, 0x84c87814a1f0ab72, 0x8cc702081a6439ec,
    0x90befffa23631e28, 0xa4506cebde82bde9, 0xbef9a3f7b2c67915, 0xc67178f2e372532b, 0xca273eceea26619c,
    0xd186b8c721c0c207, 0xeada7dd6cde0eb1e, 0xf57d4f7fee6ed178, 0x06f067aa72176fba, 0x0a637dc5a2c898a6,
    0x113f9804bef90dae, 0x1b710b35131c471b, 0x28db77f523047d84, 0x32caab7b40c72493, 0x3c9ebe0a15c9bebc,
    0x431d67c49c100d4c, 0x4cc5d4becb3e42b6, 0x597f299cfc657e2a, 0x5fcb6fab3ad6faec, 0x6c44198c4a475817,
};

// What differs between SHA-256 and SHA-512 (FIPS 180-4, 4.1.2 and 4.1.3): the size of a word, the rounds, and the
// distances of rotations, of which the third of each small one is a shift.
template <typename Word>
struct Kind;

template <>
struct Kind<uint32_t> {
    static constexpr int ROUNDS = 64;
    static constexpr int DROPPED_BITS = 32; // of the constants
    static constexpr int LARGE_0[] = {2, 13, 22};
    static constexpr int LARGE_1[] = {6, 11, 25};
    static constexpr int SMALL_0[] = {7, 18, 3};
    static constexpr int SMALL_1[] = {17, 19, 10};
};

template <>
struct Kind<uint64_t> {
    static constexpr int ROUNDS = 80;
    static constexpr int DROPPED_BITS = 0;
    static constexpr int LARGE_0[] = {28, 34, 39};
    static constexpr int LARGE_1[] = {14, 18, 41};
    static constexpr int SMALL_0[] = {1, 8, 7};
    static constexpr int SMALL_1[] = {19, 61, 6};
};

constexpr int STATE_WORDS = 8;
constexpr int BLOCK_WORDS = 16;
constexpr int BITS_PER_OCTET = 8;

template <typename Word>
Word Rotated(Word word, int distance)
{
    return static_cast<Word>(word >> distance | word << (static_cast<int>(sizeof(Word)) * BITS_PER_OCTET - distance));
}

template <typename Word>
Word Large(Word word, const int (&by)[3])
{
    return Rotated(word, by[0]) ^ Rotated(word, by[1]) ^ Rotated(word, by[2]);
}

template <typename Word>
Word Small(Word word, const int (&by)[3])
{
    return Rotated(word, by[0]) ^ Rotated(word, by[1]) ^ word >> by[2];
}

// One block (FIPS 180-4, 6.2.2 and 6.4.2).
template <typename Word>
void AddBlock(Word (&state)[STATE_WORDS], const uint8_t *block)
{
    Word schedule[Kind<Word>::ROUNDS] = {};
    for (size_t i = 0; i < BLOCK_WORDS * sizeof(Word); ++i) {
        Word &word = schedule[i / sizeof(Word)];
        word = static_cast<Word>(word << BITS_PER_OCTET | block[i]);
    }
    for (int i = BLOCK_WORDS; i < Kind<Word>::ROUNDS; ++i) {
        schedule[i] = Small(schedule[i - 2], Kind<Word>::SMALL_1) + schedule[i - 7] +
                      Small(schedule[i - 15], Kind<Word>::SMALL_0) + schedule[i - 16];
    }
    Word v[STATE_WORDS];
    memcpy(v, state, sizeof(v));
    for (int i = 0; i < Kind<Word>::ROUNDS; ++i) {
        const Word first = v[7] + Large(v[4], Kind<Word>::LARGE_1) + ((v[4] & v[5]) ^ (~v[4] & v[6])) +
                           static_cast<Word>(ROOTS_3[i] >> Kind<Word>::DROPPED_BITS) + schedule[i];
        const Word second = Large(v[0], Kind<Word>::LARGE_0) + ((v[0] & v[1]) ^ (v[0] & v[2]) ^ (v[1] & v[2]));
        memmove(v + 1, v, sizeof(v) - sizeof(Word));
        v[4] += first;
        v[0] = first + second;
    }
    for (int i = 0; i < STATE_WORDS; ++i) {
        state[i] += v[i];
    }
}

// The whole of it, with the padding of FIPS 180-4, 5.1.
template <typename Word>
void Digest(const uint64_t *initial, const uint8_t *data, size_t size, uint8_t (&digest)[DIGEST_SIZE_MAX])
{
    constexpr size_t blockSize = BLOCK_WORDS * sizeof(Word);
    Word state[STATE_WORDS];
    for (int i = 0; i < STATE_WORDS; ++i) {
        state[i] = static_cast<Word>(initial[i] >> Kind<Word>::DROPPED_BITS);
    }
    size_t at = 0;
    for (; size - at >= blockSize; at += blockSize) {
        AddBlock(state, data + at);
    }
    uint8_t last[2 * blockSize] = {};
    const size_t rest = size - at;
    if (rest > 0) {
        memcpy(last, data + at, rest);
    }
    last[rest] = 0x80;
    const size_t lastSize = rest + 1 + 2 * sizeof(Word) <= blockSize ? blockSize : 2 * blockSize;
    const uint64_t bits = static_cast<uint64_t>(size) * BITS_PER_OCTET;
    for (size_t i = 0; i < sizeof(bits); ++i) {
        last[lastSize - 1 - i] = static_cast<uint8_t>(bits >> (BITS_PER_OCTET * i));
    }
    for (at = 0; at < lastSize; at += blockSize) {
        AddBlock(state, last + at);
    }
    for (size_t i = 0; i < sizeof(state); ++i) {
        const size_t inWord = sizeof(Word) - 1 - i % sizeof(Word);
        digest[i] = static_cast<uint8_t>(state[i / sizeof(Word)] >> (BITS_PER_OCTET * inWord));
    }
}

} // namespace

uint32_t DigestOf(uint32_t hashAoid, const uint8_t *data, size_t size, uint8_t (&digest)[DIGEST_SIZE_MAX])
{
    switch (hashAoid) {
    case 43:
        Digest<uint32_t>(ROOTS_2, data, size, digest);
        return 32;
    case 44:
        Digest<uint64_t>(ROOTS_2 + STATE_WORDS, data, size, digest);
        return 48;
    case 45:
        Digest<uint64_t>(ROOTS_2, data, size, digest);
        return 64;
    default:
        return 0;
    }
}
