// The "pn_deliver" and "pn_open" reports of the library's notifications, each
// made durable in one step with the inbox change that decides it.
#pragma once

#include <string>

#include "base/logger.h"
#include "orvanta/platform/settings_store.h"
#include "orvanta/value.h"

namespace orvanta {

class DatabaseSource;
class OrvantaCommanMethods;
class OrvantaWebServiceHandler;
struct InboxWrite;

// A report's message is built first (envelope, session and attribution as at
// that moment), then the inbox row and the message's journal row are written
// in one transaction, then it is sent; so a process killed after the write
// still has the report, which the next start queues and replays, and a
// second process that finds the inbox changed sends none. Reports are never
// retried here beyond that: the answer is not examined.
//
// Any thread. Every collaborator must outlive it.
class NotificationReporter {
 public:
  NotificationReporter(DatabaseSource& database, OrvantaWebServiceHandler& handler, OrvantaCommanMethods& settings,
                       const SettingsStore& standardSettings, const Logger& logger);

  // Whether trid is stored, or stored as "read", among the 10 newest
  // notifications: the quick look before a message is built.
  bool isDelivered(const std::string& trid);
  bool isOpened(const std::string& trid);

  // Stores the notification as "unread" with its "pn_deliver" report; no
  // report when the service extension already sent it ("OrvantaTRID" equals
  // trid). False, and nothing written or sent, when the inbox already holds
  // trid.
  bool deliver(const Map& notification, const std::string& trid);
  // Marks trid "read" with its "pn_open" report; nothing when it is already
  // "read".
  void open(const std::string& trid);

 private:
  // The message of a report: the event id, action, trid and push token.
  std::string message(int eventId, const char* action, const std::string& trid);
  // Sends a report the write journaled; when the database refused the write,
  // sends it anyway (the inbox cannot decide then) with a log line.
  void send(const std::string& method, const std::string& params, const InboxWrite& write);

  DatabaseSource& database_;
  OrvantaWebServiceHandler& handler_;
  OrvantaCommanMethods& settings_;
  const SettingsStore& standardSettings_;
  const Logger& logger_;
};

}  // namespace orvanta
