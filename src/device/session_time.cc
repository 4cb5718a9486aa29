#include "device/session_time.h"

#include "device/date_pattern.h"
#include "device/date_utilities.h"

namespace orvanta {

std::int64_t minusCurrentTimeInMinutes(std::string_view stamp, const Clock& clock) {
  static const DatePattern kStampPattern = *DatePattern::compile("yyMMddHHmmss");
  const auto fields = kStampPattern.parse(stamp);
  if (!fields) return 0;
  // The same absolute whole minutes as the age of any date.
  return getMinutes(Date{static_cast<double>(clock.fromLocal(*fields))}, clock);
}

}  // namespace orvanta
