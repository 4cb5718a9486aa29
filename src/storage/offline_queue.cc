#include "storage/offline_queue.h"

namespace orvanta {
namespace {

constexpr const char* kInsertEvent = "insert into  OfflineEvents (EventName,EventData) Values(?,?)";
constexpr const char* kDeleteEvent = "delete from OfflineEvents where ID = ?";
constexpr const char* kOldestEvent = "SELECT * FROM OfflineEvents ORDER BY ID  ASC LIMIT 1";
constexpr const char* kAllEvents = "SELECT ID, EventName, EventData FROM OfflineEvents ORDER BY ID";

OrvantaEventModel eventAt(const sqlite::Statement& row) { return {row.integer(0), row.text(1), row.text(2)}; }

}  // namespace

OfflineQueue::OfflineQueue(Database& database) : database_(database) {}

bool OfflineQueue::open() {
  return database_.run([this](sqlite3* db) {
    // Set even when the open fails, as the handle a failed open leaves is.
    handleSet_ = true;
    return db != nullptr;
  });
}

bool OfflineQueue::isOpen() const { return handleSet_; }

bool OfflineQueue::close() {
  return database_.closeIf([this] { return handleSet_.exchange(false); });
}

void OfflineQueue::withConnection(const std::function<void(sqlite3*)>& work) {
  database_.run([&](sqlite3* db) {
    handleSet_ = true;
    work(db);
  });
}

bool OfflineQueue::add(const std::string& name, const std::string& data) {
  return database_.run([&](sqlite3* db) {
    handleSet_ = true;
    sqlite::Statement insert(db, kInsertEvent);
    if (!insert.ok()) return false;
    insert.bindText(1, name);
    insert.bindText(2, data);
    if (insert.step() != SQLITE_DONE) return false;
    handleSet_ = false;
    return true;
  });
}

bool OfflineQueue::remove(std::int64_t id) {
  return database_.run([&](sqlite3* db) {
    handleSet_ = true;
    if (db == nullptr) return true;
    sqlite::Statement remove(db, kDeleteEvent);
    if (!remove.ok()) return false;
    remove.bindInt(1, id);
    if (remove.step() != SQLITE_DONE) return false;
    handleSet_ = false;
    return true;
  });
}

std::optional<OrvantaEventModel> OfflineQueue::oldest() {
  return database_.run([this](sqlite3* db) -> std::optional<OrvantaEventModel> {
    handleSet_ = true;
    if (db == nullptr) return std::nullopt;
    std::optional<OrvantaEventModel> event;
    sqlite::Statement oldest(db, kOldestEvent);
    if (oldest.step() == SQLITE_ROW) event = eventAt(oldest);
    handleSet_ = false;
    return event;
  });
}

std::optional<std::vector<OrvantaEventModel>> OfflineQueue::all() {
  return database_.run([](sqlite3* db) -> std::optional<std::vector<OrvantaEventModel>> {
    sqlite::Statement all(db, kAllEvents);
    if (!all.ok()) return std::nullopt;
    std::vector<OrvantaEventModel> events;
    int step = SQLITE_ROW;
    while ((step = all.step()) == SQLITE_ROW) events.push_back(eventAt(all));
    if (step != SQLITE_DONE) return std::nullopt;
    return events;
  });
}

}  // namespace orvanta
