// What the popup's page reports to the tracking server, and the link it opens.
#include "inapp/popup_manager.h"
#include "inapp/value_readings.h"
#include "net/url_encoding.h"

namespace orvanta {
namespace {

constexpr const char* kReportMethod = "app_activity";
constexpr const char* kMake = "apple";
constexpr std::int64_t kPopupShown = 41;
constexpr std::int64_t kPopupClicked = 42;
constexpr std::int64_t kPopupClosed = 43;

}  // namespace

void OrvantaPopupManager::advertisementShow(const OrvantaInAppRules* rule) {
  sendEventToServer(kPopupShown, rule, "");
}

void OrvantaPopupManager::advertisementClose(const OrvantaInAppRules* rule) {
  sendEventToServer(kPopupClosed, rule, "");
  close();
}

void OrvantaPopupManager::advertisementClicked(const OrvantaInAppRules* rule, const std::string& trvValue) {
  // close() drops the page that handed in the rule and the value: keep the value.
  const std::string value = trvValue;
  sendEventToServer(kPopupClicked, rule, value);
  close();
  if (!value.empty()) openIn_.openIn(percentEncodeURLQuery(value));
}

void OrvantaPopupManager::sendEventToServer(std::int64_t eventId, const OrvantaInAppRules* rule,
                                            const std::string& trvValue) {
  Map item;
  if (rule && rule->strRuleId) {
    item.set("i^mid", leadingInteger(*rule->strRuleId));
  } else {
    item.set("i^mid", "");
  }
  if (!trvValue.empty()) item.set("s^trv-c2a", trvValue);
  Map report;
  report.set("eventid", eventId);
  report.set("payload", Array{Value(std::move(item))});
  report.set("make", kMake);
  report.set("model", deviceModel_);
  postService_(kReportMethod, report, {});
}

}  // namespace orvanta
