// What OrvantaPushTaskManager works through, and its state. The runtime
// builds it; hosts see only the manager's declaration.
#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "base/logger.h"
#include "orvanta/platform/app_host.h"
#include "orvanta/platform/main_queue.h"
#include "orvanta/platform/notification_center.h"
#include "orvanta/push_task_manager.h"
#include "orvanta/value.h"

namespace orvanta {

class NotificationReporter;
class OpenInService;
class Sessions;

struct OrvantaPushTaskManager::Impl {
  MainQueue& mainQueue;  // the delayed openings; stopped before the manager goes
  const AppHost& appHost;
  NotificationCenter& notificationCenter;
  NotificationReporter& reports;
  Sessions& sessions;
  OpenInService& openInService;
  const std::vector<std::string> urlSchemes;  // the app's declared URL schemes, in order
  const Logger& logger;

  // Host threads and the main queue meet here; the lock is never held while
  // anything else is called.
  mutable std::mutex mutex;
  std::optional<Map> options;
  bool isNotificationOpened = false;
  bool isFromActionButton = false;
  std::weak_ptr<OrvantaPushTaskManagerDelegate> delegate;
};

}  // namespace orvanta
