#pragma once

#include <cstdint>
#include <string_view>

#include "orvanta/platform/clock.h"

namespace orvanta {

// Whole minutes between the local timestamp "yyMMddHHmmss" and now: positive
// both for the past and the future, 0 under a minute away, 0 for text that
// does not parse.
std::int64_t minusCurrentTimeInMinutes(std::string_view stamp, const Clock& clock);

}  // namespace orvanta
