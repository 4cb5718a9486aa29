// JSON conversion of orvanta::Value through nlohmann-json (ordered objects).
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

#include "orvanta/value.h"

namespace orvanta {

using Json = nlohmann::ordered_json;

// Plain JSON: maps become objects in insertion order, arrays arrays, the null
// marker null. JSON has no bytes or dates: bytes are written as an array of
// their octets and dates as seconds since 1970 (a number), so that a value
// that reaches the wire never fails to encode. Doubles that are not finite
// are written as null.
Json toJson(const Value& value);
// JSON integers read as std::int64_t, other numbers (fractions, exponents,
// unsigned values beyond the int64 range) as double. Nesting deeper than 512
// levels is cut: the deeper value reads as the null marker.
Value fromJson(const Json& json);

// Compact text, UTF-8. Invalid UTF-8 inside strings is replaced by U+FFFD,
// never thrown.
std::string dumpJson(const Value& value);
// nullopt when text is not one valid JSON document (trailing text, invalid
// UTF-8, numbers beyond double, nesting deeper than 512 levels included).
std::optional<Value> parseJson(std::string_view text);

// Tagged form for files that must read back exactly: bytes become
// {"$bytes": "<base64>"} and dates {"$date": seconds}; a map whose only key
// is "$bytes", "$date" or "$map" is wrapped as {"$map": {...}}. Everything
// else is written as by toJson. A tag with a malformed payload (say, invalid
// base64) reads back as the ordinary map it spells.
Json toTaggedJson(const Value& value);
Value fromTaggedJson(const Json& json);

}  // namespace orvanta
