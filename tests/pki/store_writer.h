// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

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

// How a name is written. PLAIN is C=XX, O=Test and CN=text, each alone in its RelativeDistinguishedName.
enum class NameForm : uint8_t {
    PLAIN,
    PRINTABLE,        // the text is a PrintableString
    SECOND_ATTRIBUTE, // there is an OU=Other beside the text
    UNIT,             // the text is an OU
    LONGER,           // the text stands twice, in two RelativeDistinguishedNames
    SHORTER,          // without the text
    EMPTY,            // without any RelativeDistinguishedName
};

inline constexpr const char *SHA256_WITH_RSA = "1.2.840.113549.1.1.11";

// Texts of dates, when they are not empty, stand in the place of the date: as GeneralizedTime behind a G, else as
// UTCTime.
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
    std::string notBeforeText = "";
    std::string notAfterText = "";
    NameForm subjectForm = NameForm::PLAIN;
    NameForm issuerForm = NameForm::PLAIN;
    int32_t usageTail = -1; // second octet of the key usage; negative: there is one octet
    std::string algorithm = SHA256_WITH_RSA;
    bool longKey = false; // of more octets than are supported
};

struct WrittenEntry {
    uint8_t serial = 1;
    int64_t reason = -1; // negative: none is given
    int64_t date = JUDGED_AT - DAY;
    std::string dateText = "";
};

struct WrittenCrl {
    std::string issuer;
    uint8_t issuerKey = 1;
    bool indirect = false;
    int64_t nextUpdate = JUDGED_AT + YEAR;
    std::string nextUpdateText = "";
    std::vector<WrittenEntry> entries = {};
    std::string algorithm = SHA256_WITH_RSA;
    NameForm issuerForm = NameForm::PLAIN;
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

// The DER of a store, or of what a store has more than before.
struct WrittenFiles {
    der::Bytes anchors; // certificates for SigkitVerifyAddCert
    der::Bytes others;  // CRLs for SigkitVerifyAddCrl, and certificates beside them
};

// Writes a store, or what is added to one.
//
//   anchors               in, how many of the first certificates are trust anchors; all are when there are no CRLs.
//   certsThere, crlsThere  in, how many the store has already, so that no two signatures are the same.
WrittenFiles WriteFiles(const WrittenStore &added, size_t anchors, size_t certsThere = 0, size_t crlsThere = 0);

// Adds what was written to a context's store. Returns false when that fails.
bool AddFiles(SigkitVerifyCtx *ctx, const WrittenFiles &files);

// Makes a context with an empty store, judged at JUDGED_AT; null when that fails.
SigkitVerifyCtx *NewContext();

// Makes a context that holds the store, its first certificate the trust anchor; null when that fails.
SigkitVerifyCtx *LoadStore(const WrittenStore &store);

#endif
