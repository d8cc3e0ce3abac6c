// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/authority/json_places.h"

#include <set>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

namespace pkgsign
{
namespace
{

using Json = nlohmann::ordered_json;

// Walks over octets and counts how many the parser has taken.
struct CountingIterator {
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char *;
    using reference = const char &;

    const char *at;
    size_t *taken;

    reference operator*() const
    {
        return *at;
    }
    CountingIterator &operator++()
    {
        ++at;
        ++*taken;
        return *this;
    }
    CountingIterator operator++(int)
    {
        const CountingIterator before = *this;
        ++*this;
        return before;
    }
    bool operator==(const CountingIterator &other) const
    {
        return at == other.at;
    }
    bool operator!=(const CountingIterator &other) const
    {
        return at != other.at;
    }
};

// pki.json nests two deep. What nests deeper is refused before it is parsed: it would take memory for every bracket.
constexpr int DEPTH_MAX = 8;

std::string CheckDepth(const std::string &text)
{
    int depth = 0;
    bool isString = false;
    for (size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (isString) {
            i += c == '\\' ? 1 : 0;
            isString = c != '"';
        } else {
            isString = c == '"';
            depth += c == '[' || c == '{' ? 1 : c == ']' || c == '}' ? -1 : 0;
        }
        if (depth > DEPTH_MAX) {
            return Place(text, i + 1) + ": this nests too deep";
        }
    }
    return {};
}

} // namespace

std::string Place(const std::string &text, size_t offset)
{
    size_t line = 1;
    size_t column = 1;
    for (size_t i = 0; i + 1 < offset && i < text.size(); ++i) {
        column = text[i] == '\n' ? 1 : column + 1;
        line += text[i] == '\n' ? 1 : 0;
    }
    return "line " + std::to_string(line) + ", column " + std::to_string(column);
}

std::string ParseWithPlaces(const std::string &text, nlohmann::ordered_json *json)
{
    std::string problem = CheckDepth(text);
    size_t taken = 0;
    std::vector<std::pair<size_t, std::set<std::string>>> objects; // those that are open
    const auto watch = [&](int, Json::parse_event_t event, Json &value) {
        if (event == Json::parse_event_t::object_start) {
            objects.emplace_back(taken, std::set<std::string>{PLACE});
        } else if (event == Json::parse_event_t::object_end) {
            value[PLACE] = objects.back().first;
            objects.pop_back();
        } else if (event == Json::parse_event_t::key &&
                   !objects.back().second.insert(value.get<std::string>()).second && problem.empty()) {
            problem = Place(text, taken) + ": the key '" + value.get<std::string>() + "' stands there twice";
        }
        return true;
    };
    try {
        if (problem.empty()) {
            *json = Json::parse(CountingIterator{text.data(), &taken},
                                CountingIterator{text.data() + text.size(), &taken}, watch);
        }
    } catch (const Json::parse_error &error) {
        problem = Place(text, error.byte) + ": this is not JSON";
    } catch (const Json::exception &) { // a number that no type holds
        problem = Place(text, taken) + ": this is not JSON";
    }
    return problem;
}

} // namespace pkgsign
