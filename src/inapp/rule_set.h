// One downloaded rule list, immutable once built, with an index by event id
// so that an event costs only the rules that listen to it.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "inapp/in_app_rules.h"

namespace orvanta {

// Shared read-only between threads: a new download builds a new set.
class RuleSet {
 public:
  explicit RuleSet(std::vector<OrvantaInAppRules> rules = {});

  // Document order.
  const std::vector<OrvantaInAppRules>& rules() const { return rules_; }

  // Positions (in rules()) of the rules whose "eventList" equals eventText
  // ignoring case, sorted by "id" as plain strings (the id 10 before the id
  // 9; rules without an id first; equal ids in document order). Empty when
  // none listens.
  const std::vector<std::size_t>& listeners(std::string_view eventText) const;

 private:
  std::vector<OrvantaInAppRules> rules_;
  // Case-folded "eventList" -> positions, already sorted.
  std::unordered_map<std::string, std::vector<std::size_t>> byEvent_;
};

}  // namespace orvanta
