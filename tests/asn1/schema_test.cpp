// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// What must hold between rows whose items are defined in different files, where no compiler sees both. The rest holds
// at compile time (asn1/schema.h); tests/check_wrong_rows.py tries wrong rows out.
#include <set>
#include <string>

#include <gtest/gtest.h>

#include "asn1/decode.h"
#include "asn1/records.h"
#include "asn1/types.h"

namespace
{

// Every item with a template: from those that are decoded by themselves to those that their rows lead to.
std::set<const SigkitAsnItem *> Tables()
{
    std::set<const SigkitAsnItem *> found;
    std::set<const SigkitAsnItem *> next = {&g_itemSigkitX509Cert,           &g_itemSigkitX509Crl,
                                            &g_itemSigkitPkcs7Content,       &g_itemSigkitTimestampInfo,
                                            &g_itemSigkitX509ExtensionEntry, &g_itemSigkitAsnOidBundle};
    while (!next.empty()) {
        const SigkitAsnItem *const item = *next.begin();
        next.erase(next.begin());
        if (item->templ == nullptr || !found.insert(item).second) {
            continue;
        }
        for (uint32_t i = 0; i < item->count; ++i) {
            next.insert(item->templ[i].item);
        }
    }
    return found;
}

bool Has(const SigkitAsnTemplate &row, uint16_t flags)
{
    return (row.flags & flags) != 0;
}

bool MayBeAbsent(const SigkitAsnTemplate &row)
{
    return Has(row, SIGKIT_ASN_FLAG_OPTIONAL | SIGKIT_ASN_FLAG_DEFAULT);
}

// Whether `row`, which comes first, takes an element that is meant for `next`.
bool TakesWhatIsMeantFor(const SigkitAsnTemplate &row, const SigkitAsnTemplate &next)
{
    if (row.mode != ASN_MODE_UNIVERSAL) {
        return next.mode != ASN_MODE_UNIVERSAL && row.tagNo == next.tagNo;
    }
    return row.item->tag == SIGKIT_ASN_TAG_ANY || (next.mode == ASN_MODE_UNIVERSAL && row.item->tag == next.item->tag);
}

// Expects that the row `first`, which may be absent, leaves each row that can be next when it is its element.
void ExpectLeavesTheNext(const SigkitAsnItem &item, uint32_t first)
{
    for (uint32_t i = first + 1; i < item.count; ++i) {
        EXPECT_FALSE(TakesWhatIsMeantFor(item.templ[first], item.templ[i])) << "rows " << first + 1 << " and " << i + 1;
        if (!MayBeAbsent(item.templ[i])) {
            return;
        }
    }
}

} // namespace

TEST(Tables, ReadNothingElseAsAMemberThatIsAbsent)
{
    uint32_t rows = 0;
    for (const SigkitAsnItem *const item : Tables()) {
        SCOPED_TRACE("a table of " + std::to_string(item->count) + " rows into " + std::to_string(item->recordSize) +
                     " octets");
        for (uint32_t i = 0; item->decode == &g_skvAsnFuncSeq && i < item->count; ++i) {
            // What is looked ahead at is what the next row reads.
            if (MayBeAbsent(item->templ[i]) && !Has(item->templ[i], SIGKIT_ASN_FLAG_PEEK)) {
                ExpectLeavesTheNext(*item, i);
                rows += 1;
            }
        }
    }
    EXPECT_LT(0u, rows);
}
