#include "notifications/notification_categories.h"

#include <optional>
#include <string>

#include "device/string_helpers.h"
#include "notifications/notification_payload.h"
#include "orvanta/push_task_manager.h"

namespace orvanta {
namespace {

constexpr const char* kButtonsCategory = "trevanicPush";
constexpr const char* kCarouselCategory = "trevanicPushCategory";

// The array under key of the payload section, or nullptr.
const Array* payloadArray(const NotificationRequest& request, const char* key) {
  const Map* payload = notification_payload::section(request.userInfo);
  const Value* value = payload ? payload->find(key) : nullptr;
  return value ? value->asArray() : nullptr;
}

std::optional<NotificationAction> buttonAction(const Value& entry) {
  const Map* button = entry.asMap();
  if (button == nullptr) return std::nullopt;
  const auto link = OrvantaPushTaskManager::getValueForKey("actionDeeplink", *button);
  const auto name = OrvantaPushTaskManager::getValueForKey("actionName", *button);
  if (!link || !name) return std::nullopt;
  return NotificationAction{removeblankSpace(*link), removeblankSpace(*name), kNotificationActionOptionForeground};
}

NotificationCategory buttonsCategory(const Array& buttons, const Logger& logger) {
  NotificationCategory category{kButtonsCategory, {}};
  for (const Value& entry : buttons) {
    if (auto action = buttonAction(entry)) category.actions.push_back(std::move(*action));
  }
  if (const std::size_t left = buttons.size() - category.actions.size()) {
    logger.log(std::to_string(left) + " of the notification's action buttons left out: an entry needs an " +
               "\"actionDeeplink\" and an \"actionName\"");
  }
  return category;
}

NotificationAction carouselAction(const char* name) {
  return {name, name, kNotificationActionOptionAuthenticationRequired};
}

}  // namespace

NotificationCategory categoryFor(const NotificationRequest& request, const Logger& logger) {
  const Map* payload = notification_payload::section(request.userInfo);
  if (payload != nullptr && payload->contains("actionButton") && !payloadArray(request, "actionButton")) {
    logger.log("the notification's \"actionButton\" is not an array: no action buttons");
  }
  if (const Array* buttons = payloadArray(request, "actionButton"); buttons && !buttons->empty()) {
    return buttonsCategory(*buttons, logger);
  }
  const Array* carousel = payloadArray(request, "carousel");
  if (request.categoryIdentifier == kButtonsCategory && carousel && !carousel->empty()) {
    return {kCarouselCategory, {carouselAction("Next"), carouselAction("Previous")}};
  }
  return {kButtonsCategory, {}};
}

}  // namespace orvanta
