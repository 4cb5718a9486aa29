#include "orvanta/testing/recording_notification_center.h"

#include <memory>

namespace orvanta::testing {

void RecordingNotificationCenter::requestAuthorization(int options, AuthorizationCompletion completion) {
  bool granted;
  {
    std::lock_guard lock(mutex_);
    authorizationRequests_.push_back(options);
    granted = granted_;
  }
  if (completion) completion(granted);
}

void RecordingNotificationCenter::registerUserNotificationSettings(int types) {
  std::lock_guard lock(mutex_);
  settingsRegistrations_.push_back(types);
}

void RecordingNotificationCenter::setCategories(std::vector<NotificationCategory> categories) {
  std::lock_guard lock(mutex_);
  categoryRegistrations_.push_back(std::move(categories));
}

void RecordingNotificationCenter::scheduleLocalNotification(LocalNotification notification) {
  std::lock_guard lock(mutex_);
  localNotifications_.push_back(std::move(notification));
}

void RecordingNotificationCenter::setDelegate(NotificationCenterDelegate delegate) {
  std::lock_guard lock(delegateMutex_);
  delegate_ = std::move(delegate);
}

void RecordingNotificationCenter::setGranted(bool granted) {
  std::lock_guard lock(mutex_);
  granted_ = granted;
}

std::vector<int> RecordingNotificationCenter::authorizationRequests() const {
  std::lock_guard lock(mutex_);
  return authorizationRequests_;
}

std::vector<int> RecordingNotificationCenter::settingsRegistrations() const {
  std::lock_guard lock(mutex_);
  return settingsRegistrations_;
}

std::vector<NotificationCategory> RecordingNotificationCenter::categories() const {
  std::lock_guard lock(mutex_);
  return categoryRegistrations_.empty() ? std::vector<NotificationCategory>{} : categoryRegistrations_.back();
}

std::vector<std::vector<NotificationCategory>> RecordingNotificationCenter::categoryRegistrations() const {
  std::lock_guard lock(mutex_);
  return categoryRegistrations_;
}

std::vector<LocalNotification> RecordingNotificationCenter::localNotifications() const {
  std::lock_guard lock(mutex_);
  return localNotifications_;
}

bool RecordingNotificationCenter::respond(const NotificationRequest& notification) {
  std::lock_guard lock(delegateMutex_);
  if (!delegate_.didReceiveResponse) return false;
  delegate_.didReceiveResponse(notification);
  return true;
}

std::optional<int> RecordingNotificationCenter::present(const NotificationRequest& notification) {
  // Shared with the completion, which a delegate may keep and call late.
  auto answered = std::make_shared<std::optional<int>>();
  std::lock_guard lock(delegateMutex_);
  if (delegate_.willPresent) delegate_.willPresent(notification, [answered](int options) { *answered = options; });
  return *answered;
}

}  // namespace orvanta::testing
