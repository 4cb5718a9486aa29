#include "device/string_helpers.h"

#include <gtest/gtest.h>

#include <string>

namespace orvanta {
namespace {

TEST(RemoveBlankSpaceTest, TrimsBlanksOfBothEndsIncludingUnicodeSpacesAndKeepsInnerOnes) {
  const std::pair<std::string, std::string> cases[] = {
      {"\t\t  hello  big \t world \n", "hello  big \t world"},
      {" \t\n", ""},
      // No-break and ideographic spaces are blanks...
      {"\xC2\xA0" "a\xE3\x80\x80" "b\xE3\x80\x80", "a\xE3\x80\x80" "b"},
      // ...the zero-width space, a character sharing a byte with one
      // (U+00E0 ends in A0), bytes that are not UTF-8 and an inner NUL are not.
      {"\xE2\x80\x8Bx ", "\xE2\x80\x8Bx"},
      {" \xC3\xA0 \xA0\xFF ", "\xC3\xA0 \xA0\xFF"},
      {std::string(" a\0b ", 5), std::string("a\0b", 3)}};
  for (const auto& [text, trimmed] : cases) EXPECT_EQ(removeblankSpace(text), trimmed) << text;
}

TEST(ValidateEmailTest, AcceptsPlainAddressesWithATwoToFourLetterEndingOnly) {
  for (const char* address : {"first.last+tag@mail.example.co.uk", "a_b%c-d@x-y.io", "9@9.de"}) {
    EXPECT_TRUE(validateEmail(address)) << address;
  }
  for (const char* text : {"user@example.museum", "user@example.c0m", " user@example.com",
                           "user@example.com\n", "user@@example.com", "user@example",
                           "us\xC3\xA9r@example.com", "", "user@example.co."}) {
    EXPECT_FALSE(validateEmail(text)) << text;
  }
  // Long text is judged by the pattern alone, without exhausting the stack.
  const std::string longLocal(1'000'000, 'a');
  EXPECT_TRUE(validateEmail(longLocal + "@example.com"));
  EXPECT_FALSE(validateEmail(longLocal + "@example.comma"));
}

TEST(IsNullTest, NoStringCountsAsNull) {
  for (const std::string text : {"", "(null)", "<null>", "null", " "}) {
    EXPECT_FALSE(isNULL(&text)) << '"' << text << '"';
  }
  EXPECT_FALSE(isNULL(nullptr));
}

}  // namespace
}  // namespace orvanta
