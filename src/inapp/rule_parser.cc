#include "inapp/rule_parser.h"

#include "device/string_helpers.h"
#include "inapp/frequency_record_store.h"
#include "inapp/value_readings.h"

namespace orvanta {

OrvantaInAppPopopRuleParser::OrvantaInAppPopopRuleParser(const DateFormator& dates, FrequencyRecordStore& records)
    : dates_(dates), records_(records) {}

std::vector<OrvantaInAppRules> OrvantaInAppPopopRuleParser::parserInAppRules(const Value& document) {
  std::vector<OrvantaInAppRules> rules;
  const Map* map = document.asMap();
  const Value* list = map ? map->find("InAppRuleList") : nullptr;
  if (!list || !list->isArray()) return rules;
  rules.reserve(list->asArray()->size());
  bool anyStored = false;
  for (const Value& element : *list->asArray()) {
    const Map* rule = element.asMap();
    if (!rule) continue;
    bool stored = false;
    rules.push_back(OrvantaInAppRules::getInAppRules(*rule, dates_, records_, stored));
    anyStored = anyStored || stored;
  }
  // One flush for the whole document rather than one per rule: the same
  // records on disk, with one wait.
  if (anyStored) records_.synchronize();
  return rules;
}

std::optional<std::string> OrvantaInAppPopopRuleParser::getValueForKey(std::string_view key, const Map& dataDict) {
  const Value* value = dataDict.find(key);
  if (!value) return std::nullopt;
  if (const std::string* s = value->asString(); s && isNULL(s)) return std::nullopt;
  return scalarText(*value);
}

}  // namespace orvanta
