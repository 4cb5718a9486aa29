#include "device/date_utilities.h"

#include <algorithm>
#include <cmath>

namespace orvanta {
namespace {

// Far beyond any real date, yet small enough that seconds times 1000 fits in
// 64 bits and the year fits the C library's calendar fields.
constexpr double kSecondsLimit = 1099511627776.0;  // 2^40

// x held within +/-kSecondsLimit, so that converting it to an integer is
// defined; not-a-number reads as 0.
double bounded(double x) { return std::isnan(x) ? 0.0 : std::clamp(x, -kSecondsLimit, kSecondsLimit); }

}  // namespace

long long wholeSeconds(const Date& date) {
  return static_cast<long long>(std::floor(bounded(date.secondsSince1970)));
}

std::int64_t getMinutes(const Date& date, const Clock& clock) {
  const auto seconds =
      static_cast<std::int64_t>(bounded(date.secondsSince1970 - clock.now().secondsSince1970));
  const std::int64_t minutes = seconds / 60;
  // Only an interval of -60 seconds or less gives a negative quotient.
  return seconds < -59 ? -minutes : minutes;
}

std::int64_t getStartDate(const Date& date, const Clock& clock) {
  LocalTime day = clock.toLocal(wholeSeconds(date));
  day.hour = 0;
  day.minute = 0;
  day.second = 0;
  return static_cast<std::int64_t>(clock.fromLocal(day)) * 1000;
}

}  // namespace orvanta
