// A compiled date pattern: the small part of the Unicode date-pattern syntax
// that the client's timestamps use, formatted and parsed strictly.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "orvanta/platform/clock.h"

namespace orvanta {

// Fields: "yy" (two-digit year), "yyyy", "MM", "dd", "HH" (00-23), "mm",
// "ss", each exactly that many digits, and "EEEE" (full weekday name, format
// only). Text in single quotes is literal ("''" is one quote); characters
// other than ASCII letters are literal too. Any other letter run ("M", "hh",
// "SSS", ...) makes the pattern invalid rather than silently meaning
// something else.
//
// Immutable once compiled, so one object may be shared by any number of
// threads; there is no "set the pattern, then use it" step to race on.
class DatePattern {
 public:
  // The compiled pattern, or nullopt when it uses anything outside the subset
  // above or leaves a quote open.
  static std::optional<DatePattern> compile(std::string_view pattern);

  // Appends fields formatted by the pattern to out; weekday names come from
  // names (the device locale's). Numeric fields are zero-padded, "yyyy" to at
  // least four digits, "yy" is the year modulo 100.
  void format(const LocalTime& fields, const Clock& names, std::string& out) const;
  std::string format(const LocalTime& fields, const Clock& names) const;

  // The calendar fields read from the whole of text, or nullopt when text has
  // anything the pattern does not account for (trailing text included), a
  // digit field of another width, a field out of range or a day the month
  // does not have (Feb 30). Fields the pattern lacks are 1970-01-01 00:00:00;
  // "yy" reads as 2000-2099. A pattern with "EEEE" never parses. The answer's
  // weekday is that of the date read; its utcOffsetSeconds is 0.
  std::optional<LocalTime> parse(std::string_view text) const;

 private:
  enum class Field { Literal, Year2, Year4, Month, Day, Hour, Minute, Second, WeekdayName };
  struct Token {
    Field field;
    std::string literal;  // the text of a Literal token
  };

  explicit DatePattern(std::vector<Token> tokens) : tokens_(std::move(tokens)) {}

  std::vector<Token> tokens_;
};

// Seconds since 1970 of calendar fields read as UTC (GMT). Weekday and offset
// are ignored; the fields must form a valid date.
long long utcSecondsOf(const LocalTime& fields);

}  // namespace orvanta
