#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include "cli/output.h"
#include "orvanta/platform/notification_center.h"

namespace orvanta::cli {

// The simulated app's notification centre. Registered categories and
// scheduled local notifications are printed, not shown:
//   categories NAME [ACTION_ID, ...]
//   local-notification TITLE | BODY
// The commands play the user through respond and present, which reach the
// delegate the runtime installed. Permission requests go to the Linux centre.
class SimulatedNotificationCenter final : public NotificationCenter {
 public:
  SimulatedNotificationCenter(std::shared_ptr<NotificationCenter> inner, std::shared_ptr<Output> output)
      : inner_(std::move(inner)), output_(std::move(output)) {}

  void requestAuthorization(int options, AuthorizationCompletion completion) override {
    inner_->requestAuthorization(options, std::move(completion));
  }
  void registerUserNotificationSettings(int types) override { inner_->registerUserNotificationSettings(types); }
  void setCategories(std::vector<NotificationCategory> categories) override;
  void scheduleLocalNotification(LocalNotification notification) override;
  void setDelegate(NotificationCenterDelegate delegate) override;

  // The user opens notification; false when no runtime takes responses.
  bool respond(const NotificationRequest& notification);
  // notification arrives in the foreground; false when no runtime takes it.
  bool present(const NotificationRequest& notification);

 private:
  const std::shared_ptr<NotificationCenter> inner_;
  const std::shared_ptr<Output> output_;
  // Held while the delegate runs, so that replacing it waits for the call.
  std::mutex mutex_;
  NotificationCenterDelegate delegate_;
};

}  // namespace orvanta::cli
