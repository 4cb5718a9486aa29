#include "inapp/rule_set.h"

#include <algorithm>
#include <utility>

#include "inapp/unicode_text.h"

namespace orvanta {

RuleSet::RuleSet(std::vector<OrvantaInAppRules> rules) : rules_(std::move(rules)) {
  for (std::size_t i = 0; i < rules_.size(); ++i) {
    const auto& whomTo = rules_[i].whomTo;
    if (whomTo && whomTo->strEventList) byEvent_[caseFolded(*whomTo->strEventList)].push_back(i);
  }
  for (auto& [event, positions] : byEvent_) {
    // A missing id sorts before every id, as an absent value does.
    std::ranges::stable_sort(positions, {}, [this](std::size_t i) -> const std::optional<std::string>& {
      return rules_[i].strRuleId;
    });
  }
}

const std::vector<std::size_t>& RuleSet::listeners(std::string_view eventText) const {
  static const std::vector<std::size_t> kNone;
  const auto found = byEvent_.find(caseFolded(eventText));
  return found == byEvent_.end() ? kNone : found->second;
}

}  // namespace orvanta
