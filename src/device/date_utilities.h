// Operations on dates that the client measures ages and days with.
#pragma once

#include <cstdint>

#include "orvanta/platform/clock.h"
#include "orvanta/value.h"

namespace orvanta {

// The absolute number of whole minutes between date and now: the interval in
// seconds is truncated toward zero, then divided by 60 truncating toward zero,
// so a date 59 seconds away in either direction gives 0 and one 61 seconds
// away gives 1.
std::int64_t getMinutes(const Date& date, const Clock& clock);

// Milliseconds since 1970 of the start of date's local day (local midnight, or
// the first instant of the day where midnight does not exist); a multiple of
// 1000, the same for every instant of that day, also on the 23- and 25-hour
// days of a daylight-saving change.
std::int64_t getStartDate(const Date& date, const Clock& clock);

// date's seconds since 1970 rounded down to a whole second, held within what
// the calendar conversions handle (about +/-34,000 years; not-a-number reads
// as 0).
long long wholeSeconds(const Date& date);

}  // namespace orvanta
