// Every notification event of the host application passes through here: the
// launch options, remote and local notifications, the user's responses,
// foreground presentations, action buttons and the service extension. The
// library's own notifications are kept in the inbox and reported delivered
// and opened once each; their links go to the host's delegate or the system.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "orvanta/platform/notification_center.h"
#include "orvanta/push_task_manager_delegate.h"
#include "orvanta/value.h"

namespace orvanta {

// Launch-option keys: the notification whose tap launched the app (a map of
// its user info).
inline constexpr const char* kLaunchOptionsRemoteNotificationKey = "UIApplicationLaunchOptionsRemoteNotificationKey";
inline constexpr const char* kLaunchOptionsLocalNotificationKey = "UIApplicationLaunchOptionsLocalNotificationKey";
// The request identifier of a local notification to be treated as opened.
inline constexpr const char* kLocalNotificationIdentifier = "LocalNotification";

// One per Runtime, which builds it. Any thread: host calls run on the
// caller's thread, the delayed openings (0.5 s, 0.0 s) on the main queue.
// A payload of any shape is taken; one that is not the library's own is left
// alone with a log line saying why. Nothing throws.
class OrvantaPushTaskManager {
 public:
  // The library's side: the components it works through.
  struct Impl;
  explicit OrvantaPushTaskManager(std::unique_ptr<Impl> impl);
  ~OrvantaPushTaskManager();
  OrvantaPushTaskManager(const OrvantaPushTaskManager&) = delete;
  OrvantaPushTaskManager& operator=(const OrvantaPushTaskManager&) = delete;

  // The shared runtime's instance (see Runtime::shared).
  static OrvantaPushTaskManager& sharedInstance();

  // The delegate that gets links of the app's own schemes; kept weakly (see
  // OrvantaPushTaskManagerDelegate). nullptr clears it.
  void setDelegate(const std::shared_ptr<OrvantaPushTaskManagerDelegate>& delegate);
  std::shared_ptr<OrvantaPushTaskManagerDelegate> delegate() const;

  // Start-up hands the launch options here (OrvantaSharedManager::
  // handleApplicationLaunchEvent): they are kept as options, and a
  // notification that launched the app is opened 0.5 s later.
  void handelApplicationLaunchEvent(const std::optional<Map>& launchOptions);
  // A remote notification arrived (nothing happens in the background).
  void didReceiveRemoteNotification(const Map& userInfo);
  // A local notification arrived; opened unless the app is active.
  void didReceiveLocalNotification(const Map& userInfo);
  // The user opened a notification. Right after a launch from a notification
  // (options set) it only clears the options.
  void userNotificationdidReceiveNotificationResponse(const NotificationRequest& notification);
  // A notification arrives in the foreground: a "LocalNotification" is opened.
  void userNotificationWillPresentNotification(const NotificationRequest& notification);
  // The service extension prepared a notification: it is received, and the
  // app's one notification category is registered for it.
  void didReceiveNotificationRequest(const NotificationRequest& request);
  // The user tapped an action button of a remote notification: its link is
  // followed once and the notification reported opened; responseInfo is not
  // used.
  void handleActionWithIdentifier(const std::optional<std::string>& identifier, const Map& userInfo,
                                  const Map& responseInfo);

  // The steps the operations above are made of.
  void handleRemoteNotification(const Map& userInfo);
  // Stored as "unread" with its "pn_deliver" report, in one step; one already
  // stored is opened instead unless isNotificationOpened.
  void handleDeliverAction(const Map& userInfo);
  // Marked "read" with its "pn_open" report, in one step, once per
  // notification; its link is followed first unless isFromActionButton.
  void handleOpenAction(const Map& userInfo);
  // The link goes to the delegate when it belongs to the app (one of its
  // schemes and no "http" in it) and to the system otherwise.
  void handleDeepLink(const std::optional<std::string>& link, const Map& userInfo);
  // Whether one of the app's URL schemes occurs anywhere in link, ignoring
  // case (a substring test, not a prefix test).
  bool doesMatchURLScheme(const std::string& link) const;

  // True exactly when "payload" is a map whose "trid" is a string that is
  // not blank (and is UTF-8 without a NUL character).
  static bool isNotificationFromOrvanta(const Map& userInfo);
  // A string value as it is, a number as its decimal text (true and false as
  // 1 and 0); anything else, or no value, gives nullopt.
  static std::optional<std::string> getValueForKey(std::string_view key, const Map& dataDict);

  // The launch options last given, until the first response after them.
  std::optional<Map> options() const;
  // Flipped by every remote notification received outside the background.
  bool isNotificationOpened() const;
  // Set by an action button; while set, openings do not follow their link.
  bool isFromActionButton() const;

 private:
  void setIsFromActionButton(bool value);
  // Shows the notification's alert as a local notification on systems
  // before "10.0", which do not show it in the foreground themselves.
  void showInForeground(const Map& userInfo);

  const std::unique_ptr<Impl> impl_;
};

}  // namespace orvanta
