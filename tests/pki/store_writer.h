// Stores full of certificates and CRLs with pretended signatures.
#ifndef PKI_STORE_WRITER_H
#define PKI_STORE_WRITER_H

#include <stdint.h>

#include <string>
#include <vector>

#include "core/context.h"
#include "core/guard.h"
#include "tests/support/der_records.h"

// The instant at which stores are judged: 2022-01-01.
inline constexpr int64_t JUDGED_AT = 1640995200;

inline constexpr int64_t DAY = 86400;
inline constexpr int64_t YEAR = 365 * DAY;

struct WrittenCert {
    std::string subject;
    std::string issuer;
    uint8_t key = 1;       // of the subject
    uint8_t issuerKey = 1; // that signed
    uint8_t serial = 1;
    bool cA = true;
    bool mayCertSign = true;
    bool mayCrlSign = true;
    int64_t notBefore = JUDGED_AT - YEAR;
    int64_t notAfter = JUDGED_AT + YEAR;
};

struct WrittenEntry {
    uint8_t serial = 1;
    int64_t reason = -1; // negative: none is given
    int64_t date = JUDGED_AT - DAY;
    std::string dateText = ""; // not empty: in the place of the date
};

struct WrittenCrl {
    std::string issuer;
    uint8_t issuerKey = 1;
    bool indirect = false;
    int64_t nextUpdate = JUDGED_AT + YEAR;
    std::string nextUpdateText = ""; // not empty: in the place of nextUpdate
    std::vector<WrittenEntry> entries = {};
    std::string algorithm = "1.2.840.113549.1.1.11"; // sha256WithRSAEncryption
};

struct WrittenStore {
    std::vector<WrittenCert> certs; // the first is the trust anchor
    std::vector<WrittenCrl> crls;
};

inline void FreeContext(SigkitVerifyCtx *ctx)
{
    (void)SigkitVrfCtxFree(ctx);
}

using ContextGuard = InternalGuard<SigkitVerifyCtx, FreeContext>;

// Makes a context that holds the store; null when that fails.
SigkitVerifyCtx *LoadStore(const WrittenStore &store);

#endif
