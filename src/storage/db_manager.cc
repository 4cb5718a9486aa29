#include "storage/db_manager.h"

#include <cassert>

#include "device/reachability.h"
#include "net/web_service_handler.h"
#include "orvanta/runtime.h"
#include "storage/database_source.h"

namespace orvanta {
namespace {
constexpr double kReplayInterval = 2.0;
}  // namespace

DBManager::DBManager(Runtime& runtime) : runtime_(runtime), hub_(runtime.notificationHub()) {
  DatabaseSource& database = runtime_.databaseSource();
  database.createDatabase();
  // Before any replay: what an earlier process left in flight joins the
  // queue behind what it had already queued.
  database.recoverJournal();
  observer_ = hub_.addObserver(kReachabilityChangedNotification, [this](const void*) { networkChanged(); });
  internetReachability_ = Reachability::reachabilityForInternetConnection(runtime_);
  internetReachability_->startNotifier();
  scheduleSync(kReplayInterval);
}

DBManager::~DBManager() {
  internetReachability_->stopNotifier();
  hub_.removeObserver(observer_);
}

DBManager& DBManager::sharedInstance() { return Runtime::shared().dbManager(); }

bool DBManager::checkNetWorkConnection() const {
  return internetReachability_->currentReachabilityStatus() != NetworkStatusNone;
}

void DBManager::networkChanged() { scheduleSync(0); }

void DBManager::scheduleSync(double delaySeconds) {
  runtime_.platform().mainQueue->postAfter(delaySeconds, [this] { syncOfflineData(); });
}

void DBManager::syncOfflineData() {
  MainQueue& mainQueue = *runtime_.platform().mainQueue;
  if (!mainQueue.isCurrent()) {
    mainQueue.post([this] { syncOfflineData(); });
    return;
  }
  if (isSyncing_) return;
  if (!checkNetWorkConnection()) return;
  setIsSyncing(true);
  const std::optional<OrvantaEventModel> event = runtime_.databaseSource().getEvent();
  if (!event) {
    setIsSyncing(false);
    return;
  }
  // Sent exactly as stored. The answer comes on a network thread; the flag
  // and the schedule belong to the main queue.
  runtime_.webServiceHandler().postRequestDataToTheServer(
      event->strEventName, event->strEventData, [this, id = event->eventID](int status) {
        runtime_.platform().mainQueue->post([this, id, status] { replayAnswered(id, status); });
      });
}

void DBManager::replayAnswered(std::int64_t eventID, int status) {
  if (status == 200) runtime_.databaseSource().deleteData(eventID);
  setIsSyncing(false);
  scheduleSync(kReplayInterval);
}

void DBManager::addEvent(const std::string& name, const std::string& data) {
  runtime_.databaseSource().addEvent(name, data);
  scheduleSync(kReplayInterval);
}

bool DBManager::isSyncing() const { return isSyncing_; }

void DBManager::setIsSyncing(bool syncing) {
  assert(runtime_.platform().mainQueue->isCurrent());
  isSyncing_ = syncing;
}

Reachability* DBManager::internetReachability() const { return internetReachability_.get(); }

std::optional<std::int64_t> DBManager::recordInFlight(const std::string& method, const std::string& params) {
  return runtime_.databaseSource().journalEvent(method, params);
}

void DBManager::settleInFlight(std::optional<std::int64_t> ticket, const std::string& method, const std::string& params,
                               int status) {
  DatabaseSource& database = runtime_.databaseSource();
  if (status == 200) {
    if (ticket) database.dropJournaled(*ticket);
    return;
  }
  if (ticket && database.moveJournaledToQueue(*ticket)) {
    scheduleSync(kReplayInterval);
    return;
  }
  addEvent(method, params);
}

}  // namespace orvanta
