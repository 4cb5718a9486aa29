#include "devserver/message_store.h"

#include <limits>
#include <stdexcept>

#include <SQLiteCpp/Column.h>
#include <SQLiteCpp/Statement.h>

namespace orvanta::devserver {
namespace {

constexpr const char* kSchema = R"sql(
PRAGMA journal_mode=WAL;
CREATE TABLE IF NOT EXISTS messages(
  seq INTEGER PRIMARY KEY AUTOINCREMENT,
  received_at TEXT NOT NULL,
  method TEXT NOT NULL,
  status INTEGER NOT NULL,
  headers TEXT NOT NULL,
  body BLOB NOT NULL,
  data TEXT,
  eventid INTEGER,
  identity TEXT,
  sessionid TEXT,
  pushid TEXT);
)sql";

// Opens (creating if needed) the file; a failure names it.
SQLite::Database openDatabase(const std::filesystem::path& path) {
  try {
    return SQLite::Database(path, SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE);
  } catch (const SQLite::Exception& error) {
    throw std::runtime_error("cannot open " + path.string() + ": " + error.what());
  }
}

// SQLiteCpp hands SQLite sizes as int: a longer value would be bound cut short, where SQLite
// itself refuses anything past its length limit (a billion bytes unless built otherwise).
const std::string& boundable(const std::string& bytes) {
  if (bytes.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
    throw std::runtime_error("bind: string or blob too big");
  }
  return bytes;
}

template <typename T>
void bindOrNull(SQLite::Statement& statement, int index, const std::optional<T>& value) {
  if (value) {
    statement.bind(index, *value);
  } else {
    statement.bind(index);
  }
}

Json optionalText(const SQLite::Column& column) {
  return column.isNull() ? Json() : Json(column.getString());
}

Json optionalInteger(const SQLite::Column& column) {
  return column.isNull() ? Json() : Json(column.getInt64());
}

std::optional<std::int64_t> eventId(const SQLite::Column& column) {
  return column.isNull() ? std::nullopt : std::optional(column.getInt64());
}

}  // namespace

MessageStore::MessageStore(const std::filesystem::path& path) : db_(openDatabase(path)) {
  db_.exec(kSchema);
}

std::int64_t MessageStore::record(const ReceivedMessage& message, const DecodedBody& decoded) {
  Json headers = Json::array();
  for (const auto& [name, value] : message.headers) headers.push_back({name, value});
  // Only these two can be long: the decoded strings are shorter than the body they come from,
  // and cpp-httplib bounds the method and the headers.
  const std::string& body = boundable(message.body);
  auto data = decoded.data ? std::optional(boundable(dumpJson(*decoded.data))) : std::nullopt;

  std::lock_guard lock(mutex_);
  SQLite::Statement insert(db_,
                           "INSERT INTO messages(received_at, method, status, headers, body, data, "
                           "eventid, identity, sessionid, pushid) VALUES(?,?,?,?,?,?,?,?,?,?)");
  insert.bind(1, message.received_at);
  insert.bind(2, message.method);
  insert.bind(3, message.status);
  insert.bind(4, dumpJson(headers));
  // A blob, not text: the body is kept byte for byte. data() is never null, so an empty body
  // is an empty blob, not NULL.
  insert.bind(5, body.data(), static_cast<int>(body.size()));
  bindOrNull(insert, 6, data);
  bindOrNull(insert, 7, decoded.eventid);
  bindOrNull(insert, 8, decoded.identity);
  bindOrNull(insert, 9, decoded.sessionid);
  bindOrNull(insert, 10, decoded.pushid);
  insert.exec();
  return db_.getLastInsertRowid();
}

Json MessageStore::messages(std::int64_t since, std::optional<int> status) const {
  std::lock_guard lock(mutex_);
  SQLite::Statement query(db_,
                          "SELECT seq, received_at, method, status, eventid, identity, sessionid, "
                          "pushid, body, data, headers FROM messages "
                          "WHERE seq > ?1 AND (?2 IS NULL OR status = ?2) ORDER BY seq");
  query.bind(1, since);
  bindOrNull(query, 2, status);
  Json out = Json::array();
  while (query.executeStep()) {
    std::string method = query.getColumn(2).getString();
    const SQLite::Column dataText = query.getColumn(9);
    Json data = dataText.isNull() ? Json() : Json::parse(dataText.getString());
    Json headers = Json::array();
    for (const auto& pair : Json::parse(query.getColumn(10).getString())) {
      headers.push_back({{"name", pair[0]}, {"value", pair[1]}});
    }
    out.push_back({{"seq", query.getColumn(0).getInt64()},
                   {"received_at", query.getColumn(1).getString()},
                   {"method", method},
                   {"status", query.getColumn(3).getInt64()},
                   {"eventid", optionalInteger(query.getColumn(4))},
                   {"event", eventName(method, eventId(query.getColumn(4)))},
                   {"identity", optionalText(query.getColumn(5))},
                   {"sessionid", optionalText(query.getColumn(6))},
                   {"pushid", optionalText(query.getColumn(7))},
                   {"malformed", data.is_null()},
                   {"body", query.getColumn(8).getString()},
                   {"data", std::move(data)},
                   {"headers", std::move(headers)}});
  }
  return out;
}

Json MessageStore::counts() const {
  std::lock_guard lock(mutex_);
  SQLite::Statement totals(
      db_, "SELECT COUNT(*), COUNT(CASE WHEN status = 200 THEN 1 END), MIN(seq) FROM messages");
  totals.executeStep();
  Json out = {{"received", totals.getColumn(0).getInt64()},
              {"delivered", totals.getColumn(1).getInt64()},
              {"first_seq", optionalInteger(totals.getColumn(2))}};

  SQLite::Statement grouped(db_,
                            "SELECT eventid, MIN(method), COUNT(*) FROM messages WHERE status = 200 "
                            "GROUP BY eventid ORDER BY eventid");
  Json eventids = Json::array();
  while (grouped.executeStep()) {
    eventids.push_back({{"eventid", optionalInteger(grouped.getColumn(0))},
                        {"event", eventName(grouped.getColumn(1).getString(),
                                            eventId(grouped.getColumn(0)))},
                        {"count", grouped.getColumn(2).getInt64()}});
  }
  out["eventids"] = std::move(eventids);
  return out;
}

void MessageStore::clear() {
  std::lock_guard lock(mutex_);
  db_.exec("DELETE FROM messages");
}

}  // namespace orvanta::devserver
