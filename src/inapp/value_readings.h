// How rule documents and product data are read: scalars as text, texts as
// numbers, leniently, the way the rules server's values have always been read.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "orvanta/value.h"

namespace orvanta {

// A scalar as text: a string as it is; an integer in decimal; a decimal in
// its shortest round-trip form ("2.5", "1e+20"); true and false as "1" and
// "0", since JSON booleans arrive as numbers. Anything else (null marker,
// array, map, bytes, date) has no text.
std::optional<std::string> scalarText(const Value& value);

// A number or a boolean (1 or 0) as a number; nullopt for any other kind.
// Held as long double so every int64 and every double is exact.
std::optional<long double> numberOf(const Value& value);

// The leading integer of text: blanks skipped, an optional sign, digits up to
// the first non-digit; 0 when there are none; held within int64's range.
std::int64_t leadingInteger(std::string_view text);

// The leading decimal number of text: blanks skipped, an optional sign,
// digits with an optional fraction and exponent; 0 when there is none.
double leadingDouble(std::string_view text);

// A number or numeric text as an integer (a fraction is cut toward zero,
// held within int64's range); 0 for anything else.
std::int64_t integerValue(const Value& value);

}  // namespace orvanta
