// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Who signs the tokens of a timestamp authority: a key in this process, or a process of its own for a key in a token
// (PKCS #11), because one process of libcrypto's engine signs with one thread at a time.
#ifndef PKGSIGN_TIMESTAMP_SIGNERS_H
#define PKGSIGN_TIMESTAMP_SIGNERS_H

#include <sys/types.h>

#include <functional>
#include <vector>

#include "pkgsign/crypto/types.h"
#include "pkgsign/timestamp/authority.h"

namespace pkgsign
{

// Signs with a key in this process. The result is for one thread.
Status SignWithKey(const Key &key, SignDigest *signOut);

// A worker process, and this end of the line to it.
struct Worker {
    pid_t process = -1;
    int line = -1;
};

// Worker processes. They end, and are waited for, at the end of the scope.
struct Workers {
    std::vector<Worker> held;

    Workers() = default;
    Workers(const Workers &) = delete;
    Workers &operator=(const Workers &) = delete;
    ~Workers();
};

// Starts `count` worker processes; to be called before this process has threads. load: loads the key, in the worker;
// the first worker has done so before the next one begins, so that a PIN that is refused is tried once.
Status StartWorkers(size_t count, const std::function<Status(Key *keyOut)> &load, Workers *workers);

// Signs by a worker process. The worker checks each signature; one that it could not make ends it, since a token's
// session that has failed is not to be mended inside its process. Then each call fails.
SignDigest SignByWorker(const Worker &worker);

} // namespace pkgsign

#endif
