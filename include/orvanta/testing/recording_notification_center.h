#pragma once

#include <mutex>
#include <optional>
#include <vector>

#include "orvanta/platform/notification_center.h"

namespace orvanta::testing {

// Records what the library asks of the notification centre. Authorization
// requests are answered at once, on the caller's thread, with `granted`. The
// test plays the user through respond and present.
class RecordingNotificationCenter : public NotificationCenter {
 public:
  void requestAuthorization(int options, AuthorizationCompletion completion) override;
  void registerUserNotificationSettings(int types) override;
  void setCategories(std::vector<NotificationCategory> categories) override;
  void scheduleLocalNotification(LocalNotification notification) override;
  void setDelegate(NotificationCenterDelegate delegate) override;

  void setGranted(bool granted);
  std::vector<int> authorizationRequests() const;
  std::vector<int> settingsRegistrations() const;
  // The categories of the last registration.
  std::vector<NotificationCategory> categories() const;
  // Every registration, oldest first.
  std::vector<std::vector<NotificationCategory>> categoryRegistrations() const;
  std::vector<LocalNotification> localNotifications() const;

  // The user opens notification: handed to the delegate, on this thread.
  // False when no delegate takes responses.
  bool respond(const NotificationRequest& notification);
  // notification arrives in the foreground: the option bits the delegate
  // answered, nullopt when none did (by the time this returns).
  std::optional<int> present(const NotificationRequest& notification);

 private:
  mutable std::mutex mutex_;
  bool granted_ = true;
  std::vector<int> authorizationRequests_;
  std::vector<int> settingsRegistrations_;
  std::vector<std::vector<NotificationCategory>> categoryRegistrations_;
  std::vector<LocalNotification> localNotifications_;
  // Held while the delegate runs, so that replacing it waits for a call in
  // progress; apart from mutex_, which the delegate's own calls here take.
  std::mutex delegateMutex_;
  NotificationCenterDelegate delegate_;
};

}  // namespace orvanta::testing
