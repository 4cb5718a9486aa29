#pragma once

#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

namespace orvanta::devserver {

// Ordered, so that a decoded tracking object lists its keys in the order the client wrote them.
using Json = nlohmann::ordered_json;

// Compact JSON text for an HTTP answer. Strings that are not valid UTF-8 (a raw body can hold any
// bytes) are written with replacement characters instead of failing.
std::string dumpJson(const Json& value);

// The JSON document in text; a discarded value (is_discarded()) when text is not one, or when it
// nests deeper than 512 levels: copying or writing out such a value would recurse past the stack.
Json parseDocument(std::string_view text);

}  // namespace orvanta::devserver
