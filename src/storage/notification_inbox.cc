#include "storage/notification_inbox.h"

#include <optional>

#include "orvanta/json.h"

namespace orvanta {
namespace {

constexpr const char* kInsertNotification =
    "INSERT INTO trv_notifications (ID, Message, DeliverTime, Status) VALUES (?,?,?,?)";
constexpr const char* kNewestNotifications = "SELECT * FROM trv_notifications order by DeliverTime desc limit 10";
constexpr const char* kDeleteNotifications = "DELETE FROM trv_notifications";
// Ours: the prefix compared as it is, with both values bound.
constexpr const char* kMarkExactPrefix =
    "UPDATE trv_notifications SET Status = ?1 WHERE substr(ID, 1, length(?2)) = ?2";

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

Array newestRows(sqlite3* db) {
  Array records;
  sqlite::Statement newest(db, kNewestNotifications);
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

void markOpened(sqlite3* db, const Map& notification, const std::string& status) {
  const std::optional<std::string> trid = inboxKeyOf(notification);
  if (!trid) return;
  // The trid is matched as a prefix (LIKE 'trid%'), so the values are spliced
  // into the text rather than bound.
  const std::string update =
      "UPDATE trv_notifications SET Status = '" + quoted(status) + "' WHERE ID LIKE '" + quoted(*trid) + "%'";
  sqlite::Statement(db, update).step();
}

}  // namespace

std::optional<std::string> inboxKeyOf(const Map& notification) {
  const Value* payload = notification.find("payload");
  if (payload == nullptr || !payload->isMap()) return std::nullopt;
  const Value* trid = payload->asMap()->find("trid");
  if (trid == nullptr || !trid->isString()) return std::nullopt;
  return *trid->asString();
}

NotificationInbox::NotificationInbox(Database& database, const DateFormator& dates)
    : database_(database), dates_(dates) {}

void NotificationInbox::received(const Map& notification, const std::string& status) {
  database_.run([&](sqlite3* db) {
    const std::optional<std::string> trid = inboxKeyOf(notification);
    if (!trid || isPresentIn(db, *trid)) {
      markOpened(db, notification, "read");
      return;
    }
    insertIn(db, notification, status);
  });
}

void NotificationInbox::opened(const Map& notification, const std::string& status) {
  database_.run([&](sqlite3* db) { markOpened(db, notification, status); });
}

bool NotificationInbox::isPresent(const std::string& trid) {
  return database_.run([&](sqlite3* db) { return isPresentIn(db, trid); });
}

bool NotificationInbox::isOpened(const std::string& trid) {
  return database_.run([&](sqlite3* db) { return isOpenedIn(db, trid); });
}

Array NotificationInbox::newest() { return database_.run(newestRows); }

bool NotificationInbox::removeAll() {
  return database_.run([](sqlite3* db) {
    sqlite::Statement remove(db, kDeleteNotifications);
    return remove.ok() && remove.step() == SQLITE_DONE;
  });
}

bool NotificationInbox::isPresentIn(sqlite3* db, const std::string& trid) const {
  return findByTrid(newestRows(db), trid) != nullptr;
}

bool NotificationInbox::isOpenedIn(sqlite3* db, const std::string& trid) const {
  const Array rows = newestRows(db);
  const Map* row = findByTrid(rows, trid);
  return row != nullptr && *row->find("Status") == Value("read");
}

bool NotificationInbox::insertIn(sqlite3* db, const Map& notification, const std::string& status) const {
  const std::optional<std::string> trid = inboxKeyOf(notification);
  if (!trid) return false;
  sqlite::Statement insert(db, kInsertNotification);
  insert.bindText(1, *trid);
  insert.bindBlob(2, archive(notification));
  insert.bindText(3, dates_.getUserLocalTimeStamp());
  insert.bindText(4, status);
  return insert.step() == SQLITE_DONE;
}

bool NotificationInbox::markExactPrefixIn(sqlite3* db, const std::string& trid, const std::string& status) const {
  sqlite::Statement mark(db, kMarkExactPrefix);
  mark.bindText(1, status);
  mark.bindText(2, trid);
  return mark.step() == SQLITE_DONE;
}

}  // namespace orvanta
