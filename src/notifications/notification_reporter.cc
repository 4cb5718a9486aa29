#include "notifications/notification_reporter.h"

#include <optional>

#include "core/comman_methods.h"
#include "net/web_service_handler.h"
#include "storage/database_source.h"

namespace orvanta {
namespace {

constexpr const char* kDeliverMethod = "pn_deliver";
constexpr const char* kOpenMethod = "pn_open";
constexpr int kDeliverEventId = 12;
constexpr int kOpenEventId = 13;
constexpr const char* kUnread = "unread";
constexpr const char* kRead = "read";

}  // namespace

NotificationReporter::NotificationReporter(DatabaseSource& database, OrvantaWebServiceHandler& handler,
                                           OrvantaCommanMethods& settings, const SettingsStore& standardSettings,
                                           const Logger& logger)
    : database_(database),
      handler_(handler),
      settings_(settings),
      standardSettings_(standardSettings),
      logger_(logger) {}

bool NotificationReporter::isDelivered(const std::string& trid) { return database_.isTRIDPresent(trid); }

bool NotificationReporter::isOpened(const std::string& trid) { return database_.isTRIDOpened(trid); }

bool NotificationReporter::deliver(const Map& notification, const std::string& trid) {
  // The extension reports the deliveries it processes in its own process.
  const bool reportedByExtension = standardSettings_.get(settings_key::kTRID) == std::optional<Value>(trid);
  std::optional<JournalEntry> report;
  if (!reportedByExtension) report = JournalEntry{kDeliverMethod, message(kDeliverEventId, "delivered", trid)};
  const InboxWrite write = database_.recordDelivery(notification, kUnread, report);
  if (write.outcome == InboxWrite::Outcome::Unchanged) return false;
  if (report) send(report->method, report->params, write);
  return true;
}

void NotificationReporter::open(const std::string& trid) {
  const JournalEntry report{kOpenMethod, message(kOpenEventId, "open", trid)};
  const InboxWrite write = database_.recordOpening(trid, kRead, report);
  if (write.outcome == InboxWrite::Outcome::Unchanged) return;
  send(report.method, report.params, write);
}

std::string NotificationReporter::message(int eventId, const char* action, const std::string& trid) {
  return handler_.prepareTrackingMessage(
      Map{{"eventid", eventId}, {"action", action}, {"trid", trid}, {"token", settings_.getDeviceToken()}});
}

void NotificationReporter::send(const std::string& method, const std::string& params, const InboxWrite& write) {
  if (write.outcome == InboxWrite::Outcome::Failed) {
    logger_.log("cannot record a notification in the inbox; its " + method +
                " report is sent unrecorded and a crash before its answer would lose it");
  }
  handler_.sendJournaled(method, params, write.ticket, nullptr);
}

}  // namespace orvanta
