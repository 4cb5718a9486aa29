// String and map helpers for deep links.
#pragma once

#include <string_view>

#include "orvanta/value.h"

namespace orvanta {

// The query items of URL text that have a value, percent-decoded, in order; a
// repeated name keeps its last value. Text that is not a valid URL (a blank,
// a stray "%", a character URLs never hold) gives an empty map.
Map queryParameters(std::string_view url);

// Moves the value under oldKey to newKey; does nothing when oldKey is absent.
void replaceKey(Map& map, std::string_view oldKey, std::string_view newKey);

}  // namespace orvanta
