// The notification category the app registers for a notification that the
// service extension has prepared: its action buttons, or the carousel's.
#pragma once

#include "base/logger.h"
#include "orvanta/platform/notification_center.h"

namespace orvanta {

// "trevanicPush" with one foreground action per entry of "payload" ->
// "actionButton" (identifier: its "actionDeeplink", title: its "actionName",
// each as text, trimmed); else, for a request of category "trevanicPush"
// with carousel items, "trevanicPushCategory" with "Next" and "Previous";
// else "trevanicPush" without actions. An "actionButton" that is not an
// array, or entries without both texts, are left out with one log line.
NotificationCategory categoryFor(const NotificationRequest& request, const Logger& logger);

}  // namespace orvanta
