// In-app popups: the downloaded rule list, and the choice, for each tracked
// event, of the rule whose popup is shown.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "inapp/in_app_rules.h"
#include "orvanta/popup_trace.h"
#include "inapp/rule_set.h"
#include "net/web_service_handler.h"
#include "orvanta/platform/app_host.h"
#include "orvanta/platform/main_queue.h"
#include "orvanta/value.h"

namespace orvanta {

class DateFormator;
class FrequencyRecordStore;
class Logger;
class OrvantaDataModel;
class OrvantaInAppPopopRuleParser;

// One per Runtime. Events may be evaluated on any thread at once: each takes
// the rule list current when it starts (a download swaps in a whole new list,
// never a half-built one), and counting a showing is one step against the
// stored records. Every collaborator must outlive it; the runtime stops HTTP
// and the main queue before destroying it.
class OrvantaPopupManager {
 public:
  // callGetService's shape: GET url, answered (200, document) or (500, none).
  using GetService = std::function<void(const std::string& url, OrvantaWebServiceHandler::GetBlock answered)>;
  // Whether the network is reachable now.
  using Reachable = std::function<bool()>;
  // Shows the rule's popup; called on the main queue.
  using PresentPopup = std::function<void(const OrvantaInAppRules& rule)>;
  // Receives the trace of every evaluation that is not a dry run, on the
  // evaluating thread.
  using TraceSink = std::function<void(const PopupTrace& trace)>;

  // rulesBaseUrl ends in "/" (empty: no rules server, nothing is fetched).
  // popupEvent is the process-wide launch event waiting for the rules.
  OrvantaPopupManager(const OrvantaDataModel& model, const DateFormator& dates, const AppHost& appHost,
                      OrvantaInAppPopopRuleParser& parser, FrequencyRecordStore& records, MainQueue& mainQueue,
                      std::atomic<std::int64_t>& popupEvent, const Logger& logger, std::string rulesBaseUrl,
                      GetService getService, Reachable isReachable, PresentPopup present);

  // Replaces the trace sink (empty: traces are dropped). Any thread.
  void setTraceSink(TraceSink sink);

  // Starts one download of the rules document at rulesBaseUrl +
  // "inappactivity/" + the application id + ".json". A good answer replaces
  // the whole rule list (a document without rules empties it); any failure
  // keeps the previous list. Then a launch event that waits is replayed on
  // the main queue, once per process.
  void getPopupConfigurationData();

  // A tracked event: while the network is reachable, the first of its
  // candidates that passes every check is shown (on the main queue) and
  // counted; later candidates are not looked at. The first launch event
  // (20 or 21) of the process is also kept for replay.
  void showPopup(std::int64_t eventId, const Array& productData);
  // What showPopup would decide now, traced, without showing, counting,
  // storing or remembering anything.
  PopupTrace dryRun(std::int64_t eventId, const Array& productData) const;

  // The rules listening to eventId, sorted by id as strings; empty when none.
  // Each keeps its rule list alive.
  std::vector<std::shared_ptr<const OrvantaInAppRules>> checkInAppRuleForEventId(std::int64_t eventId) const;

  // One event under evaluation.
  struct Evaluation {
    const Array& prouctsArray;              // the event's products
    std::optional<std::string> strId;       // the rule being checked
    FrequencyRecordStore& records;          // where its showing is counted
    RuleTrace trace;                        // what decided, for that rule
  };
  // The checks of one rule, in order, stopping at the first that fails. The
  // frequency check counts the showing it allows.
  bool validateRules(const OrvantaInAppRules* rule, Evaluation& event) const;
  bool validateWhomTo(const OrvantaInAppRuleWhomTo* whomTo, Evaluation& event) const;
  bool validateWhenTo(const OrvantaInAppRuleWhenTo* whenTo, Evaluation& event) const;
  // productValue op ruleValue, op being one of the comparison operators
  // "==", "=", "!=", "<>", "<", "<=", "=<", ">", ">=", "=>" (blanks around
  // it and letter case ignored). Any other op answers false and logs.
  bool validateProductNumericValue(double ruleValue, long double productValue, const std::string& op) const;
  // The operator carries only a negation: with a match, true only for an
  // empty op; without one, true only when op contains "!". So an op such as
  // "contains" or "==" never holds. A pattern that does not compile, or
  // that runs out of its match limit, finds no match (and logs).
  bool validateProductStringValue(const TextPattern& ruleValue, const std::string& productValue,
                                  const std::string& op) const;

  // The current rule list (empty before the first good download).
  std::shared_ptr<const RuleSet> arrInAppRules() const;
  // One map per rule, in document order: "id", "eventList", and the stored
  // record's "frequency", "frequencyType", "frequencyRemaining",
  // "displayDay", "sessionID"; a key is absent when its value is.
  Array rulesListing() const;

  // popupEvent's value now.
  std::int64_t waitingLaunchEvent() const { return popupEvent_.load(); }

  // The products of the last event evaluated, and the id of the last rule it
  // tried (kept when a later event had no candidate).
  Array prouctsArray() const;
  std::optional<std::string> strId() const;

 private:
  bool online() const;
  // Tries the event's candidates in order, tracing each; answers the first
  // that passes, or nullptr.
  std::shared_ptr<const OrvantaInAppRules> firstPassing(std::int64_t eventId, const Array& productData,
                                                        FrequencyRecordStore& records, PopupTrace& trace) const;
  bool productFilterMatches(const OrvantaInAppRuleFilter& filter, const Array& products) const;
  bool deviceFilterMatches(const OrvantaInAppRuleFilter& filter) const;
  void rulesArrived(int status, std::optional<Value> document);
  void replayLaunchEvent();

  const OrvantaDataModel& model_;
  const DateFormator& dates_;
  OrvantaInAppPopopRuleParser& parser_;
  FrequencyRecordStore& records_;
  MainQueue& mainQueue_;
  std::atomic<std::int64_t>& popupEvent_;
  const Logger& logger_;
  const std::string rulesBaseUrl_;
  const GetService getService_;
  const Reachable isReachable_;
  const PresentPopup present_;
  // The device's model name, lower-cased, read once: the hardware does not change.
  const std::string deviceModel_;

  mutable std::mutex rulesMutex_;
  std::shared_ptr<const RuleSet> rules_;  // swapped whole under rulesMutex_

  mutable std::mutex traceSinkMutex_;
  std::shared_ptr<const TraceSink> evaluated_;  // swapped whole under traceSinkMutex_

  mutable std::mutex lastEventMutex_;
  Array prouctsArray_;
  std::optional<std::string> strId_;
};

}  // namespace orvanta
