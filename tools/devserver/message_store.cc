#include "devserver/message_store.h"

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

Json optionalText(const SqliteStatement& row, int column) {
  return row.isNull(column) ? Json() : Json(row.bytes(column));
}

Json optionalInteger(const SqliteStatement& row, int column) {
  return row.isNull(column) ? Json() : Json(row.integer(column));
}

}  // namespace

MessageStore::MessageStore(const std::filesystem::path& path) : db_(path) { db_.execute(kSchema); }

std::int64_t MessageStore::record(const ReceivedMessage& message, const DecodedBody& decoded) {
  Json headers = Json::array();
  for (const auto& [name, value] : message.headers) headers.push_back({name, value});

  std::lock_guard lock(mutex_);
  SqliteStatement insert(db_,
                         "INSERT INTO messages(received_at, method, status, headers, body, data, "
                         "eventid, identity, sessionid, pushid) VALUES(?,?,?,?,?,?,?,?,?,?)");
  insert.bind(1, message.received_at);
  insert.bind(2, message.method);
  insert.bind(3, std::int64_t{message.status});
  insert.bind(4, dumpJson(headers));
  insert.bindBlob(5, message.body);
  if (decoded.data) {
    insert.bind(6, dumpJson(*decoded.data));
  } else {
    insert.bindNull(6);
  }
  insert.bind(7, decoded.eventid);
  insert.bind(8, decoded.identity);
  insert.bind(9, decoded.sessionid);
  insert.bind(10, decoded.pushid);
  insert.step();
  return sqlite3_last_insert_rowid(db_.handle());
}

Json MessageStore::messages(std::int64_t since, std::optional<int> status) const {
  std::lock_guard lock(mutex_);
  SqliteStatement query(db_,
                        "SELECT seq, received_at, method, status, eventid, identity, sessionid, "
                        "pushid, body, data, headers FROM messages "
                        "WHERE seq > ?1 AND (?2 IS NULL OR status = ?2) ORDER BY seq");
  query.bind(1, since);
  query.bind(2, status ? std::optional<std::int64_t>(*status) : std::nullopt);
  Json out = Json::array();
  while (query.step()) {
    std::string method = query.bytes(2);
    auto eventid = query.isNull(4) ? std::nullopt : std::optional(query.integer(4));
    Json data = query.isNull(9) ? Json() : Json::parse(query.bytes(9));
    Json headers = Json::array();
    for (const auto& pair : Json::parse(query.bytes(10))) {
      headers.push_back({{"name", pair[0]}, {"value", pair[1]}});
    }
    out.push_back({{"seq", query.integer(0)},
                   {"received_at", query.bytes(1)},
                   {"method", method},
                   {"status", query.integer(3)},
                   {"eventid", optionalInteger(query, 4)},
                   {"event", eventName(method, eventid)},
                   {"identity", optionalText(query, 5)},
                   {"sessionid", optionalText(query, 6)},
                   {"pushid", optionalText(query, 7)},
                   {"malformed", data.is_null()},
                   {"body", query.bytes(8)},
                   {"data", std::move(data)},
                   {"headers", std::move(headers)}});
  }
  return out;
}

Json MessageStore::counts() const {
  std::lock_guard lock(mutex_);
  SqliteStatement totals(
      db_, "SELECT COUNT(*), COUNT(CASE WHEN status = 200 THEN 1 END), MIN(seq) FROM messages");
  totals.step();
  Json out = {{"received", totals.integer(0)},
              {"delivered", totals.integer(1)},
              {"first_seq", optionalInteger(totals, 2)}};

  SqliteStatement grouped(db_,
                          "SELECT eventid, MIN(method), COUNT(*) FROM messages WHERE status = 200 "
                          "GROUP BY eventid ORDER BY eventid");
  Json eventids = Json::array();
  while (grouped.step()) {
    auto eventid = grouped.isNull(0) ? std::nullopt : std::optional(grouped.integer(0));
    eventids.push_back({{"eventid", optionalInteger(grouped, 0)},
                        {"event", eventName(grouped.bytes(1), eventid)},
                        {"count", grouped.integer(2)}});
  }
  out["eventids"] = std::move(eventids);
  return out;
}

void MessageStore::clear() {
  std::lock_guard lock(mutex_);
  db_.execute("DELETE FROM messages");
}

}  // namespace orvanta::devserver
