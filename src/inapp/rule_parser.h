// Reads the rules document the rules server publishes per application.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "inapp/in_app_rules.h"
#include "orvanta/value.h"

namespace orvanta {

class DateFormator;
class FrequencyRecordStore;

// Parsing has one side effect: each rule's cap is merged with the record
// stored for its id, and the settings are persisted once per document. Any
// thread. Both collaborators must outlive it.
class OrvantaInAppPopopRuleParser {
 public:
  OrvantaInAppPopopRuleParser(const DateFormator& dates, FrequencyRecordStore& records);

  // The rules of document's "InAppRuleList", in document order; elements
  // that are not maps are skipped. Empty when document is not a map or its
  // list is not an array.
  std::vector<OrvantaInAppRules> parserInAppRules(const Value& document);

  // dataDict[key] as text: a string as it is (no string counts as null
  // here), a number or boolean in its text form; nothing for anything else.
  // Plain keys only, no paths.
  static std::optional<std::string> getValueForKey(std::string_view key, const Map& dataDict);

 private:
  const DateFormator& dates_;
  FrequencyRecordStore& records_;
};

}  // namespace orvanta
