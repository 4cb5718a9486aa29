#include "inapp/text_pattern.h"

#include <algorithm>

#include <unicode/regex.h>
#include <unicode/utypes.h>

#include "inapp/unicode_text.h"

namespace orvanta {
namespace {

// Steps of the match engine one search may take, in the engine's units (each
// about a millisecond of work): ample for any sane pattern over product text,
// and a hard stop for one that backtracks exponentially.
constexpr std::int32_t kMatchLimit = 20;

}  // namespace

TextPattern::TextPattern(std::string_view ruleValue) : source_(ruleValue) {
  UErrorCode status = U_ZERO_ERROR;
  UParseError where{};
  icu::UnicodeString lower = utf16(ruleValue);
  lowercase(lower);
  compiled_.reset(icu::RegexPattern::compile(lower, UREGEX_CASE_INSENSITIVE, where, status));
  if (U_FAILURE(status)) {
    compiled_.reset();
    error_ = std::string(u_errorName(status)) + " at offset " + std::to_string(where.offset);
  }
}

TextPattern::~TextPattern() = default;

TextPattern::Search TextPattern::search(std::string_view text) const {
  if (!compiled_) return Search::kInvalid;
  const icu::UnicodeString original = utf16(text);
  icu::UnicodeString lower = original;
  lowercase(lower);

  UErrorCode status = U_ZERO_ERROR;
  const std::unique_ptr<icu::RegexMatcher> matcher(compiled_->matcher(lower, status));
  if (U_FAILURE(status)) return Search::kGaveUp;
  matcher->setTimeLimit(kMatchLimit, status);
  matcher->region(0, std::min(original.length(), lower.length()), status);
  const bool found = matcher->find(status);
  if (U_FAILURE(status)) return Search::kGaveUp;
  return found ? Search::kFound : Search::kNotFound;
}

}  // namespace orvanta
