#pragma once

#include <nlohmann/json.hpp>

namespace orvanta::devserver {

// Ordered, so that a decoded tracking object lists its keys in the order the client wrote them.
using Json = nlohmann::ordered_json;

// Compact JSON text for an HTTP answer. Strings that are not valid UTF-8 (a raw body can hold any
// bytes) are written with replacement characters instead of failing.
std::string dumpJson(const Json& value);

}  // namespace orvanta::devserver
