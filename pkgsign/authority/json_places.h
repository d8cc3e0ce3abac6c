// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// JSON whose objects know where they stand, so that a message can say it.
#ifndef PKGSIGN_AUTHORITY_JSON_PLACES_H
#define PKGSIGN_AUTHORITY_JSON_PLACES_H

#include <string>

#include <nlohmann/json_fwd.hpp>

namespace pkgsign
{

// Under this key, which no document has, each object holds the offset of its beginning.
inline constexpr char PLACE[] = "";

// "line 3, column 5"
std::string Place(const std::string &text, size_t offset);

// Returns what is wrong with the text as JSON, a key that stands twice included; empty: nothing.
std::string ParseWithPlaces(const std::string &text, nlohmann::ordered_json *json);

} // namespace pkgsign

#endif
