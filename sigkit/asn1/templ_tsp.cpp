#include "asn1/schema.h"

// clang-format off

// MessageImprint ::= SEQUENCE {                                                                   RFC 3161, 2.4.1
constexpr SigkitAsnTemplate g_templSigkitTsMsgImprint[] = {
    KEEP(SigkitTsMsgImprint, hashAlgorithm, g_itemSigkitX509AlgoIdentifier, UNIVERSAL, REQUIRED),
    KEEP(SigkitTsMsgImprint, hashedMessage, g_itemSigkitAsnOcts,            UNIVERSAL, REQUIRED),  // OCTET STRING
};
SEQUENCE_ITEM(SigkitTsMsgImprint);

// TSTInfo ::= SEQUENCE {                                                                          RFC 3161, 2.4.2
constexpr SigkitAsnTemplate g_templSigkitTimestampInfo[] = {
    DROP(version,                             g_itemSigkitAsnInt,       UNIVERSAL,   REQUIRED),
    DROP(policy,                              g_itemSigkitAsnOcts,      UNIVERSAL,   REQUIRED),  // OBJECT IDENTIFIER
    KEEP(SigkitTimestampInfo, messageImprint, g_itemSigkitTsMsgImprint, UNIVERSAL,   REQUIRED),
    DROP(serialNumber,                        g_itemSigkitAsnBigint,    UNIVERSAL,   REQUIRED),
    KEEP(SigkitTimestampInfo, genTime,        g_itemSigkitAsnOcts,      UNIVERSAL,   REQUIRED),  // GeneralizedTime
    DROP(accuracy,                            g_itemSigkitAsnSeq,       UNIVERSAL,   OPTIONAL),
    DROP(ordering,                            g_itemSigkitAsnBool,      UNIVERSAL,   OPTIONAL),  // DEFAULT FALSE
    DROP(nonce,                               g_itemSigkitAsnBigint,    UNIVERSAL,   OPTIONAL),
    DROP(tsa,                                 g_itemSigkitAsnSeq,       IMPLICIT(0), OPTIONAL),
    DROP(extensions,                          g_itemSigkitAsnSeq,       IMPLICIT(1), OPTIONAL),
};
SEQUENCE_ITEM(SigkitTimestampInfo);
