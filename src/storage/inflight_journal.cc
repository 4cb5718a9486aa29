#include "storage/inflight_journal.h"

namespace orvanta {
namespace {

constexpr const char* kJournalInsert = "INSERT INTO OrvantaInFlightEvents (EventName, EventData) VALUES (?, ?)";
constexpr const char* kJournalDelete = "DELETE FROM OrvantaInFlightEvents WHERE ID = ?";
constexpr const char* kJournalMoveOne =
    "INSERT INTO OfflineEvents (EventName, EventData) SELECT EventName, EventData FROM OrvantaInFlightEvents WHERE ID "
    "= ?";
constexpr const char* kJournalMoveAll =
    "INSERT INTO OfflineEvents (EventName, EventData) SELECT EventName, EventData FROM OrvantaInFlightEvents ORDER BY "
    "ID";
constexpr const char* kJournalDeleteAll = "DELETE FROM OrvantaInFlightEvents";

}  // namespace

InFlightJournal::InFlightJournal(Database& database, const Logger& logger) : database_(database), logger_(logger) {}

std::optional<std::int64_t> InFlightJournal::record(const std::string& name, const std::string& data) {
  return database_.run([&](sqlite3* db) { return recordIn(db, name, data); });
}

std::optional<std::int64_t> InFlightJournal::recordIn(sqlite3* db, const std::string& name,
                                                      const std::string& data) const {
  sqlite::Statement insert(db, kJournalInsert);
  insert.bindText(1, name);
  insert.bindText(2, data);
  if (insert.step() != SQLITE_DONE) {
    logger_.log("cannot journal a message before sending it (" +
                std::string(db ? sqlite3_errmsg(db) : "the database cannot be opened") +
                "); a crash before its answer would lose it");
    return std::nullopt;
  }
  return sqlite3_last_insert_rowid(db);
}

bool InFlightJournal::drop(std::int64_t id) {
  return database_.run([id](sqlite3* db) {
    sqlite::Statement remove(db, kJournalDelete);
    remove.bindInt(1, id);
    return remove.step() == SQLITE_DONE && sqlite3_changes(db) == 1;
  });
}

bool InFlightJournal::moveToQueue(std::int64_t id) {
  return database_.run([id](sqlite3* db) {
    sqlite::Transaction transaction(db);
    if (!transaction.began()) return false;
    sqlite::Statement move(db, kJournalMoveOne);
    move.bindInt(1, id);
    if (move.step() != SQLITE_DONE || sqlite3_changes(db) != 1) return false;
    sqlite::Statement remove(db, kJournalDelete);
    remove.bindInt(1, id);
    if (remove.step() != SQLITE_DONE) return false;
    return transaction.commit();
  });
}

int InFlightJournal::moveAllToQueue() {
  return database_.run([](sqlite3* db) {
    sqlite::Transaction transaction(db);
    if (!transaction.began()) return 0;
    if (sqlite::execute(db, kJournalMoveAll) != SQLITE_OK) return 0;
    const int moved = sqlite3_changes(db);
    if (sqlite::execute(db, kJournalDeleteAll) != SQLITE_OK || !transaction.commit()) return 0;
    return moved;
  });
}

}  // namespace orvanta
