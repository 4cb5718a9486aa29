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
// that reaches the wire never fails to encode.
Json toJson(const Value& value);
Value fromJson(const Json& json);

// Compact text, UTF-8. Invalid UTF-8 inside strings is replaced, not thrown.
std::string dumpJson(const Value& value);
// nullopt when text is not one valid JSON document.
std::optional<Value> parseJson(std::string_view text);

// Tagged form for files that must read back exactly: bytes become
// {"$bytes": "<base64>"} and dates {"$date": seconds}; a map that itself has a
// single "$bytes" or "$date" key is wrapped as {"$map": {...}}.
Json toTaggedJson(const Value& value);
Value fromTaggedJson(const Json& json);

}  // namespace orvanta
