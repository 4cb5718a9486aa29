// Text helpers offered to the rest of the client and to the host.
#pragma once

#include <string>
#include <string_view>

namespace orvanta {

// s without the white space and line breaks at either end; inner ones are
// kept. s is UTF-8; trimmed are the Unicode space separators (U+0020, U+00A0,
// U+1680, U+2000-U+200A, U+202F, U+205F, U+3000), tab, line feed, vertical
// tab, form feed, carriage return, U+0085, and the line and paragraph
// separators U+2028 and U+2029. Bytes that are not valid UTF-8 are kept.
std::string removeblankSpace(std::string_view s);

// Whether the whole of s matches [A-Z0-9a-z._%+-]+@[A-Za-z0-9.-]+\.[A-Za-z]{2,4}.
// The last label has 2 to 4 letters only, so "a@b.museum" is rejected; that
// limit is part of the contract. Any length of text is fine (one pass, no
// recursion). Thread-safe.
bool validateEmail(std::string_view s);

// The null-string test of payload readers. It answers false for every
// string, and for nullptr (a null receiver) as well; see the definition for
// why, and do not change it: readers rely on no string ever counting as null
// through this test.
bool isNULL(const std::string* s);

}  // namespace orvanta
