#include "inapp/in_app_rules.h"

#include <utility>

#include "device/date_formator.h"
#include "inapp/frequency_record_store.h"
#include "inapp/rule_parser.h"

namespace orvanta {
namespace {

std::optional<std::string> text(const char* key, const Map& map) {
  return OrvantaInAppPopopRuleParser::getValueForKey(key, map);
}

const Map* section(const char* key, const Map& map) {
  const Value* value = map.find(key);
  return value ? value->asMap() : nullptr;
}

bool isProductTextKey(const std::optional<std::string>& key) { return key && key->starts_with("s^"); }

}  // namespace

OrvantaInAppRuleFilter OrvantaInAppRuleFilter::getInAppRuleFilter(const Map& filter) {
  OrvantaInAppRuleFilter f;
  f.strModel = text("model", filter);
  f.strMake = text("make", filter);
  f.strOStype = text("ostype", filter);
  f.strFilter = text("filter", filter);
  if (std::optional<std::string> value = text("value", filter)) f.strValue = std::move(*value);
  f.strOperator = text("operator", filter);
  if (isProductTextKey(f.strFilter)) f.pattern = std::make_shared<const TextPattern>(f.strValue);
  return f;
}

OrvantaInAppRuleWhomTo OrvantaInAppRuleWhomTo::getInAppWhomTo(const Map& whomTo) {
  OrvantaInAppRuleWhomTo w;
  w.strEveryone = text("everyone", whomTo);
  w.strEventList = text("eventList", whomTo);
  if (const Value* filters = whomTo.find("filter"); filters && filters->isArray()) {
    for (const Value& element : *filters->asArray()) {
      if (const Map* filter = element.asMap()) w.filter.push_back(OrvantaInAppRuleFilter::getInAppRuleFilter(*filter));
    }
  }
  return w;
}

OrvantaInAppRuleCampaign OrvantaInAppRuleCampaign::getInAppWhenToCampain(const Map& campaign) {
  return OrvantaInAppRuleCampaign{text("days", campaign), text("from", campaign), text("to", campaign)};
}

OrvantaInAppRuleWhenTo OrvantaInAppRuleWhenTo::getInAppWhenTo(const Map& whenTo, const DateFormator& dates,
                                                              std::string sessionId) {
  OrvantaInAppRuleWhenTo w;
  w.strSpentTime = text("spentTime", whenTo);
  if (const Map* campaign = section("campaign", whenTo)) {
    w.campaign = OrvantaInAppRuleCampaign::getInAppWhenToCampain(*campaign);
  }
  w.frequencyCap = OrvantaFrequencyCapping::getFrequencyCappingWithDict(whenTo, dates, std::move(sessionId));
  return w;
}

OrvantaInAppRules OrvantaInAppRules::getInAppRules(const Map& rule, const DateFormator& dates,
                                                   FrequencyRecordStore& records, bool& stored) {
  OrvantaInAppRules r;
  r.strRuleId = text("id", rule);
  r.toDate = dates.formatDate(text("toDate", rule));
  r.fromDate = dates.formatDate(text("fromDate", rule));
  r.strWhatTo = text("whatTo", rule);
  r.strWhereTo = text("whereTo", rule);
  if (const Map* whomTo = section("whomTo", rule)) r.whomTo = OrvantaInAppRuleWhomTo::getInAppWhomTo(*whomTo);
  if (const Map* whenTo = section("whenTo", rule)) {
    r.whenTo = OrvantaInAppRuleWhenTo::getInAppWhenTo(*whenTo, dates, records.currentSessionId());
  }
  stored = r.updateRuleInUserDefaults(records);
  if (r.whenTo) r.freqCap = r.whenTo->frequencyCap;
  return r;
}

bool OrvantaInAppRules::updateRuleInUserDefaults(FrequencyRecordStore& records) {
  // Without "whenTo" there is no cap to merge, and nothing is stored.
  if (!whenTo || !strRuleId) return false;
  auto held = records.hold();
  const OrvantaFrequencyCapping& downloaded = whenTo->frequencyCap;
  std::optional<OrvantaFrequencyCapping> saved = records.getSavedFrequencyWithId(strRuleId);
  if (!saved) {
    records.storeFrequency(downloaded, *strRuleId);
    return true;
  }
  bool wrote = false;
  if (shouldUpdateRules(*saved)) {
    // A new version keeps the count left unless the frequency itself
    // changed, so that re-publishing a rule does not hand out new showings.
    if (saved->frequency != downloaded.frequency) {
      saved->frequency = downloaded.frequency;
      saved->frequencyRemaining = downloaded.frequencyRemaining;
    }
    saved->frequencyType = downloaded.frequencyType;
    saved->modifiedDate = downloaded.modifiedDate;
    records.storeFrequency(*saved, *strRuleId);
    wrote = true;
  }
  whenTo->frequencyCap = std::move(*saved);
  return wrote;
}

bool OrvantaInAppRules::shouldUpdateRules(const OrvantaFrequencyCapping& saved) const {
  const std::optional<Date> current = whenTo ? whenTo->frequencyCap.modifiedDate : std::nullopt;
  return saved.modifiedDate != current;
}

}  // namespace orvanta
