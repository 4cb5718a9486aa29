// A product text filter's pattern, compiled once when the rule is read and
// searched on every event that reaches the filter.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include <unicode/uversion.h>

U_NAMESPACE_BEGIN
class RegexPattern;
U_NAMESPACE_END

namespace orvanta {

// Immutable once made, so any thread may search with it at once. Patterns
// come from the rules server: each search is bounded by the engine's match
// limit, so a pattern that would backtrack for ever gives up instead.
class TextPattern {
 public:
  enum class Search {
    kFound,
    kNotFound,
    kInvalid,  // the pattern did not compile
    kGaveUp,   // the match limit ran out before an answer
  };

  // The rule's value lower-cased, then compiled case-insensitively. Lower-
  // casing first is the rules' long-standing reading: it turns "\W" into "\w"
  // and "\S" into "\s" as well.
  explicit TextPattern(std::string_view ruleValue);
  ~TextPattern();
  TextPattern(const TextPattern&) = delete;
  TextPattern& operator=(const TextPattern&) = delete;

  // Whether the pattern occurs in text lower-cased, searching only as many
  // UTF-16 units as text has before lower-casing (lower-casing can lengthen
  // it; the tail that grows is not searched).
  Search search(std::string_view text) const;

  // The rule's value as received.
  const std::string& source() const { return source_; }
  // Why it did not compile; empty when it did.
  const std::string& error() const { return error_; }

 private:
  std::string source_;
  std::string error_;
  std::unique_ptr<icu::RegexPattern> compiled_;
};

}  // namespace orvanta
