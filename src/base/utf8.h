// Whether text is UTF-8.
#pragma once

#include <string_view>

namespace orvanta {

// Strictly: no overlong form, no surrogate, no code point beyond U+10FFFF.
bool isUtf8(std::string_view text);

}  // namespace orvanta
