// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Elements of DER.
#include "pkgsign/timestamp/der.h"

#include "tests/pkgsign/support.h"

namespace
{

using pkgsign::Bytes;

TEST(DerElements, HaveTheShortestLength)
{
    EXPECT_EQ((Bytes{0x30, 0x00}), pkgsign::DerElement(pkgsign::DER_SEQUENCE, {}));
    const struct {
        size_t size;
        Bytes header;
    } cases[] = {{0x7F, {0x04, 0x7F}},
                 {0x80, {0x04, 0x81, 0x80}},
                 {0xFF, {0x04, 0x81, 0xFF}},
                 {0x100, {0x04, 0x82, 0x01, 0x00}},
                 {0x10000, {0x04, 0x83, 0x01, 0x00, 0x00}}};
    for (const auto &[size, header] : cases) {
        const Bytes element = pkgsign::DerElement(pkgsign::DER_OCTET_STRING, {Bytes(size, 0xA5)});
        EXPECT_EQ(header, Bytes(element.begin(), element.end() - static_cast<ptrdiff_t>(size))) << size;
    }
}

TEST(DerElements, OfASetStandInTheOrderOfTheirEncodings)
{
    EXPECT_EQ(
        (Bytes{0x31, 0x08, 0x02, 0x01, 0x05, 0x04, 0x00, 0x04, 0x01, 0x00}),
        pkgsign::DerSetOf(pkgsign::DER_SET, {Bytes{0x04, 0x01, 0x00}, Bytes{0x04, 0x00}, Bytes{0x02, 0x01, 0x05}}));
}

TEST(DerElements, SayNumbersWithoutSignAndLeadingZeros)
{
    const std::pair<Bytes, Bytes> cases[] = {{{}, {0x02, 0x01, 0x00}},
                                             {{0x00, 0x00}, {0x02, 0x01, 0x00}},
                                             {{0x00, 0x7F}, {0x02, 0x01, 0x7F}},
                                             {{0x80, 0x01}, {0x02, 0x03, 0x00, 0x80, 0x01}}};
    for (const auto &[magnitude, element] : cases) {
        EXPECT_EQ(element, pkgsign::DerUnsigned(magnitude));
    }
}

} // namespace
