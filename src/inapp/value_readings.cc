#include "inapp/value_readings.h"

#include <array>
#include <charconv>
#include <cmath>
#include <limits>

namespace orvanta {
namespace {

constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();

bool isBlank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
bool isDigit(char c) { return c >= '0' && c <= '9'; }

std::string_view skipBlanks(std::string_view text) {
  while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
  return text;
}

std::size_t digitsAt(std::string_view text, std::size_t i) {
  std::size_t end = i;
  while (end < text.size() && isDigit(text[end])) ++end;
  return end - i;
}

std::int64_t saturated(long double value) {
  if (std::isnan(value)) return 0;
  if (value >= static_cast<long double>(kMax)) return kMax;
  if (value <= static_cast<long double>(kMin)) return kMin;
  return static_cast<std::int64_t>(value);
}

}  // namespace

std::optional<std::string> scalarText(const Value& value) {
  if (const std::string* s = value.asString()) return *s;
  if (const std::int64_t* i = value.asInteger()) return std::to_string(*i);
  if (const bool* b = value.asBool()) return std::string(*b ? "1" : "0");
  if (const double* d = value.asDouble()) {
    std::array<char, 32> buffer{};
    const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), *d);
    return std::string(buffer.data(), result.ptr);
  }
  return std::nullopt;
}

std::optional<long double> numberOf(const Value& value) {
  if (const std::int64_t* i = value.asInteger()) return static_cast<long double>(*i);
  if (const double* d = value.asDouble()) return static_cast<long double>(*d);
  if (const bool* b = value.asBool()) return *b ? 1.0L : 0.0L;
  return std::nullopt;
}

std::int64_t leadingInteger(std::string_view text) {
  text = skipBlanks(text);
  bool negative = false;
  if (!text.empty() && (text.front() == '+' || text.front() == '-')) {
    negative = text.front() == '-';
    text.remove_prefix(1);
  }
  std::int64_t value = 0;
  for (char c : text) {
    if (!isDigit(c)) break;
    const int digit = c - '0';
    // Accumulated toward the sign, so INT64_MIN itself is reachable.
    if (negative) {
      value = value < (kMin + digit) / 10 ? kMin : value * 10 - digit;
    } else {
      value = value > (kMax - digit) / 10 ? kMax : value * 10 + digit;
    }
  }
  return value;
}

double leadingDouble(std::string_view text) {
  text = skipBlanks(text);
  std::size_t i = 0;
  bool negative = false;
  if (i < text.size() && (text[i] == '+' || text[i] == '-')) negative = text[i++] == '-';
  const std::size_t start = i;
  const std::size_t whole = digitsAt(text, i);
  i += whole;
  std::size_t fraction = 0;
  if (i < text.size() && text[i] == '.') {
    fraction = digitsAt(text, i + 1);
    if (whole + fraction > 0) i += 1 + fraction;
  }
  if (whole + fraction == 0) return 0;
  bool hasExponent = false;
  bool negativeExponent = false;
  if (i < text.size() && (text[i] == 'e' || text[i] == 'E')) {
    std::size_t j = i + 1;
    const bool minus = j < text.size() && text[j] == '-';
    if (j < text.size() && (text[j] == '+' || text[j] == '-')) ++j;
    if (const std::size_t exponent = digitsAt(text, j); exponent > 0) {
      i = j + exponent;
      hasExponent = true;
      negativeExponent = minus;
    }
  }
  double value = 0;
  const auto result = std::from_chars(text.data() + start, text.data() + i, value);
  if (result.ec == std::errc::result_out_of_range) {
    // Beyond double either way: a negative exponent, or no exponent and a
    // whole part of zeros, means too small (0); anything else too large.
    const std::string_view wholePart = text.substr(start, whole);
    const bool tooSmall =
        negativeExponent || (!hasExponent && wholePart.find_first_not_of('0') == std::string_view::npos);
    value = tooSmall ? 0.0 : std::numeric_limits<double>::infinity();
  }
  return negative ? -value : value;
}

std::int64_t integerValue(const Value& value) {
  if (const std::string* s = value.asString()) return leadingInteger(*s);
  if (const std::optional<long double> n = numberOf(value)) return saturated(std::trunc(*n));
  return 0;
}

}  // namespace orvanta
