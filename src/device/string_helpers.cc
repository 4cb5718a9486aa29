#include "device/string_helpers.h"

#include <algorithm>
#include <cctype>

namespace orvanta {
namespace {

// UTF-8 spellings of the characters removeblankSpace trims. A lead byte is
// never a continuation byte, so matching one of these at either end of a
// string always matches a whole character.
constexpr std::string_view kBlanks[] = {
    " ", "\t", "\n", "\v", "\f", "\r",
    "\xC2\x85",      // next line
    "\xC2\xA0",      // no-break space
    "\xE1\x9A\x80",  // ogham space mark
    "\xE2\x80\x80", "\xE2\x80\x81", "\xE2\x80\x82", "\xE2\x80\x83", "\xE2\x80\x84", "\xE2\x80\x85",
    "\xE2\x80\x86", "\xE2\x80\x87", "\xE2\x80\x88", "\xE2\x80\x89", "\xE2\x80\x8A",  // en quad .. hair space
    "\xE2\x80\xA8",  // line separator
    "\xE2\x80\xA9",  // paragraph separator
    "\xE2\x80\xAF",  // narrow no-break space
    "\xE2\x81\x9F",  // medium mathematical space
    "\xE3\x80\x80",  // ideographic space
};

std::size_t leadingBlank(std::string_view s) {
  for (std::string_view blank : kBlanks) {
    if (s.starts_with(blank)) return blank.size();
  }
  return 0;
}

std::size_t trailingBlank(std::string_view s) {
  for (std::string_view blank : kBlanks) {
    if (s.ends_with(blank)) return blank.size();
  }
  return 0;
}

bool equalsIgnoringCase(std::string_view a, std::string_view b) {
  return std::ranges::equal(a, b, [](unsigned char x, unsigned char y) { return std::tolower(x) == std::tolower(y); });
}

bool isAsciiLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool isAsciiLetterOrDigit(char c) { return isAsciiLetter(c) || (c >= '0' && c <= '9'); }
bool isLocalPartCharacter(char c) {
  return isAsciiLetterOrDigit(c) || std::string_view("._%+-").find(c) != std::string_view::npos;
}
bool isDomainCharacter(char c) { return isAsciiLetterOrDigit(c) || c == '.' || c == '-'; }

}  // namespace

std::string removeblankSpace(std::string_view s) {
  while (const std::size_t n = leadingBlank(s)) s.remove_prefix(n);
  while (const std::size_t n = trailingBlank(s)) s.remove_suffix(n);
  return std::string(s);
}

bool validateEmail(std::string_view s) {
  // The pattern [A-Z0-9a-z._%+-]+@[A-Za-z0-9.-]+\.[A-Za-z]{2,4}, matched in
  // one pass (a regex matcher recurses per character and overflows the stack
  // on long text). Neither class holds "@", so the text holds exactly one;
  // the last label holds no ".", so it is what follows the domain's last dot.
  const std::size_t at = s.find('@');
  if (at == std::string_view::npos || at == 0) return false;
  const std::string_view local = s.substr(0, at);
  const std::string_view domain = s.substr(at + 1);
  const std::size_t dot = domain.rfind('.');
  if (dot == std::string_view::npos || dot == 0) return false;
  const std::string_view ending = domain.substr(dot + 1);
  return ending.size() >= 2 && ending.size() <= 4 && std::ranges::all_of(ending, isAsciiLetter) &&
         std::ranges::all_of(domain.substr(0, dot), isDomainCharacter) &&
         std::ranges::all_of(local, isLocalPartCharacter);
}

bool isNULL(const std::string* s) {
  // A null receiver answers false.
  if (s == nullptr) return false;
  // The test is a conjunction, evaluated in this order, stopping at the first
  // check that fails:
  //   1. the length is 0,
  //   2. the string is the null marker object,
  //   3. it equals "(null)" ignoring case,
  //   4. the receiver is null,
  //   5. it equals "<null>" ignoring case.
  // A string is never the null marker object, so check 2 fails whenever
  // check 1 holds, and no string passes: the answer is false for every
  // input. That is the behaviour callers were built against; "fixing" the
  // order would make payload readers start dropping values.
  constexpr bool isNullMarker = false;
  return s->empty() && isNullMarker && equalsIgnoringCase(*s, "(null)") && s == nullptr &&
         equalsIgnoringCase(*s, "<null>");
}

}  // namespace orvanta
