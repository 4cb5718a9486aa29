// Every component of one runtime, in start-up order. Each is built from the
// platform, the config and the components above it, so a constructor cycle
// cannot be written; the few calls that run the other way (the launch event
// sent from the settings helper, the replay sent through the request layer,
// the notification centre's responses and presentations, the rules fetched
// again when a session starts) are callables that the runtime binds. Destruction runs in reverse order.
#pragma once

#include <atomic>
#include <cstdint>

#include "base/logger.h"
#include "base/notification_hub.h"
#include "core/client_identity.h"
#include "core/comman_methods.h"
#include "core/data_model.h"
#include "core/sessions.h"
#include "device/date_formator.h"
#include "device/file_utilities.h"
#include "device/location_tracker.h"
#include "inapp/frequency_record_store.h"
#include "inapp/popup_manager.h"
#include "inapp/rule_parser.h"
#include "net/web_service_handler.h"
#include "notifications/notification_reporter.h"
#include "orvanta/open_in_service.h"
#include "orvanta/push_task_manager.h"
#include "orvanta/runtime.h"
#include "storage/database_source.h"
#include "storage/db_manager.h"

namespace orvanta {

struct Runtime::Components {
  Components(const Platform& platform, const Config& config);

  const Logger logger;
  NotificationHub notificationHub;
  OrvantaDataModel dataModel;
  DateFormator dateFormator;
  FileUtilities fileUtilities;
  OrvantaCommanMethods commanMethods;
  ClientIdentity identity;
  Sessions sessions;
  DatabaseSource databaseSource;
  DBManager dbManager;
  OrvantaLocationTracker locationTracker;
  OrvantaWebServiceHandler webServiceHandler;
  NotificationReporter notificationReporter;
  OpenInService openInService;
  OrvantaPushTaskManager pushTaskManager;
  FrequencyRecordStore frequencyRecords;
  OrvantaInAppPopopRuleParser ruleParser;
  // The launch event waiting for this runtime's rules (see OrvantaPopupManager).
  std::atomic<std::int64_t> popupEvent;
  OrvantaPopupManager popupManager;
  OrvantaAppTracking appTracking;
  OrvantaInstallation installation;
  OrvantaSharedManager sharedManager;
};

Runtime::Components& internals(Runtime& runtime);

}  // namespace orvanta
