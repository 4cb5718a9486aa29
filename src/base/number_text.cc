#include "orvanta/number_text.h"

#include <charconv>
#include <cmath>
#include <cstdlib>

namespace orvanta {

std::string shortestDecimal(double value) {
  if (std::isnan(value)) return "NaN";
  if (value == 0) return "0";
  if (value < 0) return "-" + shortestDecimal(-value);
  if (std::isinf(value)) return "Infinity";
  // The shortest round-trip digits d1.d2...dk and the exponent e, so that
  // value = 0.d1...dk × 10^n with n = e + 1.
  char scientific[32];
  const char* end = std::to_chars(scientific, scientific + sizeof scientific, value, std::chars_format::scientific).ptr;
  const std::string_view text(scientific, static_cast<std::size_t>(end - scientific));
  const std::size_t mark = text.find('e');
  std::string digits(text.substr(0, mark));
  if (digits.size() > 1) digits.erase(1, 1);  // the decimal point
  const int n = std::atoi(std::string(text.substr(mark + 1)).c_str()) + 1;
  const int k = static_cast<int>(digits.size());
  if (k <= n && n <= 21) return digits + std::string(static_cast<std::size_t>(n - k), '0');
  if (0 < n && n <= 21) return digits.substr(0, static_cast<std::size_t>(n)) + "." + digits.substr(static_cast<std::size_t>(n));
  if (-6 < n && n <= 0) return "0." + std::string(static_cast<std::size_t>(-n), '0') + digits;
  const int exponent = n - 1;
  const std::string sign = exponent < 0 ? "-" : "+";
  const std::string mantissa = k == 1 ? digits : digits.substr(0, 1) + "." + digits.substr(1);
  return mantissa + "e" + sign + std::to_string(std::abs(exponent));
}

}  // namespace orvanta
