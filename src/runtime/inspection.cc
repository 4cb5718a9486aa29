#include "orvanta/inspection.h"

#include "base/logger.h"
#include "core/comman_methods.h"
#include "device/date_formator.h"
#include "device/file_utilities.h"
#include "storage/database_source.h"

namespace orvanta {

struct Inspection::Impl {
  Impl(const Platform& platform, const Config& config)
      : logger(config.logPrefix),
        dates(*platform.clock, [] { return std::optional<Date>(); }),
        files(*platform.paths),
        database(files, dates, logger) {
    database.createDatabase();
  }

  const Logger logger;
  DateFormator dates;
  FileUtilities files;
  DatabaseSource database;
};

Inspection::Inspection(const Platform& platform, const Config& config)
    : impl_(std::make_unique<Impl>(platform, config)) {}

Inspection::~Inspection() = default;

std::optional<std::vector<QueuedMessage>> Inspection::queuedMessages() const {
  auto events = impl_->database.getAllEvents();
  if (!events) return std::nullopt;
  std::vector<QueuedMessage> messages;
  messages.reserve(events->size());
  for (auto& event : *events) {
    messages.push_back({event.eventID, std::move(event.strEventName), std::move(event.strEventData)});
  }
  return messages;
}

Array Inspection::notifications() const { return impl_->database.GetAllReceivedNotifications(); }

const std::vector<std::string>& Inspection::storedSettingKeys() {
  using namespace settings_key;
  static const std::vector<std::string> keys{
      kPushId,       kSessionId,    kAppId,     kAppVersion, kOSVersion,        kIdentity,   kToken,     kOldToken,
      kFirstLaunch,  kHasRunAppOnce, kAttribution, kUserAgent, kTRID, kAppGroupFallback, kPopupRules,
  };
  return keys;
}

}  // namespace orvanta
