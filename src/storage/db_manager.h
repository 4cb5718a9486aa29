// The offline queue: messages the server did not acknowledge are stored and
// replayed, oldest first, one at a time, while the network is reachable.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "base/notification_hub.h"
#include "orvanta/platform/main_queue.h"
#include "orvanta/platform/reachability_source.h"
#include "orvanta/status_block.h"

namespace orvanta {

class DatabaseSource;
class Reachability;

// Sends one stored message exactly as it was stored, then calls answered with
// the HTTP status (0 when no answer came), on any thread.
using ReplaySend = std::function<void(const std::string& method, const std::string& params, StatusBlock answered)>;

// The replay runs on the main queue: each run sends the oldest queued row
// and, once answered, schedules the next run 2 seconds later; a row is
// deleted only when the answer is 200, so a failing row is retried every 2
// seconds and holds back every younger one. A reachability change starts a
// run at once; when the network is unreachable a run does nothing.
//
// Crash safety: a message is journaled (recordInFlight) before its first
// send and settled (settleInFlight) by its answer, so a message whose first
// send is cut short by the death of the process is queued at the next start
// instead of lost; the server may then see it twice.
class DBManager {
 public:
  // Creates the database, moves journal rows left by an earlier process
  // into the queue, starts a reachability notifier on reachability, observes
  // its notification on hub and schedules the first run 2 seconds later.
  // database, mainQueue and hub must outlive this object; send is called from
  // the main queue.
  DBManager(DatabaseSource& database, MainQueue& mainQueue, NotificationHub& hub,
            std::shared_ptr<ReachabilitySource> reachability, ReplaySend send);
  // Stops observing and the notifier. The main queue must be stopped before,
  // so that no scheduled run outlives this object.
  ~DBManager();
  DBManager(const DBManager&) = delete;
  DBManager& operator=(const DBManager&) = delete;

  static DBManager& sharedInstance();

  // Whether the network is reachable now. Any thread.
  bool checkNetWorkConnection() const;
  // Schedules a run at once. Any thread.
  void networkChanged();
  // One run (see the class comment). Called off the main queue, it posts
  // itself there instead.
  void syncOfflineData();
  // Stores the message at the end of the queue (the result is not checked)
  // and schedules a run 2 seconds later. Any thread.
  void addEvent(const std::string& name, const std::string& data);

  // True while a replayed message awaits its answer. Main queue only.
  bool isSyncing() const;
  void setIsSyncing(bool syncing);

  // Journals a message about to be sent for the first time, on the caller's
  // thread (one short transaction). Answers the ticket for settleInFlight,
  // nullopt when it could not be journaled.
  std::optional<std::int64_t> recordInFlight(const std::string& method, const std::string& params);
  // The first send of a message was answered with status. 200: its journal
  // row goes. Anything else: the row moves into the queue in one
  // transaction (without a ticket, or when the move fails, the message is
  // queued with addEvent) and a run is scheduled 2 seconds later, as addEvent
  // does. Any thread.
  void settleInFlight(std::optional<std::int64_t> ticket, const std::string& method, const std::string& params,
                      int status);

 private:
  void scheduleSync(double delaySeconds);
  void replayAnswered();

  DatabaseSource& database_;
  MainQueue& mainQueue_;
  NotificationHub& hub_;
  const ReplaySend send_;
  std::unique_ptr<Reachability> internetReachability_;
  NotificationHub::Token observer_ = 0;
  bool isSyncing_ = false;  // main queue only
};

}  // namespace orvanta
