// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Octets that are wiped before their memory is given back: passphrases and PINs.
#ifndef PKGSIGN_CRYPTO_SECRET_H
#define PKGSIGN_CRYPTO_SECRET_H

#include <memory>
#include <vector>

#include <openssl/crypto.h>

namespace pkgsign
{

template <typename T>
struct WipingAllocator {
    using value_type = T;

    WipingAllocator() = default;
    template <typename U>
    WipingAllocator(const WipingAllocator<U> &)
    {
    }
    T *allocate(size_t count)
    {
        return std::allocator<T>().allocate(count);
    }
    void deallocate(T *block, size_t count)
    {
        OPENSSL_cleanse(block, count * sizeof(T));
        std::allocator<T>().deallocate(block, count);
    }
    bool operator==(const WipingAllocator &) const
    {
        return true;
    }
};

// No string: a short one is kept in the object itself, where no allocator wipes it.
using Secret = std::vector<char, WipingAllocator<char>>;

} // namespace pkgsign

#endif
