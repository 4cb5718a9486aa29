#include "storage/schema.h"

#include "storage/sqlite_handles.h"

namespace orvanta::schema {
namespace {

constexpr const char* kCreateQueue =
    "CREATE TABLE IF NOT EXISTS OfflineEvents (ID INTEGER PRIMARY KEY AUTOINCREMENT, EventName TEXT, EventData TEXT);";
constexpr const char* kCreateInbox =
    "CREATE TABLE IF NOT EXISTS trv_notifications (ID TEXT, Message TEXT, DeliverTime TEXT, Status TEXT);";
// The in-flight journal. AUTOINCREMENT: an ID is never handed out twice, so a
// ticket names one message only, even after another process on the same file
// has recovered (and so removed) rows.
constexpr const char* kCreateJournal =
    "CREATE TABLE IF NOT EXISTS OrvantaInFlightEvents (ID INTEGER PRIMARY KEY AUTOINCREMENT, EventName TEXT, "
    "EventData TEXT);";

bool holdsNoTable(sqlite3* db) {
  sqlite::Statement anyTable(db, "SELECT 1 FROM sqlite_master WHERE type = 'table' LIMIT 1");
  return anyTable.step() == SQLITE_DONE;
}

}  // namespace

void createTables(sqlite3* db) {
  if (!holdsNoTable(db)) {
    createInbox(db);
    sqlite::execute(db, kCreateJournal);
    return;
  }
  sqlite::Transaction transaction(db);
  sqlite::execute(db, kCreateQueue);
  sqlite::execute(db, kCreateInbox);
  sqlite::execute(db, kCreateJournal);
  transaction.commit();
}

void createInbox(sqlite3* db) { sqlite::execute(db, kCreateInbox); }

}  // namespace orvanta::schema
