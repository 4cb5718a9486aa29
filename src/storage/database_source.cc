#include "storage/database_source.h"

#include <filesystem>

#include "orvanta/json.h"

namespace orvanta {
namespace {

constexpr const char* kFolder = "OrvantaDatabase";
constexpr const char* kFile = "OrvantaOfflineStore.sqlite";

constexpr const char* kCreateQueue =
    "CREATE TABLE IF NOT EXISTS OfflineEvents (ID INTEGER PRIMARY KEY AUTOINCREMENT, EventName TEXT, EventData TEXT);";
constexpr const char* kCreateInbox =
    "CREATE TABLE IF NOT EXISTS trv_notifications (ID TEXT, Message TEXT, DeliverTime TEXT, Status TEXT);";
constexpr const char* kInsertEvent = "insert into  OfflineEvents (EventName,EventData) Values(?,?)";
constexpr const char* kDeleteEvent = "delete from OfflineEvents where ID = ?";
constexpr const char* kOldestEvent = "SELECT * FROM OfflineEvents ORDER BY ID  ASC LIMIT 1";
constexpr const char* kAllEvents = "SELECT ID, EventName, EventData FROM OfflineEvents ORDER BY ID";
constexpr const char* kInsertNotification =
    "INSERT INTO trv_notifications (ID, Message, DeliverTime, Status) VALUES (?,?,?,?)";
constexpr const char* kNewestNotifications = "SELECT * FROM trv_notifications order by DeliverTime desc limit 10";
constexpr const char* kDeleteNotifications = "DELETE FROM trv_notifications";

// The journal of messages in flight. Its own table, so that the queue keeps
// exactly the rows and order it is defined to have. AUTOINCREMENT: an ID is
// never handed out twice, so a ticket names one message only, even after
// another process on the same file has recovered (and so removed) rows.
constexpr const char* kCreateJournal =
    "CREATE TABLE IF NOT EXISTS OrvantaInFlightEvents (ID INTEGER PRIMARY KEY AUTOINCREMENT, EventName TEXT, "
    "EventData TEXT);";
constexpr const char* kJournalInsert = "INSERT INTO OrvantaInFlightEvents (EventName, EventData) VALUES (?, ?)";
constexpr const char* kJournalDelete = "DELETE FROM OrvantaInFlightEvents WHERE ID = ?";
constexpr const char* kJournalMoveOne =
    "INSERT INTO OfflineEvents (EventName, EventData) SELECT EventName, EventData FROM OrvantaInFlightEvents WHERE ID "
    "= ?";
constexpr const char* kJournalMoveAll =
    "INSERT INTO OfflineEvents (EventName, EventData) SELECT EventName, EventData FROM OrvantaInFlightEvents ORDER BY "
    "ID";
constexpr const char* kJournalDeleteAll = "DELETE FROM OrvantaInFlightEvents";

// SQLite's own automatic checkpoint threshold; here it wakes the
// checkpointer thread instead of running on the writer's.
constexpr int kCheckpointPages = 1000;
// How long a statement waits for a lock held by another connection (the
// checkpointer's, or another process) before failing.
constexpr int kBusyTimeoutMs = 2000;

std::optional<std::string> tridOf(const Map& notification) {
  const Value* payload = notification.find("payload");
  if (payload == nullptr || !payload->isMap()) return std::nullopt;
  const Value* trid = payload->asMap()->find("trid");
  if (trid == nullptr || !trid->isString()) return std::nullopt;
  return *trid->asString();
}

// Single quotes doubled, for a value spliced between quotes into SQL text.
std::string quoted(const std::string& text) {
  std::string out;
  out.reserve(text.size());
  for (char c : text) {
    out += c;
    if (c == '\'') out += '\'';
  }
  return out;
}

// The first of rows whose "ID" is exactly trid, or nullptr.
const Map* findByTrid(const Array& rows, const std::string& trid) {
  for (const Value& row : rows) {
    const Value* id = row.asMap()->find("ID");
    if (id != nullptr && *id->asString() == trid) return row.asMap();
  }
  return nullptr;
}

std::string archive(const Map& notification) {
  return toTaggedJson(Value(notification)).dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::optional<Value> unarchive(const std::string& bytes) {
  Json json = Json::parse(bytes, nullptr, false);
  if (json.is_discarded()) return std::nullopt;
  return fromTaggedJson(json);
}

}  // namespace

DatabaseSource::DatabaseSource(FileUtilities& files, DateFormator& dates, const Logger& logger)
    : files_(files), dates_(dates), logger_(logger) {}

DatabaseSource::~DatabaseSource() = default;

std::string DatabaseSource::databasePath() const {
  return files_.getFilePathAsPerFolder(kFolder, kFile);
}

sqlite3* DatabaseSource::connection() {
  if (connection_) return connection_.get();
  const std::string path = databasePath();
  sqlite::Connection db = sqlite::open(path);
  if (!db) return nullptr;
  // A file that cannot switch to WAL keeps its rollback journal and works as
  // before, only slower; so these results are not checked.
  sqlite::execute(db.get(), "PRAGMA journal_mode=WAL");
  sqlite::execute(db.get(), "PRAGMA synchronous=NORMAL");
  sqlite3_busy_timeout(db.get(), kBusyTimeoutMs);
  if (!checkpointer_) checkpointer_ = std::make_unique<WalCheckpointer>(path, kCheckpointPages, mutex_);
  checkpointer_->attach(db.get());
  connection_ = std::move(db);
  return connection_.get();
}

void DatabaseSource::createDatabase() {
  std::lock_guard lock(mutex_);
  std::error_code error;
  // SQLite writes the file before its first table, so a file without any
  // table is one whose making a crash cut short: it is made again, rather
  // than left without a queue for good.
  if (std::filesystem::exists(databasePath(), error) && !holdsNoTable()) {
    createInboxTable();
    sqlite::execute(connection(), kCreateJournal);
    return;
  }
  sqlite3* db = connection();
  // In one transaction, so that a crash leaves every table or none.
  sqlite::Transaction transaction(db);
  sqlite::execute(db, kCreateQueue);
  sqlite::execute(db, kCreateInbox);
  sqlite::execute(db, kCreateJournal);
  transaction.commit();
}

bool DatabaseSource::holdsNoTable() {
  sqlite::Statement anyTable(connection(), "SELECT 1 FROM sqlite_master WHERE type = 'table' LIMIT 1");
  return anyTable.step() == SQLITE_DONE;
}

void DatabaseSource::createNewTablesInDatabase() {
  std::lock_guard lock(mutex_);
  createInboxTable();
}

void DatabaseSource::createInboxTable() { sqlite::execute(connection(), kCreateInbox); }

bool DatabaseSource::openDBConnectionLocked() {
  // The handle counts as set even when the open fails, as the handle that a
  // failed open leaves behind does.
  dbConnectionSet_ = true;
  return connection() != nullptr;
}

sqlite3* DatabaseSource::getDBConnectionLocked() { return openDBConnectionLocked() ? connection_.get() : nullptr; }

bool DatabaseSource::openDBConnection() {
  std::lock_guard lock(mutex_);
  return openDBConnectionLocked();
}

bool DatabaseSource::IsDatabaseOpen() const {
  std::lock_guard lock(mutex_);
  return dbConnectionSet_;
}

bool DatabaseSource::closeDBConnection() {
  std::lock_guard lock(mutex_);
  if (!dbConnectionSet_) return false;
  dbConnectionSet_ = false;
  connection_.reset();
  return true;
}

sqlite3* DatabaseSource::getDBConnection() {
  std::lock_guard lock(mutex_);
  return getDBConnectionLocked();
}

sqlite3* DatabaseSource::DBConnection() const {
  std::lock_guard lock(mutex_);
  return dbConnectionSet_ ? connection_.get() : nullptr;
}

bool DatabaseSource::addEvent(const std::string& name, const std::string& data) {
  std::lock_guard lock(mutex_);
  sqlite::Statement insert(getDBConnectionLocked(), kInsertEvent);
  if (!insert.ok()) return false;
  insert.bindText(1, name);
  insert.bindText(2, data);
  if (insert.step() != SQLITE_DONE) return false;
  dbConnectionSet_ = false;
  return true;
}

bool DatabaseSource::deleteData(std::int64_t id) {
  std::lock_guard lock(mutex_);
  sqlite3* db = getDBConnectionLocked();
  if (db == nullptr) return true;
  sqlite::Statement remove(db, kDeleteEvent);
  if (!remove.ok()) return false;
  remove.bindInt(1, id);
  if (remove.step() != SQLITE_DONE) return false;
  dbConnectionSet_ = false;
  return true;
}

std::optional<OrvantaEventModel> DatabaseSource::getEvent() {
  std::lock_guard lock(mutex_);
  sqlite3* db = getDBConnectionLocked();
  if (db == nullptr) return std::nullopt;
  std::optional<OrvantaEventModel> event;
  sqlite::Statement oldest(db, kOldestEvent);
  if (oldest.step() == SQLITE_ROW) {
    event = OrvantaEventModel{oldest.integer(0), oldest.text(1), oldest.text(2)};
  }
  dbConnectionSet_ = false;
  return event;
}

std::optional<std::vector<OrvantaEventModel>> DatabaseSource::getAllEvents() {
  std::lock_guard lock(mutex_);
  sqlite::Statement all(connection(), kAllEvents);
  if (!all.ok()) return std::nullopt;
  std::vector<OrvantaEventModel> events;
  int step = SQLITE_ROW;
  while ((step = all.step()) == SQLITE_ROW) {
    events.push_back({all.integer(0), all.text(1), all.text(2)});
  }
  if (step != SQLITE_DONE) return std::nullopt;
  return events;
}

void DatabaseSource::NotificationReceived(const Map& notification, const std::string& status) {
  std::lock_guard lock(mutex_);
  const std::optional<std::string> trid = tridOf(notification);
  if (!trid || findByTrid(receivedNotifications(), *trid) != nullptr) {
    notificationOpened(notification, "read");
    return;
  }
  sqlite::Statement insert(connection(), kInsertNotification);
  insert.bindText(1, *trid);
  insert.bindBlob(2, archive(notification));
  insert.bindText(3, dates_.getUserLocalTimeStamp());
  insert.bindText(4, status);
  insert.step();
}

void DatabaseSource::NotificationOpened(const Map& notification, const std::string& status) {
  std::lock_guard lock(mutex_);
  notificationOpened(notification, status);
}

void DatabaseSource::notificationOpened(const Map& notification, const std::string& status) {
  const std::optional<std::string> trid = tridOf(notification);
  if (!trid) return;
  // The trid is matched as a prefix (LIKE 'trid%'), so the values are spliced
  // into the text rather than bound.
  const std::string update =
      "UPDATE trv_notifications SET Status = '" + quoted(status) + "' WHERE ID LIKE '" + quoted(*trid) + "%'";
  sqlite::Statement(connection(), update).step();
}

Array DatabaseSource::receivedNotifications() {
  Array records;
  sqlite::Statement newest(connection(), kNewestNotifications);
  while (newest.step() == SQLITE_ROW) {
    Map record;
    if (!newest.isNull(0)) record.set("ID", newest.text(0));
    if (std::optional<Value> message = unarchive(newest.text(1))) record.set("MessageData", std::move(*message));
    record.set("DeliverTime", newest.text(2));
    record.set("Status", newest.text(3));
    records.emplace_back(std::move(record));
  }
  return records;
}

Array DatabaseSource::GetAllReceivedNotifications() {
  std::lock_guard lock(mutex_);
  return receivedNotifications();
}

bool DatabaseSource::isTRIDPresent(const std::string& trid) {
  std::lock_guard lock(mutex_);
  return findByTrid(receivedNotifications(), trid) != nullptr;
}

bool DatabaseSource::isTRIDOpened(const std::string& trid) {
  std::lock_guard lock(mutex_);
  const Array rows = receivedNotifications();
  const Map* row = findByTrid(rows, trid);
  return row != nullptr && *row->find("Status") == Value("read");
}

bool DatabaseSource::DeleteAllReceivedNotifications() {
  std::lock_guard lock(mutex_);
  sqlite::Statement remove(connection(), kDeleteNotifications);
  return remove.ok() && remove.step() == SQLITE_DONE;
}

std::optional<std::int64_t> DatabaseSource::journalEvent(const std::string& name, const std::string& data) {
  std::lock_guard lock(mutex_);
  sqlite3* db = connection();
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

bool DatabaseSource::dropJournaled(std::int64_t id) {
  std::lock_guard lock(mutex_);
  sqlite3* db = connection();
  sqlite::Statement remove(db, kJournalDelete);
  remove.bindInt(1, id);
  return remove.step() == SQLITE_DONE && sqlite3_changes(db) == 1;
}

bool DatabaseSource::moveJournaledToQueue(std::int64_t id) {
  std::lock_guard lock(mutex_);
  sqlite3* db = connection();
  sqlite::Transaction transaction(db);
  if (!transaction.began()) return false;
  sqlite::Statement move(db, kJournalMoveOne);
  move.bindInt(1, id);
  if (move.step() != SQLITE_DONE || sqlite3_changes(db) != 1) return false;
  sqlite::Statement remove(db, kJournalDelete);
  remove.bindInt(1, id);
  if (remove.step() != SQLITE_DONE) return false;
  return transaction.commit();
}

int DatabaseSource::recoverJournal() {
  std::lock_guard lock(mutex_);
  sqlite3* db = connection();
  sqlite::Transaction transaction(db);
  if (!transaction.began()) return 0;
  if (sqlite::execute(db, kJournalMoveAll) != SQLITE_OK) return 0;
  const int moved = sqlite3_changes(db);
  if (sqlite::execute(db, kJournalDeleteAll) != SQLITE_OK || !transaction.commit()) return 0;
  return moved;
}

}  // namespace orvanta
