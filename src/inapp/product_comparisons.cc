// How a product's value is compared with an audience filter's value.
#include <string_view>

#include "base/logger.h"
#include "inapp/popup_manager.h"

namespace orvanta {
namespace {

std::string_view trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(" \t\r\n");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
}

// The comparison operators of the rules' predicate syntax; nullopt for any
// other text.
std::optional<bool> compareWith(std::string_view op, long double left, long double right) {
  if (op == "==" || op == "=") return left == right;
  if (op == "!=" || op == "<>") return left != right;
  if (op == "<") return left < right;
  if (op == "<=" || op == "=<") return left <= right;
  if (op == ">") return left > right;
  if (op == ">=" || op == "=>") return left >= right;
  return std::nullopt;
}

// A rule's pattern for a log line: rules may carry very long values.
std::string quoted(const std::string& text) {
  constexpr std::size_t kShown = 80;
  // Appended rather than "\"" + ...: GCC 12 at -O3 warns falsely (-Wrestrict)
  // on a literal prepended to a temporary string.
  std::string shown(1, '"');
  if (text.size() <= kShown) return shown.append(text).append(1, '"');
  return shown.append(text, 0, kShown).append("...\" (").append(std::to_string(text.size())).append(" bytes)");
}

}  // namespace

bool OrvantaPopupManager::validateProductNumericValue(double ruleValue, long double productValue,
                                                      const std::string& op) const {
  // The operators are symbols, so letter case cannot change them.
  const std::optional<bool> holds = compareWith(trimmed(op), productValue, ruleValue);
  if (!holds) {
    logger_.log("in-app filter operator " + quoted(op) + " is not a numeric comparison; the filter does not match");
    return false;
  }
  return *holds;
}

bool OrvantaPopupManager::validateProductStringValue(const TextPattern& ruleValue, const std::string& productValue,
                                                     const std::string& op) const {
  bool matched = false;
  switch (ruleValue.search(productValue)) {
    case TextPattern::Search::kFound:
      matched = true;
      break;
    case TextPattern::Search::kNotFound:
      break;
    case TextPattern::Search::kInvalid:
      logger_.log("in-app filter pattern " + quoted(ruleValue.source()) + " does not compile (" + ruleValue.error() +
                  "); it matches nothing");
      break;
    case TextPattern::Search::kGaveUp:
      logger_.log("in-app filter pattern " + quoted(ruleValue.source()) +
                  " ran out of its match limit; it counts as not matching");
      break;
  }
  // Lower-casing cannot put a "!" into or take one out of the operator.
  return matched ? op.empty() : op.find('!') != std::string::npos;
}

}  // namespace orvanta
