// The in-app rule model: one popup rule of the rules document with its
// audience, timing, campaign and filter sections, built from the decoded
// document. A section of the wrong JSON type is left unset (or, for the
// filter list, empty); a scalar of the wrong type reads as unset.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "inapp/frequency_capping.h"
#include "inapp/text_pattern.h"
#include "orvanta/value.h"

namespace orvanta {

class DateFormator;
class FrequencyRecordStore;

// One audience filter: a product condition when strFilter is set, else a
// device condition. Each key is kept only when it reads as text.
struct OrvantaInAppRuleFilter {
  std::optional<std::string> strOStype;
  std::optional<std::string> strMake;
  std::optional<std::string> strModel;
  // Typed product key, prefix included: "s^" text, "i^" integer, "f^" decimal.
  std::optional<std::string> strFilter;
  std::optional<std::string> strOperator;
  std::string strValue;  // "" when the rule gives none
  // strValue compiled, for "s^" filters only: once per download, not per event.
  std::shared_ptr<const TextPattern> pattern;

  static OrvantaInAppRuleFilter getInAppRuleFilter(const Map& filter);
};

struct OrvantaInAppRuleWhomTo {
  std::optional<std::string> strEveryone;
  // The one event id the rule fires on, as text (compared whole, not a list).
  std::optional<std::string> strEventList;
  std::vector<OrvantaInAppRuleFilter> filter;  // elements that are not maps skipped

  static OrvantaInAppRuleWhomTo getInAppWhomTo(const Map& whomTo);
};

struct OrvantaInAppRuleCampaign {
  std::optional<std::string> strDays;  // weekday names joined by ","
  std::optional<std::string> strFrom;  // "HH:mm"
  std::optional<std::string> strTo;    // "HH:mm"

  static OrvantaInAppRuleCampaign getInAppWhenToCampain(const Map& campaign);
};

struct OrvantaInAppRuleWhenTo {
  std::optional<std::string> strSpentTime;
  OrvantaFrequencyCapping frequencyCap;
  std::optional<OrvantaInAppRuleCampaign> campaign;

  // "frequency", "frequencyType" and "modifiedDate" are keys of the "whenTo"
  // map itself; the cap's session is sessionId.
  static OrvantaInAppRuleWhenTo getInAppWhenTo(const Map& whenTo, const DateFormator& dates, std::string sessionId);

  // Whether the cap stored for id allows a showing now; a showing it allows is
  // counted at once (before anything is displayed). Works on the stored
  // record, never on a rule's in-memory cap. The caller holds records.hold()
  // when it reads the record around the check.
  static bool shouldShowPopUpWithId(const std::optional<std::string>& id, FrequencyRecordStore& records);
  // A new period when the session (day) changed since cap's: cap takes the
  // current one, one showing is counted at once and cap is stored. Answers
  // whether the period was new.
  static bool validateSession(OrvantaFrequencyCapping& cap, const std::optional<std::string>& id,
                              FrequencyRecordStore& records);
  static bool validateDay(OrvantaFrequencyCapping& cap, const std::optional<std::string>& id,
                          FrequencyRecordStore& records);
  static void updateFreqCap(OrvantaFrequencyCapping& cap, const std::optional<std::string>& id,
                            FrequencyRecordStore& records);
};

struct OrvantaInAppRules {
  std::optional<std::string> strRuleId;
  std::optional<Date> toDate;
  std::optional<Date> fromDate;
  std::optional<std::string> strWhereTo;
  std::optional<std::string> strWhatTo;
  // The rule's cap once merged with the stored record; unset without "whenTo".
  std::optional<OrvantaFrequencyCapping> freqCap;
  std::optional<OrvantaInAppRuleWhomTo> whomTo;
  std::optional<OrvantaInAppRuleWhenTo> whenTo;

  // One rule map to a rule, its cap merged with the stored record
  // (updateRuleInUserDefaults). Answers through stored whether a record was
  // written; the caller persists the suite once for a whole document.
  static OrvantaInAppRules getInAppRules(const Map& rule, const DateFormator& dates, FrequencyRecordStore& records,
                                         bool& stored);

  // Merges the downloaded cap with the stored record: no record stores the
  // downloaded one; a record whose version differs (shouldUpdateRules) takes
  // the new kind and version, and the new frequency with a full count only
  // when the frequency changed; the record then replaces the rule's cap.
  // Nothing for a rule without "whenTo". Answers whether it wrote a record
  // (not yet persisted).
  bool updateRuleInUserDefaults(FrequencyRecordStore& records);
  // Whether the rule's cap is another version than saved: the modified
  // dates differ, or only one of them is set.
  bool shouldUpdateRules(const OrvantaFrequencyCapping& saved) const;
};

}  // namespace orvanta
