#pragma once

#include <ostream>

#include "orvanta/value.h"

namespace orvanta {

// Lets GoogleTest show a Value as JSON (bytes and dates tagged) in failures.
void PrintTo(const Value& value, std::ostream* out);
void PrintTo(const Map& map, std::ostream* out);

}  // namespace orvanta
