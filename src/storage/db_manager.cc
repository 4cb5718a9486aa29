#include "storage/db_manager.h"

#include <cassert>
#include <utility>

#include "device/reachability.h"
#include "storage/database_source.h"

namespace orvanta {
namespace {
constexpr double kReplayInterval = 2.0;
}  // namespace

DBManager::DBManager(DatabaseSource& database, MainQueue& mainQueue, NotificationHub& hub,
                     std::shared_ptr<ReachabilitySource> reachability, ReplaySend send)
    : database_(database), mainQueue_(mainQueue), hub_(hub), send_(std::move(send)) {
  database_.createDatabase();
  // Before any replay: what an earlier process left in flight joins the
  // queue behind what it had already queued.
  database_.recoverJournal();
  observer_ = hub_.addObserver(kReachabilityChangedNotification, [this](const void*) { networkChanged(); });
  internetReachability_ = Reachability::reachabilityForInternetConnection(hub_, std::move(reachability));
  internetReachability_->startNotifier();
  scheduleSync(kReplayInterval);
}

DBManager::~DBManager() {
  internetReachability_->stopNotifier();
  hub_.removeObserver(observer_);
}

bool DBManager::checkNetWorkConnection() const {
  return internetReachability_->currentReachabilityStatus() != NetworkStatusNone;
}

void DBManager::networkChanged() { scheduleSync(0); }

void DBManager::scheduleSync(double delaySeconds) {
  mainQueue_.postAfter(delaySeconds, [this] { syncOfflineData(); });
}

void DBManager::syncOfflineData() {
  if (!mainQueue_.isCurrent()) {
    mainQueue_.post([this] { syncOfflineData(); });
    return;
  }
  if (isSyncing_) return;
  if (!checkNetWorkConnection()) return;
  setIsSyncing(true);
  const std::optional<OrvantaEventModel> event = database_.getEvent();
  if (!event) {
    setIsSyncing(false);
    return;
  }
  // Sent exactly as stored. The answer comes on a network thread. The row
  // goes there and then: a main-queue task may never run once the runtime is
  // going away, and the row would be sent again at the next start. The flag
  // (which keeps the next run from reading the row meanwhile) and the
  // schedule belong to the main queue.
  send_(event->strEventName, event->strEventData, [this, id = event->eventID](int status) {
    if (status == 200) database_.deleteData(id);
    mainQueue_.post([this] { replayAnswered(); });
  });
}

void DBManager::replayAnswered() {
  setIsSyncing(false);
  scheduleSync(kReplayInterval);
}

void DBManager::addEvent(const std::string& name, const std::string& data) {
  database_.addEvent(name, data);
  scheduleSync(kReplayInterval);
}

bool DBManager::isSyncing() const { return isSyncing_; }

void DBManager::setIsSyncing(bool syncing) {
  assert(mainQueue_.isCurrent());
  isSyncing_ = syncing;
}

std::optional<std::int64_t> DBManager::recordInFlight(const std::string& method, const std::string& params) {
  return database_.journalEvent(method, params);
}

void DBManager::settleInFlight(std::optional<std::int64_t> ticket, const std::string& method, const std::string& params,
                               int status) {
  if (status == 200) {
    if (ticket) database_.dropJournaled(*ticket);
    return;
  }
  if (ticket && database_.moveJournaledToQueue(*ticket)) {
    scheduleSync(kReplayInterval);
    return;
  }
  addEvent(method, params);
}

}  // namespace orvanta
