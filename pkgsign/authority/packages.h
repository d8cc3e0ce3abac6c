// Signing packages with the keys of a folder: tried before the device's library first.
#ifndef PKGSIGN_AUTHORITY_PACKAGES_H
#define PKGSIGN_AUTHORITY_PACKAGES_H

#include <string>

#include "pkgsign/authority/device.h"
#include "pkgsign/authority/issue.h"

namespace pkgsign
{

// Content up to this size is judged whole; of longer content, which is read once, its digest stands for it. Octets.
inline constexpr uint64_t SHORT_CONTENT_MAX = uint64_t{1} << 18;

struct PackageOrder {
    std::string signer;    // name in the folder; empty: chosen
    std::string timestamp; // likewise
    std::string crlFile;   // the CRL file of devices; empty: made up from what the folder has revoked
    bool isStamped = true;
    int64_t time = 0; // of the signature and of a local token
    const EVP_MD *digest = nullptr;
};

// One of those who sign: certificate, that of its CA, and key.
struct Party {
    Entry entry;
    Certificate certificate;
    Certificate ca;
    Entry caEntry;
    Key key;
};

struct Package {
    Pki pki;
    Party signer;
    Party timestamp; // without a key: a throwaway token is tried
    Certificate root;
    Setting setting;
    std::string horizon; // until when new packages are accepted, and what ends first
    Bytes contentDigest;
    Bytes content; // when it is short
    bool isWhole = false;
};

// Loads who signs, and the CRLs. A key that its certificate is not for is refused here.
Status OpenPackage(const Workplace &place, const PackageOrder &order, Package *packageOut);

// Tries the message and its token with throwaway keys.
Status TryPackage(const Workplace &place, const PackageOrder &order, Package *package);

// Signs with the real keys. The message is judged again before it is handed out.
Status SignPackage(const PackageOrder &order, Package *package, Bytes *messageOut);

// What is signed, by whom, and the horizon.
std::string DescribePackage(const PackageOrder &order, const Package &package);

// Puts a token into a message that a signer of this PKI has made: a token of the folder's timestamp key, or `given`,
// one made elsewhere (a token or a timestamp response). Tried with a throwaway token first, judged again with the real
// one.
struct StampOrder {
    std::string timestamp;
    std::string crlFile;
    const Bytes *given = nullptr;
    int64_t time = 0;
    const EVP_MD *digest = nullptr;
};
Status StampMessage(const Workplace &place, const StampOrder &order, const Bytes &message, Bytes *messageOut,
                    std::string *reportOut);

} // namespace pkgsign

#endif
