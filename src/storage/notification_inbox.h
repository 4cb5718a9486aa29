// The notification inbox: the table trv_notifications, one row per delivered
// notification with the whole notification and its read state.
#pragma once

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

 private:
  Database& database_;
  const DateFormator& dates_;
};

}  // namespace orvanta
