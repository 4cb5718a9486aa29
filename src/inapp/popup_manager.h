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

#include "inapp/advertisement_view_controller.h"
#include "inapp/in_app_rules.h"
#include "orvanta/popup_trace.h"
#include "inapp/rule_set.h"
#include "net/web_service_handler.h"
#include "orvanta/platform/app_host.h"
#include "orvanta/open_in_service.h"
#include "orvanta/platform/main_queue.h"
#include "orvanta/platform/views.h"
#include "orvanta/status_block.h"
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
// stored records. The popup itself (bgView, adView, popupType) lives on the
// main queue, and every view callback hops there. Every collaborator must
// outlive it; the runtime stops HTTP and the main queue before destroying it.
class OrvantaPopupManager : public AdvertisementDelegate {
 public:
  // The layout of a popup shown without a rule: full screen.
  static constexpr std::int64_t kNoRuleLayout = 5;
  // callGetService's shape: GET url, answered (200, document) or (500, none).
  using GetService = std::function<void(const std::string& url, OrvantaWebServiceHandler::GetBlock answered)>;
  // Whether the network is reachable now.
  using Reachable = std::function<bool()>;
  // callPostService's shape: one tracking message, method and its own fields.
  using PostService = std::function<void(const std::string& method, const Map& info, StatusBlock block)>;
  // Receives the trace of every evaluation that is not a dry run, on the
  // evaluating thread.
  using TraceSink = std::function<void(const PopupTrace& trace)>;

  // rulesBaseUrl ends in "/" (empty: no rules server, nothing is fetched).
  // popupEvent is the process-wide launch event waiting for the rules.
  // views shows the popups, openIn opens what the user clicked in them, and
  // postService sends their reports. appHost names the device's model.
  OrvantaPopupManager(const OrvantaDataModel& model, const DateFormator& dates, const AppHost& appHost,
                      OrvantaInAppPopopRuleParser& parser, FrequencyRecordStore& records, MainQueue& mainQueue,
                      Views& views, OpenInService& openIn, std::atomic<std::int64_t>& popupEvent,
                      const Logger& logger, std::string rulesBaseUrl, GetService getService, PostService postService,
                      Reachable isReachable);
  // Takes the popup down and the orientation listener back, calling the
  // views from this thread: the main queue has stopped by then.
  ~OrvantaPopupManager();
  OrvantaPopupManager(const OrvantaPopupManager&) = delete;
  OrvantaPopupManager& operator=(const OrvantaPopupManager&) = delete;

  // Replaces the trace sink (empty: traces are dropped). Any thread.
  void setTraceSink(TraceSink sink);

  // Starts one download of the rules document at rulesBaseUrl +
  // "inappactivity/" + the application id + ".json". A good answer replaces
  // the whole rule list (a document without rules empties it); any failure
  // keeps the previous list. Then a launch event that waits is replayed on
  // the main queue, once per process. Each call also (again) listens to the
  // screen's orientation changes, on the main queue.
  void getPopupConfigurationData();

  // A tracked event: while the network is reachable, the first of its
  // candidates that passes every check is shown (showView) and counted;
  // later candidates are not looked at. The first launch event
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

  // The popup. Called off the main queue, showView hops there; the others
  // run on the main queue.
  // Shows rule's page (nullptr: no rule, the full-screen layout) over the
  // screen on a dimming layer, replacing a popup that is up, without a
  // report. The page is rulesBaseUrl + "inapp?" + the rule's "whatTo" as it
  // is; event 41 is reported as the page starts loading.
  void showView(std::shared_ptr<const OrvantaInAppRules> rule);
  // Lays the page out for popupType on the screen as it is now (see
  // popupFrame); nothing without a popup.
  void setupFrameAsperOriantation();
  void orientationChanged();
  // Takes the popup down, without a report.
  void close();
  // The page's reports: 41 shown; 43 closed, then close; 42 clicked, then
  // close, then a non-empty trvValue, percent-encoded for a URL query, is
  // opened.
  void advertisementShow(const OrvantaInAppRules* rule) override;
  void advertisementClose(const OrvantaInAppRules* rule) override;
  void advertisementClicked(const OrvantaInAppRules* rule, const std::string& trvValue) override;
  // Posts one report as "app_activity": "eventid", "payload" (one map:
  // "i^mid", the rule id's leading integer, "" without a rule id; and
  // "s^trv-c2a" = trvValue when it is not empty), "make" and "model". Its
  // answer is not looked at; any thread.
  void sendEventToServer(std::int64_t eventId, const OrvantaInAppRules* rule, const std::string& trvValue);
  // The popup's layer and controller (0 and nullptr when no popup is up),
  // and its layout number.
  int bgView() const;
  const AdvertisementViewController* adView() const;
  std::int64_t popupType() const;

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
  // The page's frame for the popup up now, on the screen as it is now.
  Rect pageFrame() const;

  const OrvantaDataModel& model_;
  const DateFormator& dates_;
  OrvantaInAppPopopRuleParser& parser_;
  FrequencyRecordStore& records_;
  MainQueue& mainQueue_;
  Views& views_;
  OpenInService& openIn_;
  std::atomic<std::int64_t>& popupEvent_;
  const Logger& logger_;
  const std::string rulesBaseUrl_;
  const GetService getService_;
  const PostService postService_;
  const Reachable isReachable_;
  // The device's model name, lower-cased, read once: the hardware does not change.
  const std::string deviceModel_;

  mutable std::mutex rulesMutex_;
  std::shared_ptr<const RuleSet> rules_;  // swapped whole under rulesMutex_

  mutable std::mutex traceSinkMutex_;
  std::shared_ptr<const TraceSink> evaluated_;  // swapped whole under traceSinkMutex_

  // The popup, on the main queue only. shownPopups_ counts the popups
  // shown, so that a late tap outside one closes no later one.
  int bgView_ = 0;
  std::unique_ptr<AdvertisementViewController> adView_;
  std::int64_t popupType_ = kNoRuleLayout;
  std::uint64_t shownPopups_ = 0;

  mutable std::mutex lastEventMutex_;
  Array prouctsArray_;
  std::optional<std::string> strId_;
};

}  // namespace orvanta
