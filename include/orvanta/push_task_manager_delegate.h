// What the host application learns when one of the library's notifications
// is opened.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "orvanta/value.h"

namespace orvanta {

// The host owns its delegate and hands OrvantaPushTaskManager a shared
// pointer to it; the manager keeps only a weak one, so a delegate the host
// has let go of is no longer called, and never called once destroyed.
struct OrvantaPushTaskManagerDelegate {
  // Optional; left empty, the delegate does not implement it, and links of
  // the app's own URL schemes are dropped. Called with the notification
  // (its whole user info) and its link, or nullopt when it carries none, on
  // the thread that handles the notification (the caller's, or the main
  // queue for delayed openings). The link's query parameters are already the
  // attribution of later messages when it is called.
  std::function<void(const Map& notification, const std::optional<std::string>& deepLink)>
      handleNotificationOpenAction;
};

}  // namespace orvanta
