#include "device/string_helpers.h"

#include <gtest/gtest.h>

#include <string>

namespace orvanta {
namespace {

TEST(RemoveBlankSpaceTest, TrimsBothEndsKeepsInnerBlanksAndLeavesNothingOfBlanksAlone) {
  const std::pair<const char*, const char*> cases[] = {
      {"\t\t  hello  big \t world \n", "hello  big \t world"}, {"\r\n\v\fx\f\v\n\r", "x"},
      {"no-blanks", "no-blanks"}, {"", ""}, {" \t\n", ""}, {"\xE3\x80\x80\xC2\xA0", ""}};
  for (const auto& [text, trimmed] : cases) EXPECT_EQ(removeblankSpace(text), trimmed) << text;
}

TEST(RemoveBlankSpaceTest, TrimsUnicodeSpacesAndLineSeparators) {
  struct Case {
    const char* name;
    const char* blank;
  };
  for (const Case c : {Case{"no-break space", "\xC2\xA0"}, Case{"next line", "\xC2\x85"},
                       Case{"ogham space mark", "\xE1\x9A\x80"}, Case{"en quad", "\xE2\x80\x80"},
                       Case{"hair space", "\xE2\x80\x8A"}, Case{"line separator", "\xE2\x80\xA8"},
                       Case{"paragraph separator", "\xE2\x80\xA9"}, Case{"narrow no-break space", "\xE2\x80\xAF"},
                       Case{"medium mathematical space", "\xE2\x81\x9F"}, Case{"ideographic space", "\xE3\x80\x80"}}) {
    const std::string blank = c.blank;
    EXPECT_EQ(removeblankSpace(blank + "a" + blank + "b" + blank), "a" + blank + "b") << c.name;
  }
}

TEST(RemoveBlankSpaceTest, KeepsCharactersThatOnlyLookBlankOrAreNotText) {
  // Zero-width space and the byte-order mark are formatting characters, not
  // white space.
  EXPECT_EQ(removeblankSpace("\xE2\x80\x8Bx\xEF\xBB\xBF"), "\xE2\x80\x8Bx\xEF\xBB\xBF");
  // Characters that share bytes with blanks stay whole: U+00E0 ends in A0,
  // U+2080 starts like the en quad.
  EXPECT_EQ(removeblankSpace("\xC3\xA0 \xE2\x82\x80"), "\xC3\xA0 \xE2\x82\x80");
  // Bytes that are not UTF-8 are kept.
  EXPECT_EQ(removeblankSpace(" \xA0\xFF "), "\xA0\xFF");
  // An inner NUL is text, not a blank.
  EXPECT_EQ(removeblankSpace(std::string(" a\0b ", 5)), std::string("a\0b", 3));
}

TEST(ValidateEmailTest, AcceptsPlainAddressesWithATwoToFourLetterEnding) {
  for (const char* address : {"user@example.com", "first.last+tag@mail.example.co.uk", "a_b%c-d@x-y.io",
                              "USER@EXAMPLE.INFO", "9@9.de"}) {
    EXPECT_TRUE(validateEmail(address)) << address;
  }
}

TEST(ValidateEmailTest, RejectsEverythingElse) {
  for (const char* text : {"user@example.museum", "user@example.travel", "user@example.c", "user@example.c0m",
                           "user @example.com", " user@example.com", "user@example.com ", "user@exa mple.com",
                           "userexample.com", "user@@example.com", "@example.com", "user@.com", "user@example",
                           "us(er@example.com", "user@example.com\n", "us\xC3\xA9r@example.com", "",
                           "user@example..", "user@example.co.", "user@exa@mple.com", "user@-.c0.de.", "u@.de"}) {
    EXPECT_FALSE(validateEmail(text)) << text;
  }
}

TEST(ValidateEmailTest, LongTextIsJudgedByThePatternAlone) {
  const std::string longLocal(1'000'000, 'a');
  EXPECT_TRUE(validateEmail(longLocal + "@example.com"));
  EXPECT_TRUE(validateEmail("a@" + std::string(1'000'000, 'b') + ".com"));
  EXPECT_FALSE(validateEmail(longLocal + " @example.com"));
  EXPECT_FALSE(validateEmail(longLocal + "@example.comma"));
}

TEST(IsNullTest, NoStringCountsAsNull) {
  for (const char* text : {"", "(null)", "(NULL)", "<null>", "<NULL>", "null", " ", "value"}) {
    const std::string s = text;
    EXPECT_FALSE(isNULL(&s)) << '"' << text << '"';
  }
  EXPECT_FALSE(isNULL(nullptr));
}

}  // namespace
}  // namespace orvanta
