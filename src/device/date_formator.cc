#include "device/date_formator.h"

#include <algorithm>
#include <climits>
#include <string_view>
#include <utility>

#include "device/date_pattern.h"
#include "device/date_utilities.h"

namespace orvanta {
namespace {

// The fixed patterns, compiled once and shared read-only. They are constants
// known to compile; value() would stop the program at first use otherwise.
struct Patterns {
  DatePattern stamp = DatePattern::compile("yyMMddHHmmss").value();
  DatePattern ruleDate = DatePattern::compile("yyyy-MM-dd'T'HH:mm:ss").value();
  DatePattern weekday = DatePattern::compile("EEEE").value();
  DatePattern clockTime = DatePattern::compile("HH:mm").value();
};

const Patterns& patterns() {
  static const Patterns compiled;
  return compiled;
}

std::optional<Date> parseGMT(const DatePattern& pattern, const std::string& text) {
  const std::optional<LocalTime> fields = pattern.parse(text);
  if (!fields) return std::nullopt;
  return Date{static_cast<double>(utcSecondsOf(*fields))};
}

// The leading integer of text, read leniently: leading blanks skipped, an
// optional sign, then digits up to the first non-digit; 0 when there are
// none; held within int's range.
int leadingInteger(std::string_view text) {
  std::size_t i = 0;
  while (i < text.size() && (text[i] == ' ' || (text[i] >= '\t' && text[i] <= '\r'))) ++i;
  bool negative = false;
  if (i < text.size() && (text[i] == '+' || text[i] == '-')) negative = text[i++] == '-';
  long long value = 0;
  for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i) {
    value = std::min(value * 10 + (text[i] - '0'), static_cast<long long>(INT_MAX) + 1);
  }
  if (negative) value = -value;
  return static_cast<int>(std::clamp(value, static_cast<long long>(INT_MIN), static_cast<long long>(INT_MAX)));
}

int clockTimeValue(std::string text) {
  std::erase(text, ':');
  return leadingInteger(text);
}

}  // namespace

DateFormator::DateFormator(const Clock& clock, std::function<std::optional<Date>()> launchDate)
    : clock_(clock), launchDate_(std::move(launchDate)) {}

std::string DateFormator::getUserLocalTimeStamp() const {
  std::string stamp;  // 12 characters: held in the string itself, no allocation
  patterns().stamp.format(clock_.toLocal(wholeSeconds(clock_.now())), clock_, stamp);
  return stamp;
}

std::optional<Date> DateFormator::formatDate(const std::optional<std::string>& text) const {
  if (!text) return std::nullopt;
  return parseGMT(patterns().ruleDate, *text);
}

std::optional<Date> DateFormator::formatDate(const std::optional<std::string>& text,
                                             const std::string& format) const {
  if (!text) return std::nullopt;
  const std::optional<DatePattern> pattern = DatePattern::compile(format);
  if (!pattern) return std::nullopt;
  return parseGMT(*pattern, *text);
}

Date DateFormator::getCurrentDate() const {
  // Now without its fraction of a second: what formatting now as local wall
  // time and reading it back gives, except in the hour that repeats when
  // daylight saving ends, where the reading back could land an hour off.
  return Date{static_cast<double>(wholeSeconds(clock_.now()))};
}

LocalTime DateFormator::currentLocalFields() const { return clock_.toLocal(wholeSeconds(getCurrentDate())); }

std::string DateFormator::getCurrentDateDay() const {
  return patterns().weekday.format(currentLocalFields(), clock_);
}

std::string DateFormator::getCurrentTime() const {
  return patterns().clockTime.format(currentLocalFields(), clock_);
}

double DateFormator::getDifferenceBetweenLaunchDate() const {
  const std::optional<Date> launch = launchDate_ ? launchDate_() : std::nullopt;
  if (!launch) return 0.0;
  return getCurrentDate().secondsSince1970 - launch->secondsSince1970;
}

bool DateFormator::isDateBetweenDates(const std::optional<Date>& first, const std::optional<Date>& last) const {
  if (!first || !last) return false;
  const Date current = getCurrentDate();
  return current > *first && current < *last;
}

bool DateFormator::isCurrentTimeBetween2Dates(const std::string& from, const std::string& to) const {
  const int now = clockTimeValue(getCurrentTime());
  return clockTimeValue(from) < now && clockTimeValue(to) > now;
}

std::int64_t DateFormator::getTodaysDay() const { return getStartDate(clock_.now(), clock_); }

}  // namespace orvanta
