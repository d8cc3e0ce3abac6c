#include "fuzz/support/fragments.h"

#include <iterator>
#include <string>

#include "fuzz/support/pki.h"
#include "pkgsign/der.h"
#include "pkgsign/extensions.h"

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

const PkgsignBytes SERIALS[] = {{FUZZ_SERIAL_CA_A},
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
                                PkgsignBytes(32, 0x7F),
                                PkgsignBytes(33, 0x7F)};

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

PkgsignBytes Purposes(FuzzRandom *random)
{
    const PkgsignBytes codeSigning = PkgsignDerKnownIdentifier(PKGSIGN_PURPOSE_CODE_SIGNING);
    const PkgsignBytes timeStamping = PkgsignDerKnownIdentifier(PKGSIGN_PURPOSE_TIME_STAMPING);
    switch (FuzzBelow(random, 5)) {
    case 0:
        return PkgsignDerSequence({codeSigning});
    case 1:
        return PkgsignDerSequence({timeStamping});
    case 2:
        return PkgsignDerSequence({codeSigning, timeStamping});
    case 3:
        return PkgsignDerSequence({timeStamping, codeSigning});
    default:
        return PkgsignDerSequence({});
    }
}

PkgsignBytes DistributionPoint(FuzzRandom *random)
{
    std::vector<PkgsignBytes> members;
    for (const uint8_t tag :
         {uint8_t{0xA0}, uint8_t{0x81}, uint8_t{0x82}, uint8_t{0x83}, uint8_t{0x84}, uint8_t{0x85}}) {
        if (FuzzChance(random, tag == 0x84 ? 70 : 15)) {
            members.push_back(PkgsignDerElement(tag, {static_cast<uint8_t>(FuzzChance(random, 80) ? 0xFF : 0x00)}));
        }
    }
    return PkgsignDerSequence(members);
}

PkgsignBytes ReasonExtension(uint8_t reason)
{
    return PkgsignEncodeExtension("2.5.29.21", false, PkgsignDerElement(DER_ENUMERATED, {reason}));
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
        return TlvParseOne(PkgsignDerKnownIdentifier(Pick(IDENTIFIERS, random)));
    default:
        return TlvLeaf(DER_BOOLEAN, {static_cast<uint8_t>(FuzzChance(random, 70) ? 0xFF : 0x01)});
    }
}

TlvNode FuzzTime(FuzzRandom *random)
{
    const std::string text = Pick(TIMES, random);
    const bool isShort = text.size() < 14;
    const uint8_t tag = isShort != FuzzChance(random, 3) ? DER_UTC_TIME : DER_GENERALIZED_TIME;
    return TlvLeaf(tag, PkgsignBytes(text.begin(), text.end()));
}

TlvNode FuzzSerial(FuzzRandom *random)
{
    return TlvLeaf(DER_INTEGER, Pick(SERIALS, random));
}

TlvNode FuzzOddKey(FuzzRandom *random)
{
    static const PkgsignBytes NUMBERS[] = {{},
                                           {0x00},
                                           {0x01},
                                           {0x02},
                                           {0x01, 0x00, 0x01},
                                           {0xFF, 0xFF, 0xFF, 0xFF},
                                           PkgsignBytes(128, 0xFE),
                                           PkgsignBytes(128, 0x7F),
                                           PkgsignBytes(512, 0x7F),
                                           PkgsignBytes(513, 0x7F)};
    const PkgsignBytes key = PkgsignDerSequence(
        {PkgsignDerElement(DER_INTEGER, Pick(NUMBERS, random)), PkgsignDerElement(DER_INTEGER, Pick(NUMBERS, random))});
    const PkgsignBytes algorithm =
        PkgsignDerSequence({PkgsignDerKnownIdentifier("1.2.840.113549.1.1.1"), PkgsignDerNull()});
    return TlvParseOne(PkgsignDerSequence({algorithm, PkgsignDerBitString(key)}));
}

TlvNode FuzzAlgorithm(FuzzRandom *random)
{
    const PkgsignBytes identifier = PkgsignDerKnownIdentifier(Pick(ALGORITHMS, random));
    return TlvParseOne(PkgsignDerSequence({identifier, FuzzChance(random, 50) ? PkgsignDerNull() : PkgsignBytes()}));
}

TlvNode FuzzExtension(FuzzRandom *random)
{
    const bool critical = FuzzChance(random, 50);
    switch (FuzzBelow(random, 6)) {
    case 0:
        return TlvParseOne(
            PkgsignEncodeExtension("2.5.29.19", critical, PkgsignDerSequence({PkgsignDerBoolean(true)})));
    case 1:
        return TlvParseOne(PkgsignEncodeExtension("2.5.29.19", critical, PkgsignDerSequence({})));
    case 2:
        return TlvParseOne(PkgsignEncodeExtension("2.5.29.15", critical,
                                                  PkgsignDerNamedBits(static_cast<uint32_t>(FuzzBelow(random, 512)))));
    case 3:
        return TlvParseOne(PkgsignEncodeExtension("2.5.29.37", critical, Purposes(random)));
    case 4:
        return TlvParseOne(PkgsignEncodeExtension("2.5.29.28", critical, DistributionPoint(random)));
    default:
        return TlvParseOne(ReasonExtension(static_cast<uint8_t>(FuzzBelow(random, 12))));
    }
}

TlvNode FuzzRevokedEntry(const TlvNode &serial, FuzzRandom *random)
{
    PkgsignBytes extensions;
    if (FuzzChance(random, 60)) {
        extensions = PkgsignDerSequence({ReasonExtension(static_cast<uint8_t>(FuzzBelow(random, 12)))});
    }
    return TlvParseOne(PkgsignDerSequence({TlvEncode(serial), TlvEncode(FuzzTime(random)), extensions}));
}
