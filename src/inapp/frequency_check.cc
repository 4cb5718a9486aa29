// The frequency check of rule evaluation: whether a rule's cap allows a
// showing now, counting the showing in the same step.
#include "inapp/frequency_record_store.h"
#include "inapp/in_app_rules.h"

namespace orvanta {

bool OrvantaInAppRuleWhenTo::shouldShowPopUpWithId(const std::optional<std::string>& id,
                                                   FrequencyRecordStore& records) {
  auto held = records.hold();
  std::optional<OrvantaFrequencyCapping> cap = records.getSavedFrequencyWithId(id);
  const std::int64_t remaining = cap ? cap->frequencyRemaining : 0;
  const std::int64_t kind =
      OrvantaFrequencyCapping::getFrequencyWithType(cap ? cap->frequencyType : std::nullopt);
  if (remaining >= 1) {
    // A changed session restarts the count here and the decrement below
    // counts again from the stored record: that showing costs two.
    if (kind == frequency_kind::kSession) validateSession(*cap, id, records);
    records.decreaseFrequencyForRule(id);
    return true;
  }
  // Used up. Day and session periods restart only now, once the count has
  // run out; a campaign cap never restarts; no known kind is no cap at all.
  switch (kind) {
    case frequency_kind::kCampaign:
      return false;
    case frequency_kind::kDay:
      return validateDay(*cap, id, records);
    case frequency_kind::kSession:
      return validateSession(*cap, id, records);
    default:
      return true;
  }
}

bool OrvantaInAppRuleWhenTo::validateSession(OrvantaFrequencyCapping& cap, const std::optional<std::string>& id,
                                             FrequencyRecordStore& records) {
  std::string current = records.currentSessionId();
  if (cap.sessionID == current) return false;
  cap.sessionID = std::move(current);
  updateFreqCap(cap, id, records);
  return true;
}

bool OrvantaInAppRuleWhenTo::validateDay(OrvantaFrequencyCapping& cap, const std::optional<std::string>& id,
                                         FrequencyRecordStore& records) {
  const std::int64_t today = records.todaysDay();
  if (cap.displayDay == today) return false;
  cap.displayDay = today;
  updateFreqCap(cap, id, records);
  return true;
}

void OrvantaInAppRuleWhenTo::updateFreqCap(OrvantaFrequencyCapping& cap, const std::optional<std::string>& id,
                                           FrequencyRecordStore& records) {
  // The showing that opens the period is counted at once.
  cap.frequencyRemaining = cap.frequency - 1;
  records.setSavedFrequency(cap, id);
}

}  // namespace orvanta
