#include "orvanta/popup_trace.h"

namespace orvanta {

std::string_view checkName(RuleCheck check) {
  switch (check) {
    case RuleCheck::kShown: return "shown";
    case RuleCheck::kValidity: return "validity";
    case RuleCheck::kAudience: return "audience";
    case RuleCheck::kSpentTime: return "spentTime";
    case RuleCheck::kWeekday: return "weekday";
    case RuleCheck::kHours: return "hours";
    case RuleCheck::kFrequencyCap: return "frequencyCap";
    case RuleCheck::kNoContent: return "noContent";
  }
  return "unknown";
}

}  // namespace orvanta
