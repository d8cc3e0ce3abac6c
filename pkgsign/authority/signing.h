// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Signing packages: tried before the device's library first.
#ifndef PKGSIGN_AUTHORITY_SIGNING_H
#define PKGSIGN_AUTHORITY_SIGNING_H

#include <functional>
#include <string>
#include <vector>

#include "pkgsign/authority/package.h"
#include "pkgsign/crypto/signature.h"
#include "pkgsign/timestamp/request.h"

namespace pkgsign
{

// Content up to this size is judged whole; of longer content, which is read once, its digest stands for it. Octets.
inline constexpr uint64_t SHORT_CONTENT_MAX = uint64_t{1} << 18;

// Where a package's timestamp token comes from.
enum class TokenSource {
    Folder,    // the folder's timestamp key
    Elsewhere, // PackageOrder::getToken
    None,      // it has none yet: pkgsign timestamp will put it in
};

// Finds a token over a signature value that `accept` takes.
using GetToken = std::function<Status(const Bytes &signature, const AcceptToken &accept)>;

struct PackageOrder {
    std::string signer; // name in the folder; empty: chosen
    PartyFiles files;   // without a certificate: the signer is one of the folder
    bool hasSignerKey = true;
    std::string signatureOrigin = "the signature"; // what gives it, for reasons
    TokenSource tokenSource = TokenSource::Folder;
    std::string timestamp;       // name in the folder; empty: chosen
    bool hasTimestampKey = true; // false: nothing is stamped yet
    GetToken getToken;           // from elsewhere, and in words from where
    std::string tokenOrigin;
    std::string crlFile;     // the CRL file of devices; empty: made up from what the folder has revoked
    int64_t time = 0;        // of the token
    int64_t signingTime = 0; // of the signature
    const EVP_MD *digest = nullptr;
};

// Loads who signs, and the CRLs. A key that its certificate is not for is refused here.
Status OpenPackage(const Workplace &place, const PackageOrder &order, Package *packageOut);

// Tries the message and its token with throwaway keys.
Status TryPackage(const PackageOrder &order, Package *package);

// The octets that the signer's key signs.
Status EncodeRequest(const PackageOrder &order, const Package &package, Bytes *attributesOut);

// Has a package signed that was tried. sign: has the signer's key; what it gives is checked. The message is judged
// again, with a throwaway token where it has none, before it is handed out.
Status SignPackage(const PackageOrder &order, const Package &package, const SignOctets &sign, Bytes *messageOut);

// What is signed, as text with its digest, by whom, and the horizon.
Status DescribePackage(const PackageOrder &order, const Package &package, std::string *textOut);

} // namespace pkgsign

#endif
