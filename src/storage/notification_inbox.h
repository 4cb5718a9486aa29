// The notification inbox: the table trv_notifications, one row per delivered
// notification with the whole notification and its read state.
#pragma once

#include <optional>
#include <string>

#include "device/date_formator.h"
#include "orvanta/value.h"
#include "storage/database.h"

namespace orvanta {

// A notification is keyed by the text at "payload" -> "trid"; one without a
// text there is treated as already delivered. Only the 10 newest rows are
// ever read back.
class NotificationInbox {
 public:
  // database and dates must outlive this object.
  NotificationInbox(Database& database, const DateFormator& dates);

  // Stores the notification with status, unless its trid is among the 10
  // newest rows (or it has none): then it is marked "read" instead.
  void received(const Map& notification, const std::string& status);
  // Sets status on every row whose ID begins with the trid.
  void opened(const Map& notification, const std::string& status);
  // Looked up among the 10 newest rows only.
  bool isPresent(const std::string& trid);
  bool isOpened(const std::string& trid);
  // The 10 newest rows, newest first: maps of "ID" (absent when null),
  // "MessageData" (the stored notification), "DeliverTime", "Status".
  Array newest();
  bool removeAll();

  // The steps of a caller that already holds the connection under the
  // database's lock, for changes that must share its transaction. Each
  // answers whether its statements ran.
  //   isPresentIn, isOpenedIn: as isPresent and isOpened.
  //   insertIn: one new row for the notification (which has a text trid).
  //   markExactPrefixIn: status on every row whose ID begins with the trid,
  //   compared byte for byte (no pattern characters, no case folding).
  bool isPresentIn(sqlite3* db, const std::string& trid) const;
  bool isOpenedIn(sqlite3* db, const std::string& trid) const;
  bool insertIn(sqlite3* db, const Map& notification, const std::string& status) const;
  bool markExactPrefixIn(sqlite3* db, const std::string& trid, const std::string& status) const;

 private:
  Database& database_;
  const DateFormator& dates_;
};

// The text at "payload" -> "trid", or nullopt when there is none.
std::optional<std::string> inboxKeyOf(const Map& notification);

}  // namespace orvanta
