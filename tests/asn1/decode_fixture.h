// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Runs one decode function in the middle of an input, and holds it to what all but SigkitBitsToInt promise: a failure
// leaves the cursor where it was and the consumed count unwritten.
#ifndef ASN1_DECODE_FIXTURE_H
#define ASN1_DECODE_FIXTURE_H

#include <string>
#include <vector>

#include "asn1/cursor.h"
#include "asn1/decode.h"
#include "asn1/records.h"
#include "asn1/types.h"
#include "sigkit/sigkit.h"
#include "tests/support/der_writer.h"
#include "tests/support/library_test.h"
#include "tests/support/views.h"

// What the consumed count holds before a call.
inline constexpr uint32_t NOT_CONSUMED = 0xDEADBEEF;

// Octets before the element, so that a cursor put back is not simply at 0.
inline constexpr uint32_t PREFIX = 3;

inline constexpr uint32_t ANY_OUTPUT = 0xA5A5A5A5;

inline SigkitAsnTemplate EntryOf(const SigkitAsnItem *item, uint16_t mode = ASN_MODE_UNIVERSAL, uint32_t tagNo = 0,
                                 uint16_t flags = 0)
{
    return {item, tagNo, mode, flags, 0, 0};
}

inline SigkitAsnTemplate FlaggedEntry(const SigkitAsnItem *item, int flags)
{
    return EntryOf(item, ASN_MODE_UNIVERSAL, 0, static_cast<uint16_t>(flags));
}

class DecodeTest : public LibraryTest
{
protected:
    // Decodes at the start of `element`, which stands behind a few other octets and ends the input.
    uint32_t Decode(SigkitAsnDecodeFunc decode, const der::Bytes &element, void *out, const SigkitAsnTemplate *entry)
    {
        input = der::Concatenate({der::Fill(PREFIX, 0x30), element});
        buf = {input.data(), static_cast<uint32_t>(input.size()), PREFIX};
        consumed = NOT_CONSUMED;
        const uint32_t status = decode(&buf, out, &consumed, entry);
        if (status != SIGKIT_OK) {
            EXPECT_EQ(PREFIX, buf.pos) << "a failing function puts the cursor back";
            EXPECT_EQ(NOT_CONSUMED, consumed) << "a failing function consumes nothing";
        }
        return status;
    }

    // Octets that the cursor moved.
    uint32_t Moved() const
    {
        return buf.pos - PREFIX;
    }

    // Expects that a call took `octets` octets.
    void ExpectTaken(size_t octets) const
    {
        EXPECT_EQ(octets, consumed);
        EXPECT_EQ(octets, Moved());
    }

    // The octet `index` of the element in the input.
    const uint8_t *At(size_t index) const
    {
        return input.data() + PREFIX + index;
    }

    // Expects a view of `len` octets from the element's octet `index` on.
    void ExpectView(const SigkitAsnOcts &view, size_t index, uint32_t len, uint32_t cls, uint32_t constructed,
                    uint32_t tag) const
    {
        EXPECT_EQ(At(index), view.data);
        EXPECT_EQ(len, view.len);
        EXPECT_EQ(cls, view.cls);
        EXPECT_EQ(constructed, view.constructed);
        EXPECT_EQ(tag, view.tag);
    }

    der::Bytes input;
    SigkitDecodeBuf buf = {};
    uint32_t consumed = NOT_CONSUMED;
};

template <typename Parameter>
class DecodeTestWith : public DecodeTest, public ::testing::WithParamInterface<Parameter>
{
};

inline void ExpectZero(const SigkitAsnOcts &view)
{
    EXPECT_EQ(0u, view.len);
    EXPECT_EQ(0u, view.cls);
    EXPECT_EQ(0u, view.constructed);
    EXPECT_EQ(0u, view.tag);
    EXPECT_EQ(nullptr, view.data);
}

// A view with stale content in every field.
inline SigkitAsnOcts StaleView()
{
    static const uint8_t octet = 0x77;
    return {9, 3, 1, 29, &octet};
}

// A slot that holds no function.
inline constexpr SigkitAsnDecodeFunc NO_FUNCTION = nullptr;

// Names parameterised cases.
inline constexpr auto CASE_NAME = [](const auto &test) { return std::string(test.param.name); };

#endif
