// Notification intake: launch options, remote and local notifications, the
// user's responses, foreground presentations and the service extension.
#include "orvanta/push_task_manager.h"

#include <string_view>
#include <utility>

#include "notifications/notification_categories.h"
#include "notifications/notification_payload.h"
#include "notifications/push_task_manager_impl.h"

namespace orvanta {
namespace {

// A notification that launched the app, or that the user opened from the
// background, is opened this much later on the main queue.
constexpr double kOpeningDelaySeconds = 0.5;
// A response in the foreground is opened on the main queue's next turn.
constexpr double kNextTurnSeconds = 0.0;
// Before "10.0" a notification in the foreground is not shown by the system,
// and before "8.2" a local notification has no title.
constexpr const char* kForegroundAlertsVersion = "10.0";
constexpr const char* kLocalTitlesVersion = "8.2";
constexpr double kLocalNotificationDelaySeconds = 1.0;

bool isDigit(char c) { return c >= '0' && c <= '9'; }

// The run of digits at the start of text, without its leading zeros.
std::string_view digitRun(std::string_view text, std::size_t& length) {
  length = 0;
  while (length < text.size() && isDigit(text[length])) ++length;
  std::string_view run = text.substr(0, length);
  while (run.size() > 1 && run.front() == '0') run.remove_prefix(1);
  return run;
}

// Version texts compared as the platform's numeric search compares them:
// runs of digits by their value, other characters one by one, and a text
// that runs out first comes first; so "9.3" < "10.0" and "10" < "10.0".
bool versionBelow(std::string_view version, std::string_view bound) {
  while (!version.empty() && !bound.empty()) {
    if (isDigit(version.front()) && isDigit(bound.front())) {
      std::size_t versionLength = 0;
      std::size_t boundLength = 0;
      const std::string_view a = digitRun(version, versionLength);
      const std::string_view b = digitRun(bound, boundLength);
      if (a.size() != b.size()) return a.size() < b.size();
      if (a != b) return a < b;
      version.remove_prefix(versionLength);
      bound.remove_prefix(boundLength);
    } else {
      if (version.front() != bound.front()) return version.front() < bound.front();
      version.remove_prefix(1);
      bound.remove_prefix(1);
    }
  }
  return version.size() < bound.size();
}

}  // namespace

OrvantaPushTaskManager::OrvantaPushTaskManager(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}

OrvantaPushTaskManager::~OrvantaPushTaskManager() = default;

void OrvantaPushTaskManager::setDelegate(const std::shared_ptr<OrvantaPushTaskManagerDelegate>& delegate) {
  std::lock_guard lock(impl_->mutex);
  impl_->delegate = delegate;
}

std::shared_ptr<OrvantaPushTaskManagerDelegate> OrvantaPushTaskManager::delegate() const {
  std::lock_guard lock(impl_->mutex);
  return impl_->delegate.lock();
}

std::optional<Map> OrvantaPushTaskManager::options() const {
  std::lock_guard lock(impl_->mutex);
  return impl_->options;
}

bool OrvantaPushTaskManager::isNotificationOpened() const {
  std::lock_guard lock(impl_->mutex);
  return impl_->isNotificationOpened;
}

bool OrvantaPushTaskManager::isFromActionButton() const {
  std::lock_guard lock(impl_->mutex);
  return impl_->isFromActionButton;
}

void OrvantaPushTaskManager::setIsFromActionButton(bool value) {
  std::lock_guard lock(impl_->mutex);
  impl_->isFromActionButton = value;
}

void OrvantaPushTaskManager::handelApplicationLaunchEvent(const std::optional<Map>& launchOptions) {
  {
    std::lock_guard lock(impl_->mutex);
    impl_->options = launchOptions;
  }
  if (!launchOptions) return;
  const Value* launcher = launchOptions->find(kLaunchOptionsRemoteNotificationKey);
  if (launcher == nullptr) launcher = launchOptions->find(kLaunchOptionsLocalNotificationKey);
  if (launcher == nullptr) return;
  const Map* userInfo = launcher->asMap();
  if (userInfo == nullptr) {
    impl_->logger.log("the notification that launched the app is not a map: it is not opened");
    return;
  }
  impl_->mainQueue.postAfter(kOpeningDelaySeconds, [this, opened = *userInfo] { handleOpenAction(opened); });
}

void OrvantaPushTaskManager::didReceiveRemoteNotification(const Map& userInfo) {
  if (impl_->appHost.applicationState() == ApplicationState::Background) return;
  {
    std::lock_guard lock(impl_->mutex);
    // Flipped, not set: a second notification in a row undoes the first.
    impl_->isNotificationOpened = !impl_->isNotificationOpened;
    impl_->isFromActionButton = false;
  }
  handleRemoteNotification(userInfo);
}

void OrvantaPushTaskManager::handleRemoteNotification(const Map& userInfo) {
  if (!notification_payload::isOursElseLog(userInfo, impl_->logger)) return;
  handleDeliverAction(userInfo);
  if (impl_->appHost.applicationState() == ApplicationState::Active) {
    showInForeground(userInfo);
  } else if (isNotificationOpened()) {
    impl_->mainQueue.postAfter(kOpeningDelaySeconds, [this, userInfo] { handleOpenAction(userInfo); });
  }
}

void OrvantaPushTaskManager::showInForeground(const Map& userInfo) {
  const std::string version = impl_->appHost.systemVersion();
  if (!versionBelow(version, kForegroundAlertsVersion)) return;
  notification_payload::Alert alert = notification_payload::alert(userInfo);
  LocalNotification local;
  if (!versionBelow(version, kLocalTitlesVersion)) local.title = std::move(alert.title);
  local.body = std::move(alert.body);
  local.userInfo = userInfo;
  local.fireAfterSeconds = kLocalNotificationDelaySeconds;
  impl_->notificationCenter.scheduleLocalNotification(std::move(local));
}

void OrvantaPushTaskManager::didReceiveLocalNotification(const Map& userInfo) {
  if (impl_->appHost.applicationState() == ApplicationState::Active) return;
  handleOpenAction(userInfo);
}

void OrvantaPushTaskManager::userNotificationdidReceiveNotificationResponse(const NotificationRequest& notification) {
  bool launchedByIt = false;
  {
    std::lock_guard lock(impl_->mutex);
    // The launch path opens the notification that launched the app.
    launchedByIt = impl_->options.has_value();
    impl_->options.reset();
  }
  if (launchedByIt) return;
  const bool local = notification.identifier == kLocalNotificationIdentifier;
  if (impl_->appHost.applicationState() != ApplicationState::Active) {
    local ? handleOpenAction(notification.userInfo) : handleRemoteNotification(notification.userInfo);
  } else if (local) {
    handleOpenAction(notification.userInfo);
  } else {
    impl_->mainQueue.postAfter(kNextTurnSeconds,
                               [this, opened = notification.userInfo] { handleOpenAction(opened); });
  }
}

void OrvantaPushTaskManager::userNotificationWillPresentNotification(const NotificationRequest& notification) {
  if (notification.identifier == kLocalNotificationIdentifier) handleOpenAction(notification.userInfo);
}

void OrvantaPushTaskManager::didReceiveNotificationRequest(const NotificationRequest& request) {
  didReceiveRemoteNotification(request.userInfo);
  impl_->notificationCenter.setCategories({categoryFor(request, impl_->logger)});
}

}  // namespace orvanta
