// Why an event did or did not bring up a popup: one record per candidate
// rule, in the order the rules were tried. Plain data, for a host to route to
// its own log.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "orvanta/value.h"

namespace orvanta {

// The check that decided a candidate rule's fate: the first that failed, or
// kShown when none did.
enum class RuleCheck {
  kShown,         // every check passed: this rule's popup is the one shown
  kValidity,      // now is not strictly between "fromDate" and "toDate" (or one is missing)
  kAudience,      // the audience is "new" and no filter matched
  kSpentTime,     // not longer than "spentTime" seconds since start-up
  kWeekday,       // today is not one of the campaign's "days"
  kHours,         // now is not strictly inside the campaign's "from" and "to"
  kFrequencyCap,  // the cap allows no showing now
  kNoContent,     // "whatTo" is empty; its showing was counted all the same
};

struct AudienceTrace {
  bool everyone = false;  // the audience word is not "new": no filter was consulted
  // Otherwise the index (in "filter") of the first filter that matched;
  // unset when none did.
  std::optional<std::size_t> matchedFilter;
};

// The short name of a check, as the CLI and the log print it: "shown",
// "validity", "audience", "spentTime", "weekday", "hours", "frequencyCap",
// "noContent".
std::string_view checkName(RuleCheck check);

struct FrequencyTrace {
  // The stored record when the check began and when it ended, in its stored
  // form: a map of "frequency", "frequencyType", "frequencyRemaining",
  // "modifiedDate", "displayDay", "sessionID" (unset: no record).
  std::optional<Value> before;
  std::optional<Value> after;
  bool allowed = false;
};

struct RuleTrace {
  std::optional<std::string> ruleId;
  RuleCheck decidedBy = RuleCheck::kShown;
  std::optional<AudienceTrace> audience;    // set once the audience was checked
  std::optional<FrequencyTrace> frequency;  // set when the cap was consulted
  std::string detail;                       // the values compared, in words
};

struct PopupTrace {
  std::int64_t eventId = 0;
  bool dryRun = false;     // nothing was shown, counted or stored
  bool offline = false;    // the network was unreachable: no rule was looked at
  std::vector<RuleTrace> candidates;  // the rules listening to the event, as tried
};

}  // namespace orvanta
