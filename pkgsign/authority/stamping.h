// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Timestamping the message of a package that is signed.
#ifndef PKGSIGN_AUTHORITY_STAMPING_H
#define PKGSIGN_AUTHORITY_STAMPING_H

#include <string>

#include "pkgsign/authority/party.h"
#include "pkgsign/timestamp/request.h"

namespace pkgsign
{

// Puts a token into a message that a signer of this PKI has made: a token of the folder's timestamp key, or `given`,
// one made elsewhere. The local one is tried with a throwaway token first; the real one is judged again.
struct StampOrder {
    std::string root;                    // what devices have built in, a file; empty: the folder's. Wants crlFile
    std::string timestamp;               // name in the folder; empty: chosen
    std::string crlFile;                 // as in PackageOrder
    const CheckedToken *given = nullptr; // null: a local token is made
    int64_t time = 0;                    // of a local token
    const EVP_MD *digest = nullptr;
};
Status StampMessage(const Workplace &place, const StampOrder &order, const Bytes &message, Bytes *messageOut,
                    std::string *reportOut);

// Tries a message with a throwaway token of `order.time`, before anybody is asked for a real one.
Status TryStamp(const Workplace &place, const StampOrder &order, const Bytes &message);

// Judges a message as it is, with the token in it; `order.given` is that token.
Status JudgeStamped(const Workplace &place, const StampOrder &order, const Bytes &message);

} // namespace pkgsign

#endif
