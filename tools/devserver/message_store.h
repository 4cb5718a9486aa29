#pragma once

#include <cstdint>
#include <filesystem>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <SQLiteCpp/Database.h>

#include "devserver/json.h"
#include "devserver/tracking_message.h"

namespace orvanta::devserver {

// One tracking POST as it arrived, and how it was answered.
struct ReceivedMessage {
  std::string received_at;  // UTC, "YYYY-MM-DDTHH:MM:SS.mmmZ"
  std::string method;       // path after the tracking base, percent-decoded
  std::vector<std::pair<std::string, std::string>> headers;  // as the client sent them
  std::string body;         // raw bytes, exactly as received
  int status = 0;           // status answered; 0 when the connection was reset instead
};

// The server's record of every tracking POST, kept in its own SQLite file.
// Thread-safe: every call runs under one lock.
class MessageStore {
 public:
  // Opens or creates the file and its table. Throws std::runtime_error on failure.
  explicit MessageStore(const std::filesystem::path& path);

  // Stores the message with `decoded`, what decodeTrackingBody() read from its body; returns its
  // sequence number (increasing, never reused, also after clear()).
  std::int64_t record(const ReceivedMessage& message, const DecodedBody& decoded);

  // Messages with seq > `since`, oldest first; only those answered `status` when given.
  // Each: {seq, received_at, method, status, eventid, event, identity, sessionid, pushid,
  // malformed, body, data, headers:[{name, value}]}.
  Json messages(std::int64_t since, std::optional<int> status) const;

  // {"received": all messages, "delivered": those answered 200, "first_seq": the oldest
  //  message's seq or null, "eventids": [{"eventid", "event", "count"}] over delivered
  //  messages, by event id}.
  Json counts() const;

  void clear();

 private:
  mutable std::mutex mutex_;
  SQLite::Database db_;  // guarded by mutex_
};

}  // namespace orvanta::devserver
