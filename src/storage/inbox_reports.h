// A notification's inbox change and the report it decides, written together:
// one transaction over the inbox row and the report's journal row.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "orvanta/value.h"
#include "storage/database.h"
#include "storage/inflight_journal.h"
#include "storage/notification_inbox.h"

namespace orvanta {

// A tracking message to journal with an inbox change: its method name and its
// parameter text, exactly as it will be sent.
struct JournalEntry {
  std::string method;
  std::string params;
};

// What a one-step inbox write did.
struct InboxWrite {
  enum class Outcome {
    Written,    // the inbox changed, and the report (if any) is journaled
    Unchanged,  // the inbox already showed the change: nothing was written
    Failed,     // the database refused: nothing was written
  };
  Outcome outcome = Outcome::Failed;
  // The report's journal row (see InFlightJournal), when one was written.
  std::optional<std::int64_t> ticket;
};

// The inbox's decision and the report's durable record are one step: each
// operation checks, changes and journals inside one BEGIN IMMEDIATE
// transaction, so a second process on the file waits for it, and a process
// that dies leaves either both or neither. A journaled report joins the
// offline queue at the next start if its process dies before the answer.
class InboxReports {
 public:
  // All three must outlive this object.
  InboxReports(Database& database, const NotificationInbox& inbox, const InFlightJournal& journal);

  // Stores the notification with status, journaling report with it (none:
  // stored alone). Unchanged when its trid is among the 10 newest rows, or
  // when it has no text trid.
  InboxWrite recordDelivery(const Map& notification, const std::string& status,
                            const std::optional<JournalEntry>& report);
  // Sets status on every row whose ID begins with the trid, byte for byte,
  // journaling report with it (also when no row matches). Unchanged when the
  // trid's row among the 10 newest is already "read".
  InboxWrite recordOpening(const std::string& trid, const std::string& status, const JournalEntry& report);

 private:
  // The transaction around one check and one change; alreadyDone and change
  // get the connection.
  template <typename AlreadyDone, typename Change>
  InboxWrite inOneStep(const std::optional<JournalEntry>& report, AlreadyDone alreadyDone, Change change);

  Database& database_;
  const NotificationInbox& inbox_;
  const InFlightJournal& journal_;
};

}  // namespace orvanta
