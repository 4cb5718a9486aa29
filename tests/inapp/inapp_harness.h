// The in-app components built from their constructors on the test platform,
// with rule documents written as JSON text.
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "base/logger.h"
#include "core/data_model.h"
#include "device/date_formator.h"
#include "inapp/frequency_record_store.h"
#include "inapp/popup_event.h"
#include "inapp/popup_manager.h"
#include "inapp/rule_parser.h"
#include "notifications/open_in_service_impl.h"
#include "orvanta/json.h"
#include "orvanta/testing/test_platform.h"

namespace orvanta::testing {

// The test platform's start, 2023-11-14 22:13:20 UTC: a Tuesday.
inline constexpr double kStart = 1700000000;
inline constexpr const char* kStartSession = "231114221320";

inline Value json(std::string_view text) {
  std::optional<Value> value = parseJson(text);
  if (!value) ADD_FAILURE() << "not JSON: " << text;
  return value.value_or(Value());
}

// A rule for eventList that passes every check at the start (valid from a
// day before to a day after, content, everyone). extra JSON members replace
// those defaults: of a repeated key the last one counts.
inline std::string ruleText(std::string_view id, std::string_view eventList, std::string_view extra = "") {
  std::string text = R"({"id":")" + std::string(id) + R"(","fromDate":"2023-11-13T00:00:00",)" +
                     R"("toDate":"2023-11-16T00:00:00","whatTo":"popup=)" + std::string(id) + R"(",)" +
                     R"("whomTo":{"eventList":")" + std::string(eventList) + R"("})";
  if (!extra.empty()) text += "," + std::string(extra);
  return text + "}";
}

inline std::string documentText(const std::vector<std::string>& rules) {
  std::string text = R"({"InAppRuleList":[)";
  for (std::size_t i = 0; i < rules.size(); ++i) text += (i ? "," : "") + rules[i];
  return text + "]}";
}

using Ids = std::vector<std::string>;

// The ids of eventId's candidates in the order they are tried ("-": no id).
inline Ids candidateIds(const OrvantaPopupManager& manager, std::int64_t eventId) {
  Ids ids;
  for (const auto& rule : manager.checkInAppRuleForEventId(eventId)) ids.push_back(rule->strRuleId.value_or("-"));
  return ids;
}

class InAppHarness {
 public:
  explicit InAppHarness(long utcOffsetSeconds = 0, std::string rulesBaseUrl = "https://rules.test/")
      : platform(std::make_shared<TestPlatform>(Date{kStart}, utcOffsetSeconds)),
        rulesBaseUrl(std::move(rulesBaseUrl)) {
    // The client has been running for a minute at the start.
    model.setIntializationDate(Date{kStart - 60});
    model.setStrSessionid(kStartSession);
    model.setStrAppID("app");
    manager.setTraceSink([this](const PopupTrace& trace) {
      std::lock_guard lock(mutex_);
      traces_.push_back(trace);
    });
  }

  // Downloads the rules as the rules server's 200 answer.
  void loadRules(const std::vector<std::string>& rules) {
    const Value document = json(documentText(rules));
    getService = [document](const std::string&, OrvantaWebServiceHandler::GetBlock answered) {
      answered(200, document);
    };
    manager.getPopupConfigurationData();
  }
  // Parses a document of one rule "r" with that "whenTo".
  std::vector<OrvantaInAppRules> parseTiming(std::string_view whenTo) {
    return parser.parserInAppRules(json(R"({"InAppRuleList":[{"id":"r","whenTo":)" + std::string(whenTo) + "}]}"));
  }
  // Whether event 5 with products shows the popup of a rule "r" for it, with
  // extra members as ruleText takes them.
  bool fires(std::string_view extra, const Array& products = {}) {
    loadRules({ruleText("r", "5", extra)});
    manager.showPopup(5, products);
    return shown() == Ids{"r"};
  }

  // The events' popups shown so far (by rule id, "-" for none), once the
  // main queue ran.
  std::vector<std::string> shown() {
    platform->mainQueue->runUntilIdle();
    std::vector<std::string> ids;
    for (const auto& page : platform->views->presentedPages()) ids.push_back(page.ruleId.empty() ? "-" : page.ruleId);
    return ids;
  }
  // One message handed to the request layer: its method and own fields.
  struct Report {
    std::string method;
    Map info;
  };
  std::vector<Report> reports() const {
    std::lock_guard lock(mutex_);
    return reports_;
  }
  // The traces of the events so far: showPopup leaves one whatever happens.
  std::vector<PopupTrace> traces() const {
    std::lock_guard lock(mutex_);
    return traces_;
  }
  std::optional<OrvantaFrequencyCapping> record(const std::string& id) const {
    return records.getSavedFrequencyWithId(id);
  }

  std::shared_ptr<TestPlatform> platform;
  const std::string rulesBaseUrl;
  OrvantaDataModel model;
  const Logger logger{"Orvanta"};
  DateFormator dates{*platform->clock, [this] { return model.intializationDate(); }};
  FrequencyRecordStore records{*platform->standardSettings, dates, model};
  OrvantaInAppPopopRuleParser parser{dates, records};
  std::atomic<bool> reachable{true};
  // The process-wide launch event, one per test here.
  std::atomic<std::int64_t> popupEvent{kPopupEventNone};
  OpenInService openIn{std::make_unique<OpenInService::Impl>(*platform->appHost)};
  OrvantaPopupManager::GetService getService;
  // The popups' reports; kept in reports() unless a test sends them on.
  OrvantaPopupManager::PostService postService = [this](const std::string& method, const Map& info, StatusBlock) {
    std::lock_guard lock(mutex_);
    reports_.push_back({method, info});
  };
  OrvantaPopupManager manager{
      model, dates, *platform->appHost, parser, records, *platform->mainQueue, *platform->views, openIn, popupEvent,
      logger, rulesBaseUrl,
      [this](const std::string& url, auto answered) { getService(url, std::move(answered)); },
      [this](const std::string& method, const Map& info, StatusBlock block) { postService(method, info, block); },
      [this] { return reachable.load(); }};

 private:
  mutable std::mutex mutex_;
  std::vector<Report> reports_;
  std::vector<PopupTrace> traces_;
};

}  // namespace orvanta::testing
