#include "inapp/popup_manager.h"

#include <utility>

#include "base/logger.h"
#include "device/device_type.h"
#include "inapp/frequency_record_store.h"
#include "inapp/popup_event.h"
#include "inapp/scratch_settings_store.h"
#include "inapp/unicode_text.h"

namespace orvanta {
OrvantaPopupManager::OrvantaPopupManager(const OrvantaDataModel& model, const DateFormator& dates,
                                         const AppHost& appHost, OrvantaInAppPopopRuleParser& parser,
                                         FrequencyRecordStore& records, MainQueue& mainQueue, Views& views,
                                         OpenInService& openIn, std::atomic<std::int64_t>& popupEvent,
                                         const Logger& logger, std::string rulesBaseUrl, GetService getService,
                                         PostService postService, Reachable isReachable)
    : model_(model),
      dates_(dates),
      parser_(parser),
      records_(records),
      mainQueue_(mainQueue),
      views_(views),
      openIn_(openIn),
      popupEvent_(popupEvent),
      logger_(logger),
      rulesBaseUrl_(std::move(rulesBaseUrl)),
      getService_(std::move(getService)),
      postService_(std::move(postService)),
      isReachable_(std::move(isReachable)),
      deviceModel_(lowercased(getDeviceType(appHost))),
      rules_(std::make_shared<const RuleSet>()) {}

bool OrvantaPopupManager::online() const { return isReachable_ && isReachable_(); }

void OrvantaPopupManager::showPopup(std::int64_t eventId, const Array& productData) {
  PopupTrace trace;
  trace.eventId = eventId;
  // No popup while offline, and nothing is remembered of the event.
  if (!online()) {
    trace.offline = true;
  } else {
    std::int64_t nothingWaits = kPopupEventNone;
    if (isLaunchEvent(eventId)) popupEvent_.compare_exchange_strong(nothingWaits, eventId);
    std::shared_ptr<const OrvantaInAppRules> chosen = firstPassing(eventId, productData, records_, trace);
    {
      std::lock_guard lock(lastEventMutex_);
      prouctsArray_ = productData;
      if (!trace.candidates.empty()) strId_ = trace.candidates.back().ruleId;
    }
    if (chosen) showView(std::move(chosen));
  }
  std::shared_ptr<const TraceSink> sink;
  {
    std::lock_guard lock(traceSinkMutex_);
    sink = evaluated_;
  }
  if (sink && *sink) (*sink)(trace);
}

void OrvantaPopupManager::setTraceSink(TraceSink sink) {
  auto replacement = std::make_shared<const TraceSink>(std::move(sink));
  std::lock_guard lock(traceSinkMutex_);
  evaluated_ = std::move(replacement);
}

PopupTrace OrvantaPopupManager::dryRun(std::int64_t eventId, const Array& productData) const {
  PopupTrace trace;
  trace.eventId = eventId;
  trace.dryRun = true;
  if (!online()) {
    trace.offline = true;
    return trace;
  }
  // The same checks, counting into a layer that is dropped afterwards.
  ScratchSettingsStore scratch(records_.settings());
  FrequencyRecordStore scratchRecords = records_.over(scratch);
  firstPassing(eventId, productData, scratchRecords, trace);
  return trace;
}

std::shared_ptr<const OrvantaInAppRules> OrvantaPopupManager::firstPassing(std::int64_t eventId,
                                                                           const Array& productData,
                                                                           FrequencyRecordStore& records,
                                                                           PopupTrace& trace) const {
  for (std::shared_ptr<const OrvantaInAppRules>& rule : checkInAppRuleForEventId(eventId)) {
    Evaluation event{productData, rule->strRuleId, records, RuleTrace{}};
    event.trace.ruleId = rule->strRuleId;
    const bool passed = validateRules(rule.get(), event);
    trace.candidates.push_back(std::move(event.trace));
    if (passed) return std::move(rule);
  }
  return nullptr;
}

std::vector<std::shared_ptr<const OrvantaInAppRules>> OrvantaPopupManager::checkInAppRuleForEventId(
    std::int64_t eventId) const {
  const std::shared_ptr<const RuleSet> rules = arrInAppRules();
  std::vector<std::shared_ptr<const OrvantaInAppRules>> candidates;
  for (const std::size_t i : rules->listeners(std::to_string(eventId))) {
    // Shares ownership of the whole list, so a download may replace it meanwhile.
    candidates.emplace_back(rules, &rules->rules()[i]);
  }
  return candidates;
}

std::shared_ptr<const RuleSet> OrvantaPopupManager::arrInAppRules() const {
  std::lock_guard lock(rulesMutex_);
  return rules_;
}

Array OrvantaPopupManager::rulesListing() const {
  const std::shared_ptr<const RuleSet> rules = arrInAppRules();
  Array listing;
  listing.reserve(rules->rules().size());
  for (const OrvantaInAppRules& rule : rules->rules()) {
    Map entry;
    if (rule.strRuleId) entry.set("id", *rule.strRuleId);
    if (rule.whomTo && rule.whomTo->strEventList) entry.set("eventList", *rule.whomTo->strEventList);
    if (const std::optional<OrvantaFrequencyCapping> record = records_.getSavedFrequencyWithId(rule.strRuleId)) {
      entry.set("frequency", record->frequency);
      if (record->frequencyType) entry.set("frequencyType", *record->frequencyType);
      entry.set("frequencyRemaining", record->frequencyRemaining);
      entry.set("displayDay", record->displayDay);
      if (record->sessionID) entry.set("sessionID", *record->sessionID);
    }
    listing.emplace_back(std::move(entry));
  }
  return listing;
}

Array OrvantaPopupManager::prouctsArray() const {
  std::lock_guard lock(lastEventMutex_);
  return prouctsArray_;
}

std::optional<std::string> OrvantaPopupManager::strId() const {
  std::lock_guard lock(lastEventMutex_);
  return strId_;
}

}  // namespace orvanta
