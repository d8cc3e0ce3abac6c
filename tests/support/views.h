// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// What a decoded field shows.
#ifndef SUPPORT_VIEWS_H
#define SUPPORT_VIEWS_H

#include "asn1/types.h"
#include "tests/support/der_writer.h"

inline der::Bytes OctetsOf(const SigkitAsnOcts &view)
{
    return view.data == nullptr ? der::Bytes() : der::Bytes(view.data, view.data + view.len);
}

#endif
