// Fetching the rules document, and the replay of a launch event that came
// before the rules.
#include <utility>

#include "base/logger.h"
#include "core/data_model.h"
#include "inapp/popup_event.h"
#include "inapp/popup_manager.h"
#include "inapp/rule_parser.h"

namespace orvanta {
namespace {

constexpr const char* kRulesPath = "inappactivity";

}  // namespace

void OrvantaPopupManager::getPopupConfigurationData() {
  // Registered again by every download; the handler only lays the page out,
  // so listening twice changes nothing.
  mainQueue_.post([this] {
    views_.setOrientationListener([this] { mainQueue_.post([this] { orientationChanged(); }); });
  });
  if (rulesBaseUrl_.empty()) {
    logger_.log("no rules server configured; in-app rules are not fetched");
    return;
  }
  const std::string url = rulesBaseUrl_ + kRulesPath + "/" + model_.strAppID() + ".json";
  // The runtime stops HTTP before it destroys this object, so the answer
  // never outlives it.
  getService_(url, [this](int status, std::optional<Value> document) { rulesArrived(status, std::move(document)); });
}

void OrvantaPopupManager::rulesArrived(int status, std::optional<Value> document) {
  // Any failure keeps the rules in force; the next session or start-up tries again.
  if (status != 200 || !document) {
    logger_.log("in-app rules not updated: the rules server answered " + std::to_string(status));
    return;
  }
  auto rules = std::make_shared<const RuleSet>(parser_.parserInAppRules(*document));
  {
    std::lock_guard lock(rulesMutex_);
    rules_ = std::move(rules);
  }
  if (const std::int64_t waiting = popupEvent_.load(); isLaunchEvent(waiting)) {
    mainQueue_.post([this] { replayLaunchEvent(); });
  }
}

void OrvantaPopupManager::replayLaunchEvent() {
  // Two downloads may both have seen the event waiting; only the first
  // replay takes it.
  const std::int64_t waiting = popupEvent_.exchange(0);
  if (isLaunchEvent(waiting)) showPopup(waiting, Array{});
}

}  // namespace orvanta
