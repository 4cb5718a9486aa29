// The one place that fixes how the client writes, reads and compares times:
// the wire timestamp, rule dates, the weekday and clock-time tests of the rule
// engine, and the day boundary of frequency capping.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "orvanta/platform/clock.h"
#include "orvanta/value.h"

namespace orvanta {

// One per Runtime. Holds no mutable state: every operation reads the clock and
// works on values of its own, so any thread may call any operation at any
// time. Patterns are immutable objects (see DatePattern) made per call or
// shared read-only; there is deliberately no operation that sets the pattern
// of a shared formatter (no initWithGMTDateFormate / initWithLocalDateFormate),
// which removes the race between setting a pattern and using it.
//
// "Local" means the zone and calendar the clock reports. Texts parsed by
// formatDate are read as GMT, whatever the local zone.
class DateFormator {
 public:
  // launchDate answers the client's start-up date (the data model's
  // intializationDate), or nullopt before start-up. clock must outlive this
  // object.
  DateFormator(const Clock& clock, std::function<std::optional<Date>()> launchDate);

  // Now as "yyMMddHHmmss" in the local zone: always 12 ASCII digits. Called
  // for every tracked event, so it costs one local-time conversion and no
  // heap allocation.
  std::string getUserLocalTimeStamp() const;

  // text read strictly as "yyyy-MM-dd'T'HH:mm:ss" in GMT; nullopt for a null
  // text or one that does not match the pattern exactly.
  std::optional<Date> formatDate(const std::optional<std::string>& text) const;
  // text read strictly with format in GMT; nullopt for a null text, a text
  // that does not match, or a format outside what DatePattern supports.
  std::optional<Date> formatDate(const std::optional<std::string>& text, const std::string& format) const;

  // Now with its fraction of a second dropped, by way of the local calendar
  // fields (so within a repeated daylight-saving hour the zone's usual
  // reading of the wall time applies).
  Date getCurrentDate() const;
  // The full weekday name of now in the local zone and the device locale.
  std::string getCurrentDateDay() const;
  // Now as "HH:mm" (24-hour clock) in the local zone.
  std::string getCurrentTime() const;

  // Seconds from the start-up date to getCurrentDate(), positive when the
  // start-up lies in the past. Before start-up (no start-up date) the answer
  // is 0: the client has only just been launched.
  double getDifferenceBetweenLaunchDate() const;

  // Whether getCurrentDate() lies strictly after first and strictly before
  // last. Equal to either bound is false. A missing bound (for instance a
  // rule date that did not parse) gives false: an unknown range matches
  // nothing.
  bool isDateBetweenDates(const std::optional<Date>& first, const std::optional<Date>& last) const;

  // from and to are "HH:mm" texts. With every ':' removed, each of from, to
  // and getCurrentTime() is read as an integer by its leading digits (leading
  // blanks and a sign allowed, 0 when there are none), so "09:30" is 930.
  // True only when from < now < to, both strict: a range crossing midnight
  // (from > to) never matches, nor does a bound equal to the current minute.
  bool isCurrentTimeBetween2Dates(const std::string& from, const std::string& to) const;

  // Milliseconds since 1970 of the start of today in the local calendar.
  std::int64_t getTodaysDay() const;

 private:
  LocalTime currentLocalFields() const;

  const Clock& clock_;
  std::function<std::optional<Date>()> launchDate_;
};

}  // namespace orvanta
