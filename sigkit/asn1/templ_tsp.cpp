#include "asn1/schema.h"

// clang-format off

// MessageImprint ::= SEQUENCE {                                                                   RFC 3161, 2.4.1
#define RECORD SigkitTsMsgImprint
SEQUENCE(TsMsgImprint,
    KEEP(hashAlgorithm, X509AlgoIdentifier, UNIVERSAL, REQUIRED), // AlgorithmIdentifier
    KEEP(hashedMessage, AsnOcts,            UNIVERSAL, REQUIRED) // OCTET STRING }
);
#undef RECORD

// TSTInfo ::= SEQUENCE {                                                                          RFC 3161, 2.4.2
#define RECORD SigkitTimestampInfo
SEQUENCE(TimestampInfo,
    DROP(version,        AsnInt,       UNIVERSAL,   REQUIRED), // INTEGER { v1(1) }
    DROP(policy,         AsnOcts,      UNIVERSAL,   REQUIRED), // TSAPolicyId (OBJECT IDENTIFIER). Widened: any element
    KEEP(messageImprint, TsMsgImprint, UNIVERSAL,   REQUIRED), // MessageImprint
    DROP(serialNumber,   AsnBigint,    UNIVERSAL,   REQUIRED), // INTEGER
    KEEP(genTime,        AsnOcts,      UNIVERSAL,   REQUIRED), // GeneralizedTime
    DROP(accuracy,       AsnSeq,       UNIVERSAL,   OPTIONAL), // Accuracy OPTIONAL
    DROP(ordering,       AsnBool,      UNIVERSAL,   OPTIONAL), // BOOLEAN DEFAULT FALSE
    DROP(nonce,          AsnBigint,    UNIVERSAL,   OPTIONAL), // INTEGER OPTIONAL
    DROP(tsa,            AsnSeq,       IMPLICIT(0), OPTIONAL), // [0] GeneralName OPTIONAL: a CHOICE, so the tag is in
                                                               // effect EXPLICIT; wrapper and name are dropped
    DROP(extensions,     AsnSeq,       IMPLICIT(1), OPTIONAL) // [1] IMPLICIT Extensions OPTIONAL }
);
#undef RECORD
