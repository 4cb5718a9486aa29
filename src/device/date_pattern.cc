#include "device/date_pattern.h"

#include <charconv>
#include <chrono>
#include <cstddef>

namespace orvanta {
namespace {

bool isAsciiLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool isAsciiDigit(char c) { return c >= '0' && c <= '9'; }

// Appends value in decimal, zero-padded to at least width digits.
void appendPadded(std::string& out, long long value, int width) {
  if (value < 0) {
    out += '-';
    value = -value;
  }
  char digits[24];
  const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
  const auto length = static_cast<int>(end - digits);
  if (length < width) out.append(static_cast<std::size_t>(width - length), '0');
  out.append(digits, end);
}

// Exactly width ASCII digits at text[pos], consumed on success.
std::optional<int> readDigits(std::string_view text, std::size_t& pos, int width) {
  const auto count = static_cast<std::size_t>(width);
  if (text.size() - pos < count) return std::nullopt;
  int value = 0;
  for (std::size_t i = pos; i < pos + count; ++i) {
    if (!isAsciiDigit(text[i])) return std::nullopt;
    value = value * 10 + (text[i] - '0');
  }
  pos += count;
  return value;
}

std::chrono::year_month_day civilDate(const LocalTime& fields) {
  using namespace std::chrono;
  return year_month_day{year{fields.year}, month{static_cast<unsigned>(fields.month)},
                        day{static_cast<unsigned>(fields.day)}};
}

bool isValid(const LocalTime& fields) {
  return fields.month >= 1 && fields.day >= 1 && civilDate(fields).ok() && fields.hour >= 0 &&
         fields.hour <= 23 && fields.minute >= 0 && fields.minute <= 59 && fields.second >= 0 &&
         fields.second <= 59;
}

}  // namespace

std::optional<DatePattern> DatePattern::compile(std::string_view pattern) {
  struct Spelling {
    char letter;
    std::size_t count;
    Field field;
  };
  static constexpr Spelling kSpellings[] = {
      {'y', 2, Field::Year2},  {'y', 4, Field::Year4},  {'M', 2, Field::Month},
      {'d', 2, Field::Day},    {'H', 2, Field::Hour},   {'m', 2, Field::Minute},
      {'s', 2, Field::Second}, {'E', 4, Field::WeekdayName}};

  std::vector<Token> tokens;
  auto appendLiteral = [&tokens](char c) {
    if (tokens.empty() || tokens.back().field != Field::Literal) tokens.push_back({Field::Literal, {}});
    tokens.back().literal += c;
  };
  auto isDoubledQuote = [pattern](std::size_t i) {
    return i + 1 < pattern.size() && pattern[i] == '\'' && pattern[i + 1] == '\'';
  };

  std::size_t i = 0;
  while (i < pattern.size()) {
    const char c = pattern[i];
    if (isDoubledQuote(i)) {
      appendLiteral('\'');
      i += 2;
    } else if (c == '\'') {
      // Quoted text runs to the next lone quote; a doubled quote inside it is
      // one literal quote.
      for (++i;; ++i) {
        if (i >= pattern.size()) return std::nullopt;
        if (isDoubledQuote(i)) {
          appendLiteral('\'');
          ++i;
        } else if (pattern[i] == '\'') {
          ++i;
          break;
        } else {
          appendLiteral(pattern[i]);
        }
      }
    } else if (isAsciiLetter(c)) {
      std::size_t run = 1;
      while (i + run < pattern.size() && pattern[i + run] == c) ++run;
      const Spelling* match = nullptr;
      for (const Spelling& spelling : kSpellings) {
        if (spelling.letter == c && spelling.count == run) match = &spelling;
      }
      if (match == nullptr) return std::nullopt;
      tokens.push_back({match->field, {}});
      i += run;
    } else {
      appendLiteral(c);
      ++i;
    }
  }
  return DatePattern(std::move(tokens));
}

void DatePattern::format(const LocalTime& fields, const Clock& names, std::string& out) const {
  for (const Token& token : tokens_) {
    switch (token.field) {
      case Field::Literal: out += token.literal; break;
      case Field::Year2: appendPadded(out, ((fields.year % 100) + 100) % 100, 2); break;
      case Field::Year4: appendPadded(out, fields.year, 4); break;
      case Field::Month: appendPadded(out, fields.month, 2); break;
      case Field::Day: appendPadded(out, fields.day, 2); break;
      case Field::Hour: appendPadded(out, fields.hour, 2); break;
      case Field::Minute: appendPadded(out, fields.minute, 2); break;
      case Field::Second: appendPadded(out, fields.second, 2); break;
      case Field::WeekdayName: out += names.weekdayName(fields.weekday); break;
    }
  }
}

std::string DatePattern::format(const LocalTime& fields, const Clock& names) const {
  std::string out;
  format(fields, names, out);
  return out;
}

std::optional<LocalTime> DatePattern::parse(std::string_view text) const {
  LocalTime fields;
  std::size_t pos = 0;
  for (const Token& token : tokens_) {
    if (token.field == Field::Literal) {
      if (!text.substr(pos).starts_with(token.literal)) return std::nullopt;
      pos += token.literal.size();
      continue;
    }
    if (token.field == Field::WeekdayName) return std::nullopt;
    const std::optional<int> value = readDigits(text, pos, token.field == Field::Year4 ? 4 : 2);
    if (!value) return std::nullopt;
    switch (token.field) {
      case Field::Year2: fields.year = 2000 + *value; break;
      case Field::Year4: fields.year = *value; break;
      case Field::Month: fields.month = *value; break;
      case Field::Day: fields.day = *value; break;
      case Field::Hour: fields.hour = *value; break;
      case Field::Minute: fields.minute = *value; break;
      case Field::Second: fields.second = *value; break;
      case Field::Literal:
      case Field::WeekdayName: break;  // handled above
    }
  }
  if (pos != text.size() || !isValid(fields)) return std::nullopt;
  fields.weekday = static_cast<int>(std::chrono::weekday{std::chrono::sys_days{civilDate(fields)}}.c_encoding());
  fields.utcOffsetSeconds = 0;
  return fields;
}

long long utcSecondsOf(const LocalTime& fields) {
  const std::chrono::sys_days day{civilDate(fields)};
  return static_cast<long long>(day.time_since_epoch().count()) * 86400LL + fields.hour * 3600LL +
         fields.minute * 60LL + fields.second;
}

}  // namespace orvanta
