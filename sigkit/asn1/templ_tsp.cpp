// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "asn1/schema.h"

// clang-format off

// MessageImprint ::= SEQUENCE {                                                                   RFC 3161, 2.4.1
#define RECORD SigkitTsMsgImprint
SEQUENCE(TsMsgImprint,
    KEEP(hashAlgorithm, X509AlgoIdentifier, UNIVERSAL, REQUIRED), // AlgorithmIdentifier
    KEEP(hashedMessage, AsnOcts,            UNIVERSAL, REQUIRED)  // OCTET STRING }. Widened: any element
);
#undef RECORD

// TSTInfo ::= SEQUENCE {                                                                          RFC 3161, 2.4.2
#define RECORD SigkitTimestampInfo
SEQUENCE(TimestampInfo,
    DROP(version,        AsnInt,       UNIVERSAL,   REQUIRED), // INTEGER { v1(1) }. Widened: any INTEGER
    DROP(policy,         AsnOcts,      UNIVERSAL,   REQUIRED), // TSAPolicyId (OBJECT IDENTIFIER). Widened: any element
    KEEP(messageImprint, TsMsgImprint, UNIVERSAL,   REQUIRED), // MessageImprint
    DROP(serialNumber,   AsnBigint,    UNIVERSAL,   REQUIRED), // INTEGER. Widened as AsnBigint
    KEEP(genTime,        AsnOcts,      UNIVERSAL,   REQUIRED), // GeneralizedTime. Widened: any element; x509/time.cpp
                                                               // takes a UTCTime too, and (Narrowed) no fraction of a
                                                               // second
    DROP(accuracy,       AsnSeq,       UNIVERSAL,   OPTIONAL), // Accuracy OPTIONAL. Widened: any SEQUENCE
    DROP(ordering,       AsnBool,      UNIVERSAL,   OPTIONAL), // BOOLEAN DEFAULT FALSE. Widened: any number of octets
    DROP(nonce,          AsnBigint,    UNIVERSAL,   OPTIONAL), // INTEGER OPTIONAL. Widened as AsnBigint
    DROP(tsa,            AsnSeq,       IMPLICIT(0), OPTIONAL), // [0] GeneralName OPTIONAL: a CHOICE, so the tag is in
                                                               // effect EXPLICIT; wrapper and name are dropped.
                                                               // Widened: any content
    DROP(extensions,     AsnSeq,       IMPLICIT(1), OPTIONAL)  // [1] IMPLICIT Extensions OPTIONAL }. Widened: any
                                                               // content, critical or not
);
#undef RECORD
