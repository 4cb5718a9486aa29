// Delivered and opened: the inbox decides whether a notification is
// reported, and the report is made durable with the inbox change.
#include "notifications/notification_payload.h"
#include "notifications/notification_reporter.h"
#include "notifications/push_task_manager_impl.h"

namespace orvanta {

// Only the library's own notifications are stored and reported: a blank
// trid would otherwise match (and mark) every stored one.

void OrvantaPushTaskManager::handleDeliverAction(const Map& userInfo) {
  if (!notification_payload::isOursElseLog(userInfo, impl_->logger)) return;
  const std::string trid = *notification_payload::trid(userInfo);
  // Stored already, by this process or (between the look and the write)
  // another one: such a delivery counts as an opening.
  if (impl_->reports.isDelivered(trid) || !impl_->reports.deliver(userInfo, trid)) {
    if (!isNotificationOpened()) handleOpenAction(userInfo);
  }
}

void OrvantaPushTaskManager::handleOpenAction(const Map& userInfo) {
  if (!notification_payload::isOursElseLog(userInfo, impl_->logger)) return;
  const std::string trid = *notification_payload::trid(userInfo);
  if (impl_->reports.isOpened(trid)) return;
  const std::optional<std::string> deepLink = getValueForKey("deeplink", *notification_payload::section(userInfo));
  // The link first, so that the report carries the attribution it sets;
  // the inbox is marked with the report, after it.
  if (!isFromActionButton()) handleDeepLink(deepLink, userInfo);
  impl_->reports.open(trid);
}

}  // namespace orvanta
