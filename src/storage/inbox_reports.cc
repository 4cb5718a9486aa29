#include "storage/inbox_reports.h"

namespace orvanta {

using Outcome = InboxWrite::Outcome;

InboxReports::InboxReports(Database& database, const NotificationInbox& inbox, const InFlightJournal& journal)
    : database_(database), inbox_(inbox), journal_(journal) {}

template <typename AlreadyDone, typename Change>
InboxWrite InboxReports::inOneStep(const std::optional<JournalEntry>& report, AlreadyDone alreadyDone,
                                   Change change) {
  return database_.run([&](sqlite3* db) -> InboxWrite {
    // Immediate: the check below already holds the write lock, so no other
    // connection can make the same change between the check and ours.
    sqlite::Transaction transaction(db);
    if (!transaction.began()) return {};
    if (alreadyDone(db)) return {Outcome::Unchanged, std::nullopt};
    if (!change(db)) return {};
    std::optional<std::int64_t> ticket;
    if (report) {
      ticket = journal_.recordIn(db, report->method, report->params);
      if (!ticket) return {};
    }
    if (!transaction.commit()) return {};
    return {Outcome::Written, ticket};
  });
}

InboxWrite InboxReports::recordDelivery(const Map& notification, const std::string& status,
                                        const std::optional<JournalEntry>& report) {
  const std::optional<std::string> trid = inboxKeyOf(notification);
  if (!trid) return {Outcome::Unchanged, std::nullopt};
  return inOneStep(
      report, [&](sqlite3* db) { return inbox_.isPresentIn(db, *trid); },
      [&](sqlite3* db) { return inbox_.insertIn(db, notification, status); });
}

InboxWrite InboxReports::recordOpening(const std::string& trid, const std::string& status,
                                       const JournalEntry& report) {
  return inOneStep(
      report, [&](sqlite3* db) { return inbox_.isOpenedIn(db, trid); },
      [&](sqlite3* db) { return inbox_.markExactPrefixIn(db, trid, status); });
}

}  // namespace orvanta
