#include "inapp/unicode_text.h"

#include <unicode/locid.h>

namespace orvanta {

icu::UnicodeString utf16(std::string_view text) {
  return icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<std::int32_t>(text.size())));
}

std::string utf8(const icu::UnicodeString& text) {
  std::string out;
  text.toUTF8String(out);
  return out;
}

icu::UnicodeString& lowercase(icu::UnicodeString& text) { return text.toLower(icu::Locale::getRoot()); }

std::string lowercased(std::string_view text) {
  icu::UnicodeString wide = utf16(text);
  return utf8(lowercase(wide));
}

std::string caseFolded(std::string_view text) {
  icu::UnicodeString wide = utf16(text);
  return utf8(wide.foldCase());
}

}  // namespace orvanta
