// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "fuzz/support/fragments.h"

#include <iterator>
#include <string>

#include "fuzz/support/pki.h"
#include "tests/forge/der.h"
#include "tests/forge/extensions.h"

namespace
{

const char *const TIMES[] = {"200101000000Z",
                             "241231235959Z",
                             "250101000000Z",
                             "250101000001Z",
                             "400101000000Z",
                             "491231235959Z",
                             "500101000000Z",
                             "991231235959Z",
                             "20250101000000Z",
                             "19000101000000Z",
                             "99991231235959Z",
                             "20500101000000Z",
                             "20000229000000Z",
                             "20250101000000",
                             "2501010000Z",
                             "20250101000000.5Z",
                             "250101000000+0100",
                             "xx0101000000Z",
                             "\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF"};

const forge::Bytes SERIALS[] = {{FUZZ_SERIAL_CA_A},
                                {FUZZ_SERIAL_CA_B},
                                {FUZZ_SERIAL_SIGNER},
                                {FUZZ_SERIAL_TSA},
                                {FUZZ_SERIAL_CRL_ISSUER},
                                {0x00},
                                {0x00, FUZZ_SERIAL_SIGNER},
                                {0x00, 0x00, FUZZ_SERIAL_SIGNER},
                                {FUZZ_SERIAL_SIGNER, 0x00},
                                {0x80},
                                {},
                                forge::Bytes(32, 0x7F),
                                forge::Bytes(33, 0x7F)};

const char *const ALGORITHMS[] = {"2.16.840.1.101.3.4.2.1", "2.16.840.1.101.3.4.2.2", "2.16.840.1.101.3.4.2.3",
                                  "1.2.840.113549.1.1.11",  "1.2.840.113549.1.1.12",  "1.2.840.113549.1.1.13",
                                  "1.2.840.113549.1.1.1",   "1.3.14.3.2.26",          "1.2.840.113549.1.1.10"};

const char *const IDENTIFIERS[] = {"2.5.4.3",
                                   "2.5.4.7",
                                   "2.5.4.8",
                                   "2.5.4.10",
                                   "2.5.4.11",
                                   "2.5.4.6",
                                   "1.2.840.113549.1.9.1",
                                   "2.5.29.15",
                                   "2.5.29.19",
                                   "2.5.29.37",
                                   "1.3.6.1.5.5.7.3.3",
                                   "1.3.6.1.5.5.7.3.8",
                                   "2.5.29.28",
                                   "2.5.29.21",
                                   "1.2.840.113549.1.7.1",
                                   "1.2.840.113549.1.7.2",
                                   "1.2.840.113549.1.9.3",
                                   "1.2.840.113549.1.9.4",
                                   "1.2.840.113549.1.9.16.1.4",
                                   "1.2.840.113549.1.9.16.2.14"};

template <typename T, size_t Size>
const T &Pick(const T (&choices)[Size], FuzzRandom *random)
{
    return choices[FuzzBelow(random, Size)];
}

forge::Bytes Purposes(FuzzRandom *random)
{
    const forge::Bytes codeSigning = forge::DerKnownIdentifier(forge::PURPOSE_CODE_SIGNING);
    const forge::Bytes timeStamping = forge::DerKnownIdentifier(forge::PURPOSE_TIME_STAMPING);
    switch (FuzzBelow(random, 5)) {
    case 0:
        return forge::DerSequence({codeSigning});
    case 1:
        return forge::DerSequence({timeStamping});
    case 2:
        return forge::DerSequence({codeSigning, timeStamping});
    case 3:
        return forge::DerSequence({timeStamping, codeSigning});
    default:
        return forge::DerSequence({});
    }
}

forge::Bytes DistributionPoint(FuzzRandom *random)
{
    std::vector<forge::Bytes> members;
    for (const uint8_t tag :
         {uint8_t{0xA0}, uint8_t{0x81}, uint8_t{0x82}, uint8_t{0x83}, uint8_t{0x84}, uint8_t{0x85}}) {
        if (FuzzChance(random, tag == 0x84 ? 70 : 15)) {
            members.push_back(forge::DerElement(tag, {static_cast<uint8_t>(FuzzChance(random, 80) ? 0xFF : 0x00)}));
        }
    }
    return forge::DerSequence(members);
}

forge::Bytes ReasonExtension(uint8_t reason)
{
    return forge::EncodeExtension("2.5.29.21", false, forge::DerElement(forge::DER_ENUMERATED, {reason}));
}

} // namespace

TlvNode FuzzFragment(FuzzRandom *random)
{
    switch (FuzzBelow(random, 10)) {
    case 0:
        return FuzzTime(random);
    case 1:
        return FuzzSerial(random);
    case 2:
        return FuzzAlgorithm(random);
    case 3:
        return FuzzExtension(random);
    case 4:
        return FuzzRevokedEntry(FuzzSerial(random), random);
    case 5:
        return TlvParseOne(FuzzName(FuzzBelow(random, FUZZ_ENTITY_COUNT)));
    case 6:
        return TlvParseOne(FuzzPublicKey(FuzzBelow(random, FUZZ_KEY_COUNT)));
    case 7:
        return FuzzOddKey(random);
    case 8:
        return TlvParseOne(forge::DerKnownIdentifier(Pick(IDENTIFIERS, random)));
    default:
        return TlvLeaf(forge::DER_BOOLEAN, {static_cast<uint8_t>(FuzzChance(random, 70) ? 0xFF : 0x01)});
    }
}

TlvNode FuzzTime(FuzzRandom *random)
{
    const std::string text = Pick(TIMES, random);
    const bool isShort = text.size() < 14;
    const uint8_t tag = isShort != FuzzChance(random, 3) ? forge::DER_UTC_TIME : forge::DER_GENERALIZED_TIME;
    return TlvLeaf(tag, forge::Bytes(text.begin(), text.end()));
}

TlvNode FuzzSerial(FuzzRandom *random)
{
    return TlvLeaf(forge::DER_INTEGER, Pick(SERIALS, random));
}

TlvNode FuzzOddKey(FuzzRandom *random)
{
    static const forge::Bytes NUMBERS[] = {{},
                                           {0x00},
                                           {0x01},
                                           {0x02},
                                           {0x01, 0x00, 0x01},
                                           {0xFF, 0xFF, 0xFF, 0xFF},
                                           forge::Bytes(128, 0xFE),
                                           forge::Bytes(128, 0x7F),
                                           forge::Bytes(512, 0x7F),
                                           forge::Bytes(513, 0x7F)};
    const forge::Bytes key = forge::DerSequence({forge::DerElement(forge::DER_INTEGER, Pick(NUMBERS, random)),
                                                 forge::DerElement(forge::DER_INTEGER, Pick(NUMBERS, random))});
    const forge::Bytes algorithm =
        forge::DerSequence({forge::DerKnownIdentifier("1.2.840.113549.1.1.1"), forge::DerNull()});
    return TlvParseOne(forge::DerSequence({algorithm, forge::DerBitString(key)}));
}

TlvNode FuzzAlgorithm(FuzzRandom *random)
{
    const forge::Bytes identifier = forge::DerKnownIdentifier(Pick(ALGORITHMS, random));
    return TlvParseOne(forge::DerSequence({identifier, FuzzChance(random, 50) ? forge::DerNull() : forge::Bytes()}));
}

TlvNode FuzzExtension(FuzzRandom *random)
{
    const bool critical = FuzzChance(random, 50);
    switch (FuzzBelow(random, 6)) {
    case 0:
        return TlvParseOne(
            forge::EncodeExtension("2.5.29.19", critical, forge::DerSequence({forge::DerBoolean(true)})));
    case 1:
        return TlvParseOne(forge::EncodeExtension("2.5.29.19", critical, forge::DerSequence({})));
    case 2:
        return TlvParseOne(forge::EncodeExtension("2.5.29.15", critical,
                                                  forge::DerNamedBits(static_cast<uint32_t>(FuzzBelow(random, 512)))));
    case 3:
        return TlvParseOne(forge::EncodeExtension("2.5.29.37", critical, Purposes(random)));
    case 4:
        return TlvParseOne(forge::EncodeExtension("2.5.29.28", critical, DistributionPoint(random)));
    default:
        return TlvParseOne(ReasonExtension(static_cast<uint8_t>(FuzzBelow(random, 12))));
    }
}

TlvNode FuzzRevokedEntry(const TlvNode &serial, FuzzRandom *random)
{
    forge::Bytes extensions;
    if (FuzzChance(random, 60)) {
        extensions = forge::DerSequence({ReasonExtension(static_cast<uint8_t>(FuzzBelow(random, 12)))});
    }
    return TlvParseOne(forge::DerSequence({TlvEncode(serial), TlvEncode(FuzzTime(random)), extensions}));
}
