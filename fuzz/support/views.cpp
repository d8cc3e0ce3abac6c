// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "fuzz/support/views.h"

#include "asn1/decode.h"
#include "fuzz/support/host.h"

namespace
{

struct Input {
    const uint8_t *data;
    size_t size;
};

constexpr uint32_t MAX_CLASS = 3;
constexpr uint32_t MAX_TAG = 30;

void CheckView(const SigkitAsnOcts &view, const Input &input)
{
    if (view.cls > MAX_CLASS || view.constructed > 1 || view.tag > MAX_TAG) {
        FuzzFail("a view has class %u, constructed %u, tag %u", view.cls, view.constructed, view.tag);
    }
    if (view.data == nullptr) {
        if (view.len != 0) {
            FuzzFail("a view has %u octets and no data", view.len);
        }
        return;
    }
    if (view.data < input.data || view.data > input.data + input.size ||
        view.len > static_cast<size_t>(input.data + input.size - view.data)) {
        FuzzFail("a view of %u octets reaches outside the input", view.len);
    }
}

void CheckItem(const uint8_t *record, const SigkitAsnItem &item, const Input &input);

void CheckSetOf(const uint8_t *record, const SigkitAsnTemplate &element, const Input &input)
{
    const uint8_t *const counter = record + element.offset;
    const uint32_t count = *reinterpret_cast<const uint32_t *>(counter);
    if (count > element.maxCount) {
        FuzzFail("a set has %u elements of at most %u", count, element.maxCount);
    }
    for (uint32_t i = 0; i < count; ++i) {
        CheckItem(counter + SIGKIT_ASN_ARRAY_OFFSET + size_t{i} * element.item->recordSize, *element.item, input);
    }
}

void CheckItem(const uint8_t *record, const SigkitAsnItem &item, const Input &input)
{
    if (item.templ == nullptr) {
        if (item.recordSize == sizeof(SigkitAsnOcts)) {
            CheckView(*reinterpret_cast<const SigkitAsnOcts *>(record), input);
        }
        return;
    }
    if (item.decode == &g_skvAsnFuncSetOf) {
        CheckSetOf(record, item.templ[0], input);
        return;
    }
    for (uint32_t i = 0; i < item.count; ++i) {
        const SigkitAsnTemplate &member = item.templ[i];
        if ((member.flags & SIGKIT_ASN_FLAG_IGNORE) == 0) {
            CheckItem(record + member.offset, *member.item, input);
        }
    }
}

} // namespace

void FuzzCheckViews(const void *record, const SigkitAsnItem &item, const uint8_t *data, size_t size)
{
    CheckItem(static_cast<const uint8_t *>(record), item, {data, size});
}
