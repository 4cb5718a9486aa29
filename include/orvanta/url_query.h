// String and map helpers for deep links.
#pragma once

#include <string_view>

#include "orvanta/value.h"

namespace orvanta {

// The query items of URL text that have a value, percent-decoded, in order; a
// repeated name keeps its last value. An item whose escapes do not decode to
// UTF-8 counts as one without a value. The query ends where the fragment
// ("#") begins. Text that is not a valid URL (a blank, a stray "%", a second
// "#", a character URLs never hold) gives an empty map.
Map queryParameters(std::string_view url);

// Stores the value under oldKey as newKey, then removes oldKey (so a key moved
// onto itself is removed); does nothing when oldKey is absent.
void replaceKey(Map& map, std::string_view oldKey, std::string_view newKey);

}  // namespace orvanta
