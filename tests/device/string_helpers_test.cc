#include "device/string_helpers.h"

#include <gtest/gtest.h>

#include <string>

namespace orvanta {
namespace {

TEST(RemoveBlankSpaceTest, TrimsBlanksOfBothEndsIncludingUnicodeSpacesAndKeepsInnerOnes) {
  const std::pair<std::string, std::string> cases[] = {
      {"\t\t  hello  big \t world \n", "hello  big \t world"}, {"\r\n\v\fx\f\v\n\r", "x"}, {"", ""},
      {" \t\n", ""}, {"\xE3\x80\x80\xC2\xA0", ""},
      // Characters that only look blank stay: the zero-width space and the
      // byte-order mark; so do characters that share bytes with blanks
      // (U+00E0 ends in A0, U+2080 starts like the en quad), bytes that are
      // not UTF-8, and an inner NUL.
      {"\xE2\x80\x8Bx\xEF\xBB\xBF", "\xE2\x80\x8Bx\xEF\xBB\xBF"}, {"\xC3\xA0 \xE2\x82\x80", "\xC3\xA0 \xE2\x82\x80"},
      {" \xA0\xFF ", "\xA0\xFF"}, {std::string(" a\0b ", 5), std::string("a\0b", 3)}};
  for (const auto& [text, trimmed] : cases) EXPECT_EQ(removeblankSpace(text), trimmed) << text;

  // No-break, next line, ogham, en quad, hair, line and paragraph separators,
  // narrow no-break, medium mathematical and ideographic spaces.
  for (const std::string blank : {"\xC2\xA0", "\xC2\x85", "\xE1\x9A\x80", "\xE2\x80\x80", "\xE2\x80\x8A",
                                  "\xE2\x80\xA8", "\xE2\x80\xA9", "\xE2\x80\xAF", "\xE2\x81\x9F", "\xE3\x80\x80"}) {
    EXPECT_EQ(removeblankSpace(blank + "a" + blank + "b" + blank), "a" + blank + "b") << blank;
  }
}

TEST(ValidateEmailTest, AcceptsPlainAddressesWithATwoToFourLetterEndingOnly) {
  for (const char* address : {"user@example.com", "first.last+tag@mail.example.co.uk", "a_b%c-d@x-y.io",
                              "USER@EXAMPLE.INFO", "9@9.de"}) {
    EXPECT_TRUE(validateEmail(address)) << address;
  }
  for (const char* text : {"user@example.museum", "user@example.c", "user@example.c0m", "user @example.com",
                           " user@example.com", "user@example.com ", "user@exa mple.com", "userexample.com",
                           "user@@example.com", "@example.com", "user@.com", "user@example", "us(er@example.com",
                           "user@example.com\n", "us\xC3\xA9r@example.com", "", "user@example..", "user@example.co.",
                           "user@exa@mple.com", "user@-.c0.de.", "u@.de"}) {
    EXPECT_FALSE(validateEmail(text)) << text;
  }
  // Long text is judged by the pattern alone, in reasonable time.
  const std::string longLocal(1'000'000, 'a');
  EXPECT_TRUE(validateEmail(longLocal + "@example.com"));
  EXPECT_TRUE(validateEmail("a@" + std::string(1'000'000, 'b') + ".com"));
  EXPECT_FALSE(validateEmail(longLocal + " @example.com"));
  EXPECT_FALSE(validateEmail(longLocal + "@example.comma"));
}

TEST(IsNullTest, NoStringCountsAsNull) {
  for (const std::string text : {"", "(null)", "(NULL)", "<null>", "<NULL>", "null", " ", "value"}) {
    EXPECT_FALSE(isNULL(&text)) << '"' << text << '"';
  }
  EXPECT_FALSE(isNULL(nullptr));
}

}  // namespace
}  // namespace orvanta
