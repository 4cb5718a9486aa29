// Unicode case handling for the rule engine's case-insensitive comparisons:
// audience words, device names, weekday names, event ids and patterns.
#pragma once

#include <string>
#include <string_view>

#include <unicode/unistr.h>

namespace orvanta {

// UTF-8 to ICU's UTF-16 text and back; bytes that are not UTF-8 become U+FFFD.
icu::UnicodeString utf16(std::string_view text);
std::string utf8(const icu::UnicodeString& text);

// text lower-cased in place by the root locale's full mapping, so "İ" becomes
// "i̇" and "ẞ" becomes "ß", whatever the device's language.
icu::UnicodeString& lowercase(icu::UnicodeString& text);
std::string lowercased(std::string_view text);

// text case-folded: two texts are equal ignoring case exactly when their
// folded forms are equal.
std::string caseFolded(std::string_view text);

}  // namespace orvanta
