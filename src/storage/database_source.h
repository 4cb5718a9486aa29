// The client's SQLite database: the offline queue (OfflineEvents), the
// notification inbox (trv_notifications) and the in-flight journal.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "base/logger.h"
#include "device/date_formator.h"
#include "device/file_utilities.h"
#include "orvanta/value.h"
#include "storage/database.h"
#include "storage/event_model.h"
#include "storage/inbox_reports.h"
#include "storage/inflight_journal.h"
#include "storage/notification_inbox.h"
#include "storage/offline_queue.h"

namespace orvanta {

// Every operation the rest of the client asks of its database, each handed
// to the room that owns its table:
//   Database          the one connection and its lock (database.h)
//   OfflineQueue      OfflineEvents and the DBConnection handle (offline_queue.h)
//   NotificationInbox trv_notifications (notification_inbox.h)
//   InFlightJournal   OrvantaInFlightEvents (inflight_journal.h)
//   InboxReports      an inbox change with its report's journal row, in one
//                     transaction (inbox_reports.h)
//   schema            the tables themselves (schema.h)
//   damaged_file      what is read of a damaged file, and setting it aside
//                     (damaged_file.h; Database replaces such a file)
// The statement texts are the system's own, byte for byte, and live beside
// the code that runs them.
//
// The file is "OrvantaOfflineStore.sqlite" in the folder "OrvantaDatabase" of
// the documents folder.
//
// Threads: every operation may be called from any thread; all of them run
// under the one lock, so each sees the effects of the ones before it whole.
//
// Connection: one connection stays open from the first operation on and
// every operation uses it, where the queue operations are defined to open
// and close a connection each time and the inbox operations a private one.
// What callers see is unchanged: the DBConnection handle keeps its defined
// life (set by openDBConnection and at the start of each queue operation,
// cleared at the end of a successful one, left set by a failed insert or
// delete), IsDatabaseOpen and closeDBConnection answer by it, and a failed
// open fails the operations the same way. Only an explicit closeDBConnection
// really closes the connection; the next operation opens it again.
//
// Durability: a committed row survives the death of the process (commits are
// written to the log before they return). With synchronous=NORMAL the last
// commits before a power loss may be lost. No commit waits for an fsync or a
// checkpoint: those run on the checkpointer's thread.
class DatabaseSource {
 public:
  // files finds the file; dates stamps inbox rows and a damaged file's name;
  // logger tells of a message that could not be journaled and of a damaged
  // file. All three must outlive this object.
  DatabaseSource(FileUtilities& files, DateFormator& dates, const Logger& logger);
  DatabaseSource(const DatabaseSource&) = delete;
  DatabaseSource& operator=(const DatabaseSource&) = delete;

  // Makes the folder, and when no file exists yet the file with every table
  // in one transaction; an existing file only gains trv_notifications (and
  // the journal) if it lacks them: OfflineEvents is never created in an
  // existing file. A file that holds no table at all counts as not existing.
  // Errors ignored.
  void createDatabase();
  // Ensures trv_notifications alone.
  void createNewTablesInDatabase();

  // The DBConnection handle (see OfflineQueue). openDBConnection sets it and
  // answers whether the connection is open. IsDatabaseOpen: it is set.
  // closeDBConnection: false when it was not set, else clears it, closes the
  // connection and answers true. getDBConnection sets it and runs work with
  // the connection under the lock (nullptr when it cannot be opened), for
  // tools and tests that must reach SQLite itself; work must neither keep the
  // connection nor call this object.
  bool openDBConnection();
  bool IsDatabaseOpen() const;
  bool closeDBConnection();
  void getDBConnection(const std::function<void(sqlite3*)>& work);

  // The queue. addEvent: whether the row was stored. deleteData: false when
  // the statement failed, true when it ran, and true as well when no
  // connection could be opened. getEvent: the row with the lowest ID, or
  // nullopt when the queue is empty or unreadable.
  bool addEvent(const std::string& name, const std::string& data);
  bool deleteData(std::int64_t id);
  std::optional<OrvantaEventModel> getEvent();
  // Every queued row, oldest first; nullopt when the queue cannot be read
  // (no file, no table). For tools that show the queue; leaves DBConnection
  // as it was.
  std::optional<std::vector<OrvantaEventModel>> getAllEvents();

  // The inbox (see NotificationInbox).
  void NotificationReceived(const Map& notification, const std::string& status);
  void NotificationOpened(const Map& notification, const std::string& status);
  bool isTRIDPresent(const std::string& trid);
  bool isTRIDOpened(const std::string& trid);
  Array GetAllReceivedNotifications();
  bool DeleteAllReceivedNotifications();

  // The in-flight journal: a message between its first send and the answer.
  // journalEvent answers the row's ticket, nullopt (and a log line) when it
  // could not be written. dropJournaled removes it (whether a row went).
  // moveJournaledToQueue moves it to the end of OfflineEvents in one
  // transaction (whether it did; on failure the row stays in the journal).
  // recoverJournal moves every journal row to the end of OfflineEvents,
  // oldest first, in one transaction, and answers how many; 0 and nothing
  // moved on failure.
  std::optional<std::int64_t> journalEvent(const std::string& name, const std::string& data);
  bool dropJournaled(std::int64_t id);
  bool moveJournaledToQueue(std::int64_t id);
  int recoverJournal();

  // A notification's delivery or opening together with the report it
  // decides (see InboxReports): the inbox row and the report's journal row
  // are written in one transaction, or neither is. The report is then sent
  // with the answered ticket and settled as every journaled message is.
  InboxWrite recordDelivery(const Map& notification, const std::string& status,
                            const std::optional<JournalEntry>& report);
  InboxWrite recordOpening(const std::string& trid, const std::string& status, const JournalEntry& report);

 private:
  // Declared first: the rooms use it.
  Database database_;
  OfflineQueue queue_;
  NotificationInbox inbox_;
  InFlightJournal journal_;
  InboxReports reports_;
};

}  // namespace orvanta
