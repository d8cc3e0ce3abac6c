// What the tables must keep to and no compiler checks. That a field lies in its record, in order, and is as large as its
// item's record, holds at compile time (asn1/schema.h).
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "asn1/decode.h"
#include "asn1/records.h"
#include "asn1/types.h"
#include "x509/oid.h"

namespace
{

struct Table {
    const char *name;
    const SigkitAsnItem &item;

    std::vector<SigkitAsnTemplate> Rows() const
    {
        return {item.templ, item.templ + item.count};
    }
};

// Every item with a template.
const Table TABLES[] = {
    {"X509AttrEntry", g_itemSigkitX509AttrEntry},
    {"X509AttrBundle", g_itemSigkitX509AttrBundle},
    {"X509Name", g_itemSigkitX509Name},
    {"X509AlgoIdentifier", g_itemSigkitX509AlgoIdentifier},
    {"RsaPublicKey", g_itemSigkitRsaPublicKey},
    {"X509PublicKey", g_itemSigkitX509PublicKey},
    {"X509PubkeyInfo", g_itemSigkitX509PubkeyInfo},
    {"X509ExtensionEntry", g_itemSigkitX509ExtensionEntry},
    {"X509BasicConstraints", g_itemSigkitX509BasicConstraints},
    {"AsnOidBundle", g_itemSigkitAsnOidBundle},
    {"X509CertExts", g_itemSigkitX509CertExts},
    {"X509Validity", g_itemSigkitX509Validity},
    {"X509CertInfo", g_itemSigkitX509CertInfo},
    {"X509Cert", g_itemSigkitX509Cert},
    {"X509RevokeAttrs", g_itemSigkitX509RevokeAttrs},
    {"X509RevokeEntry", g_itemSigkitX509RevokeEntry},
    {"X509Revoked", g_itemSigkitX509Revoked},
    {"X509IssuingDistPoint", g_itemSigkitX509IssuingDistPoint},
    {"X509CrlAttrs", g_itemSigkitX509CrlAttrs},
    {"X509CrlInfo", g_itemSigkitX509CrlInfo},
    {"X509Crl", g_itemSigkitX509Crl},
    {"Pkcs7ContentInfo", g_itemSigkitPkcs7ContentInfo},
    {"X509CertRawBundle", g_itemSigkitX509CertRawBundle},
    {"Pkcs7IssuerAndSerial", g_itemSigkitPkcs7IssuerAndSerial},
    {"X509SignedAttrs", g_itemSigkitX509SignedAttrs},
    {"X509UnsignedAttrs", g_itemSigkitX509UnsignedAttrs},
    {"Pkcs7SignedInfo", g_itemSigkitPkcs7SignedInfo},
    {"Pkcs7SignedInfoBundle", g_itemSigkitPkcs7SignedInfoBundle},
    {"Pkcs7SignedData", g_itemSigkitPkcs7SignedData},
    {"Pkcs7Content", g_itemSigkitPkcs7Content},
    {"TsMsgImprint", g_itemSigkitTsMsgImprint},
    {"TimestampInfo", g_itemSigkitTimestampInfo},
};

constexpr uint16_t MAY_BE_ABSENT = SIGKIT_ASN_FLAG_OPTIONAL | SIGKIT_ASN_FLAG_DEFAULT;

bool Has(const SigkitAsnTemplate &row, uint16_t flags)
{
    return (row.flags & flags) != 0;
}

bool IsListTag(const SigkitAsnItem &item)
{
    return item.constructed == 1 && (item.tag == ASN_TAG_SEQUENCE || item.tag == ASN_TAG_SET);
}

// Where a row stands, for messages.
std::string At(const Table &table, size_t row)
{
    return std::string(table.name) + ", row " + std::to_string(row + 1);
}

// Expects that an item's tag and rows are of the kind that its decode function reads.
void ExpectFitsItsFunction(const SigkitAsnItem &item)
{
    EXPECT_EQ(uint32_t{ASN_CLASS_UNIVERSAL}, item.cls);
    if (item.decode == &g_skvAsnFuncSeq) {
        const bool isSequence = item.tag == ASN_TAG_SEQUENCE && item.constructed == 1;
        const bool isBitString = item.tag == ASN_TAG_BIT_STRING && item.constructed == 0;
        EXPECT_TRUE(isSequence || isBitString);
    } else if (item.decode == &g_skvAsnFuncMap) {
        EXPECT_TRUE(IsListTag(item));
    } else {
        EXPECT_EQ(&g_skvAsnFuncSetOf, item.decode);
        EXPECT_TRUE(IsListTag(item));
        EXPECT_EQ(1u, item.count);
        EXPECT_LT(0u, item.templ[0].maxCount);
    }
}

// Expects that `next` reads what `row` looks ahead at.
void ExpectReadAgain(const SigkitAsnTemplate &row, const SigkitAsnTemplate &next)
{
    EXPECT_EQ(row.mode, next.mode);
    EXPECT_EQ(row.tagNo, next.tagNo);
    EXPECT_EQ(Has(row, MAY_BE_ABSENT), Has(next, MAY_BE_ABSENT));
    EXPECT_FALSE(Has(next, SIGKIT_ASN_FLAG_PEEK));
}

} // namespace

TEST(Tables, LeadToNoOtherTableThanTheOnesTestedHere)
{
    std::set<const SigkitAsnItem *> known;
    for (const Table &table : TABLES) {
        known.insert(&table.item);
    }
    EXPECT_EQ(std::size(TABLES), known.size());
    for (const Table &table : TABLES) {
        for (const SigkitAsnTemplate &row : table.Rows()) {
            EXPECT_TRUE(row.item->templ == nullptr || known.count(row.item) == 1) << table.name;
        }
    }
}

TEST(Tables, HaveTheTagThatTheirFunctionReads)
{
    for (const Table &table : TABLES) {
        SCOPED_TRACE(table.name);
        ExpectFitsItsFunction(table.item);
    }
}

TEST(Tables, DropOnlyWhatIsReadWithoutAField)
{
    const std::set<const SigkitAsnDecodeFunc *> able = {&g_skvAsnFuncOct, &g_skvAsnFuncBits, &g_skvAsnFuncInt};
    size_t dropped = 0;
    for (const Table &table : TABLES) {
        const auto rows = table.Rows();
        for (size_t i = 0; i < rows.size(); ++i) {
            if (Has(rows[i], SIGKIT_ASN_FLAG_IGNORE)) {
                EXPECT_EQ(1u, able.count(rows[i].item->decode)) << At(table, i);
                dropped += 1;
            }
        }
    }
    EXPECT_EQ(16u, dropped);
}

TEST(Tables, CaptureWholeOrLookAheadOnlyWithTheFunctionThatCan)
{
    for (const Table &table : TABLES) {
        const auto rows = table.Rows();
        for (size_t i = 0; i < rows.size(); ++i) {
            if (Has(rows[i], SIGKIT_ASN_FLAG_RAW | SIGKIT_ASN_FLAG_PEEK)) {
                EXPECT_EQ(&g_skvAsnFuncOct, rows[i].item->decode) << At(table, i);
                EXPECT_FALSE(Has(rows[i], SIGKIT_ASN_FLAG_IGNORE)) << At(table, i);
            }
        }
    }
}

TEST(Tables, ReadWithTheNextRowWhatTheyLookedAheadAt)
{
    size_t lookedAhead = 0;
    for (const Table &table : TABLES) {
        const auto rows = table.Rows();
        for (size_t i = 0; i < rows.size(); ++i) {
            if (Has(rows[i], SIGKIT_ASN_FLAG_PEEK)) {
                SCOPED_TRACE(At(table, i));
                ASSERT_LT(i + 1, rows.size());
                ExpectReadAgain(rows[i], rows[i + 1]);
                lookedAhead += 1;
            }
        }
    }
    EXPECT_EQ(3u, lookedAhead);
}

TEST(Tables, UseAContextTagOnce)
{
    for (const Table &table : TABLES) {
        std::set<uint32_t> used;
        const auto rows = table.Rows();
        for (size_t i = 0; i < rows.size(); ++i) {
            if (rows[i].mode == ASN_MODE_UNIVERSAL) {
                continue;
            }
            EXPECT_GE(30u, rows[i].tagNo) << At(table, i);
            EXPECT_TRUE(used.insert(rows[i].tagNo).second || Has(rows[i - 1], SIGKIT_ASN_FLAG_PEEK)) << At(table, i);
        }
    }
}

TEST(Tables, OfMapsKeepEachKnownMemberOnceAndMissNone)
{
    size_t maps = 0;
    for (const Table &table : TABLES) {
        if (table.item.decode != &g_skvAsnFuncMap) {
            continue;
        }
        maps += 1;
        std::set<uint32_t> members = {AOID_UNKNOWN};
        const auto rows = table.Rows();
        for (size_t i = 0; i < rows.size(); ++i) {
            EXPECT_TRUE(members.insert(rows[i].tagNo).second) << At(table, i);
            EXPECT_EQ(ASN_MODE_UNIVERSAL, rows[i].mode) << At(table, i);
            EXPECT_TRUE(Has(rows[i], SIGKIT_ASN_FLAG_OPTIONAL)) << At(table, i);
            EXPECT_FALSE(Has(rows[i], SIGKIT_ASN_FLAG_IGNORE | SIGKIT_ASN_FLAG_PEEK)) << At(table, i);
        }
    }
    EXPECT_EQ(5u, maps);
}
