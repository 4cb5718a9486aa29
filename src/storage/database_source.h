// The client's SQLite database: the offline queue (OfflineEvents), the
// notification inbox (trv_notifications) and the in-flight journal.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "base/logger.h"
#include "device/date_formator.h"
#include "device/file_utilities.h"
#include "orvanta/value.h"
#include "storage/event_model.h"
#include "storage/sqlite_handles.h"
#include "storage/wal_checkpointer.h"

namespace orvanta {

// The file is "OrvantaOfflineStore.sqlite" in the folder
// "OrvantaDatabase" of the documents folder.
//
// Threads: every operation may be called from any thread; all of them run
// under one lock, so each sees the effects of the ones before it whole.
//
// Connection: one connection stays open from the first operation on (WAL
// mode, synchronous=NORMAL) and every operation uses it, where the queue
// operations are defined to open and close a connection each time and the
// inbox operations a private one. What callers see is unchanged: the
// DBConnection handle keeps its defined life (opened by openDBConnection and
// at the start of each queue operation, closed at the end of a successful
// one, left open by a failed insert or delete), IsDatabaseOpen and
// closeDBConnection answer accordingly, and a rolled-back or failed open
// fails the operations the same way. Only an explicit closeDBConnection
// really closes the connection; the next operation opens it again.
//
// Durability: a committed row survives the death of the process (commits are
// written to the log before they return). With synchronous=NORMAL the last
// commits before a power loss may be lost. No commit waits for an fsync or a
// checkpoint: those run on the checkpointer's thread, beside the operations
// (SQLite's WAL locking keeps them apart), and take the lock only to start
// the log over.
class DatabaseSource {
 public:
  // files finds the file; dates stamps inbox rows; logger tells of a message
  // that could not be journaled. All three must outlive this object.
  DatabaseSource(FileUtilities& files, DateFormator& dates, const Logger& logger);
  ~DatabaseSource();
  DatabaseSource(const DatabaseSource&) = delete;
  DatabaseSource& operator=(const DatabaseSource&) = delete;

  // Makes the folder, and when no file exists yet the file with both tables
  // (and the journal) in one transaction; an existing file only gains
  // trv_notifications (and the journal) if it lacks them: OfflineEvents is
  // never created in an existing file. A file that holds no table at all
  // counts as not existing. Errors ignored.
  void createDatabase();
  void createNewTablesInDatabase();

  // The DBConnection handle: openDBConnection answers whether it opened;
  // getDBConnection answers it after openDBConnection, or nullptr when that
  // failed. IsDatabaseOpen: it is set. closeDBConnection: false when it was
  // not set, else closes it and answers true. The handle is the connection
  // every operation uses: whoever uses it directly must keep other threads
  // from using this object meanwhile.
  bool openDBConnection();
  bool IsDatabaseOpen() const;
  bool closeDBConnection();
  sqlite3* getDBConnection();
  // The handle as it stands (nullptr when not open), without opening it.
  sqlite3* DBConnection() const;

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

  // The inbox. A notification is keyed by the text at "payload" -> "trid";
  // one without a text there is treated as already delivered.
  // NotificationReceived stores it with status, unless its trid is among the
  // 10 newest rows (or it has none): then it is marked "read" instead.
  // NotificationOpened sets status on every row whose ID begins with the trid.
  void NotificationReceived(const Map& notification, const std::string& status);
  void NotificationOpened(const Map& notification, const std::string& status);
  // Looked up among the 10 newest rows only.
  bool isTRIDPresent(const std::string& trid);
  bool isTRIDOpened(const std::string& trid);
  // The 10 newest rows, newest first: maps of "ID" (absent when null),
  // "MessageData" (the stored notification), "DeliverTime", "Status".
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

 private:
  std::string databasePath() const;
  // The long-lived connection, opened on first use; nullptr when the file
  // cannot be opened.
  sqlite3* connection();
  bool openDBConnectionLocked();
  sqlite3* getDBConnectionLocked();
  void createInboxTable();
  bool holdsNoTable();
  Array receivedNotifications();
  void notificationOpened(const Map& notification, const std::string& status);

  FileUtilities& files_;
  DateFormator& dates_;
  const Logger& logger_;
  mutable std::mutex mutex_;
  // Declared before connection_, which must go first.
  std::unique_ptr<WalCheckpointer> checkpointer_;
  sqlite::Connection connection_;
  // Whether the DBConnection handle is set, as callers of the queue
  // operations see it (see the class comment).
  bool dbConnectionSet_ = false;
};

}  // namespace orvanta
