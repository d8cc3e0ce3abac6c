// Stores full of certificates and CRLs with pretended signatures.
#ifndef PATH_COST_STORE_WRITER_H
#define PATH_COST_STORE_WRITER_H

#include <stdint.h>

#include <string>
#include <vector>

#include "core/context.h"
#include "core/guard.h"
#include "tests/support/der_records.h"

// The instant at which stores are judged: 2022-01-01.
inline constexpr int64_t JUDGED_AT = 1640995200;

struct WrittenCert {
    std::string subject;
    std::string issuer;
    uint8_t key = 1;       // of the subject
    uint8_t issuerKey = 1; // that signed
    uint8_t serial = 1;
    bool cA = true;
    bool mayCertSign = true;
    bool mayCrlSign = true;
    bool expired = false;
};

struct WrittenEntry {
    uint8_t serial = 1;
    int64_t reason = 0;
    bool future = false; // revoked after the instant of judgement
};

struct WrittenCrl {
    std::string issuer;
    uint8_t issuerKey = 1;
    bool indirect = false;
    bool expired = false;
    std::vector<WrittenEntry> entries;
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
