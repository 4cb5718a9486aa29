// Notification intake: launch options, remote and local notifications, the
// user's responses, foreground presentations and the service extension.
#include "orvanta/push_task_manager.h"

#include <utility>

#include "notifications/notification_categories.h"
#include "notifications/notification_payload.h"
#include "notifications/push_task_manager_impl.h"
#include "notifications/version_order.h"

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
