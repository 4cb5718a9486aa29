// The checks one candidate rule goes through for an event: validity window,
// audience, timing and frequency cap, then content. Each failure is traced
// with the values it compared.
#include <string_view>

#include "device/date_formator.h"
#include "inapp/frequency_record_store.h"
#include "inapp/popup_manager.h"
#include "inapp/rule_parser.h"
#include "inapp/unicode_text.h"
#include "inapp/value_readings.h"

namespace orvanta {
namespace {

// The platform's own operating system, maker and model, as device filters
// name them.
constexpr std::string_view kOSType = "ios";
constexpr std::string_view kMake = "apple";

std::optional<Value> storedRecord(const OrvantaPopupManager::Evaluation& event) {
  const std::optional<OrvantaFrequencyCapping> record = event.records.getSavedFrequencyWithId(event.strId);
  if (!record) return std::nullopt;
  return record->encodeWithCoder();
}

std::string shown(double number) { return *scalarText(Value(number)); }

std::string shown(const std::optional<Date>& date) {
  return date ? shown(date->secondsSince1970) : std::string("(none)");
}

bool fail(RuleTrace& trace, RuleCheck check, std::string detail) {
  trace.decidedBy = check;
  trace.detail = std::move(detail);
  return false;
}

bool equalsLowercased(const std::optional<std::string>& text, std::string_view lower) {
  return text && lowercased(*text) == lower;
}

// Whether one of the comma-separated names (not trimmed) is today's.
bool namesToday(std::string_view days, const std::string& today) {
  while (true) {
    const std::size_t comma = days.find(',');
    if (lowercased(days.substr(0, comma)) == today) return true;
    if (comma == std::string_view::npos) return false;
    days.remove_prefix(comma + 1);
  }
}

}  // namespace

bool OrvantaPopupManager::validateRules(const OrvantaInAppRules* rule, Evaluation& event) const {
  if (!rule) return false;
  if (!dates_.isDateBetweenDates(rule->fromDate, rule->toDate)) {
    return fail(event.trace, RuleCheck::kValidity,
                "now (" + shown(dates_.getCurrentDate().secondsSince1970) + ") is not strictly between fromDate (" +
                    shown(rule->fromDate) + ") and toDate (" + shown(rule->toDate) + ")");
  }
  if (!validateWhomTo(rule->whomTo ? &*rule->whomTo : nullptr, event)) return false;
  if (!validateWhenTo(rule->whenTo ? &*rule->whenTo : nullptr, event)) return false;
  // Checked last: a rule without content has had its showing counted.
  if (!rule->strWhatTo || rule->strWhatTo->empty()) {
    return fail(event.trace, RuleCheck::kNoContent, "whatTo is empty");
  }
  event.trace.decidedBy = RuleCheck::kShown;
  event.trace.detail = "every check passed";
  return true;
}

bool OrvantaPopupManager::validateWhomTo(const OrvantaInAppRuleWhomTo* whomTo, Evaluation& event) const {
  AudienceTrace& audience = event.trace.audience.emplace();
  if (!whomTo || !equalsLowercased(whomTo->strEveryone, "new")) {
    audience.everyone = true;
    return true;
  }
  // Filters are alternatives: the first that matches is enough.
  for (std::size_t i = 0; i < whomTo->filter.size(); ++i) {
    const OrvantaInAppRuleFilter& filter = whomTo->filter[i];
    if (filter.strFilter ? productFilterMatches(filter, event.prouctsArray) : deviceFilterMatches(filter)) {
      audience.matchedFilter = i;
      return true;
    }
  }
  return fail(event.trace, RuleCheck::kAudience,
              "audience \"new\": none of its " + std::to_string(whomTo->filter.size()) + " filters matched");
}

bool OrvantaPopupManager::productFilterMatches(const OrvantaInAppRuleFilter& filter, const Array& products) const {
  const std::string& key = *filter.strFilter;
  const bool text = key.starts_with("s^");
  const bool number = key.starts_with("i^") || key.starts_with("f^");
  if (!text && !number) return false;  // a key of no known type never matches
  const std::string op = filter.strOperator.value_or("");
  const double ruleNumber = leadingDouble(filter.strValue);
  // Products are alternatives too: the first that satisfies the filter is enough.
  for (const Value& element : products) {
    const Map* product = element.asMap();
    if (!product) continue;
    if (text) {
      const std::optional<std::string> value = OrvantaInAppPopopRuleParser::getValueForKey(key, *product);
      if (value && filter.pattern && validateProductStringValue(*filter.pattern, *value, op)) return true;
    } else if (const Value* entry = product->find(key)) {
      // Only a number compares: the text "3" is no number here.
      const std::optional<long double> value = numberOf(*entry);
      if (value && validateProductNumericValue(ruleNumber, *value, op)) return true;
    }
  }
  return false;
}

bool OrvantaPopupManager::deviceFilterMatches(const OrvantaInAppRuleFilter& filter) const {
  return equalsLowercased(filter.strOStype, kOSType) || equalsLowercased(filter.strMake, kMake) ||
         equalsLowercased(filter.strModel, deviceModel_);
}

bool OrvantaPopupManager::validateWhenTo(const OrvantaInAppRuleWhenTo* whenTo, Evaluation& event) const {
  const double sinceStart = dates_.getDifferenceBetweenLaunchDate();
  const double spentTime = whenTo && whenTo->strSpentTime ? leadingDouble(*whenTo->strSpentTime) : 0;
  if (!(sinceStart > spentTime)) {
    return fail(event.trace, RuleCheck::kSpentTime,
                shown(sinceStart) + " s since start-up, more than " + shown(spentTime) + " s needed");
  }
  // Without a campaign the rule is not capped either.
  if (!whenTo || !whenTo->campaign) return true;
  const OrvantaInAppRuleCampaign& campaign = *whenTo->campaign;

  const std::string today = lowercased(dates_.getCurrentDateDay());
  if (!campaign.strDays || !namesToday(*campaign.strDays, today)) {
    return fail(event.trace, RuleCheck::kWeekday,
                "today is " + today + ", the campaign's days are \"" + campaign.strDays.value_or("") + "\"");
  }
  const std::string from = campaign.strFrom.value_or("");
  const std::string to = campaign.strTo.value_or("");
  if (!dates_.isCurrentTimeBetween2Dates(from, to)) {
    return fail(event.trace, RuleCheck::kHours,
                "now " + dates_.getCurrentTime() + " is not strictly between \"" + from + "\" and \"" + to + "\"");
  }

  FrequencyTrace& frequency = event.trace.frequency.emplace();
  auto held = event.records.hold();
  frequency.before = storedRecord(event);
  frequency.allowed = OrvantaInAppRuleWhenTo::shouldShowPopUpWithId(event.strId, event.records);
  frequency.after = storedRecord(event);
  if (!frequency.allowed) return fail(event.trace, RuleCheck::kFrequencyCap, "the frequency cap allows no showing now");
  return true;
}

}  // namespace orvanta
