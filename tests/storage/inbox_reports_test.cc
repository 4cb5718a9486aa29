// A notification's inbox change and its report's journal row written as one
// step: together or not at all, decided once across connections (processes)
// on the same file, and exact for any trid.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <string>
#include <utility>
#include <vector>

#include "storage/database_source_fixture.h"

namespace orvanta {
namespace {

using Texts = std::vector<std::string>;
using Outcome = InboxWrite::Outcome;

JournalEntry report(const std::string& method, const std::string& trid) { return {method, "data=" + trid}; }

// A second database object on the same file: another process.
class InboxReportsTest : public DatabaseSourceTest {
 protected:
  InboxReportsTest() { database_.createDatabase(); }

  InboxWrite deliver(DatabaseSource& database, const std::string& trid) {
    clock_.advance(1);
    return database.recordDelivery(notification(trid), "unread", report("pn_deliver", trid));
  }
  InboxWrite open(DatabaseSource& database, const std::string& trid) {
    return database.recordOpening(trid, "read", report("pn_open", trid));
  }
  // Every journal row, oldest first, as "method data".
  Texts journal() {
    return probe().column("SELECT EventName || ' ' || EventData FROM OrvantaInFlightEvents ORDER BY ID");
  }

  DatabaseSource otherProcess_{files_, dates_, logger_};
};

TEST_F(InboxReportsTest, AChangeAndItsReportAreWrittenOnceWhicheverConnectionComesSecond) {
  const InboxWrite first = deliver(database_, "t-1");
  EXPECT_EQ(first.outcome, Outcome::Written);
  EXPECT_TRUE(first.ticket);
  // The other process looked before this one wrote, and writes after it.
  EXPECT_EQ(deliver(otherProcess_, "t-1").outcome, Outcome::Unchanged);
  EXPECT_EQ(deliver(database_, "t-1").outcome, Outcome::Unchanged);

  EXPECT_EQ(open(otherProcess_, "t-1").outcome, Outcome::Written);
  const InboxWrite again = open(database_, "t-1");
  EXPECT_EQ(again.outcome, Outcome::Unchanged);
  EXPECT_FALSE(again.ticket);

  EXPECT_EQ(inbox(), (Texts{"t-1=read"}));
  EXPECT_EQ(journal(), (Texts{"pn_deliver data=t-1", "pn_open data=t-1"}));
  // A delivery without report (the extension sent it) is stored alone.
  EXPECT_EQ(database_.recordDelivery(notification("t-2"), "unread", std::nullopt).outcome, Outcome::Written);
  EXPECT_EQ(journal().size(), 2u);
  EXPECT_EQ(database_.recordDelivery(Map{{"payload", Map{{"trid", 7}}}}, "unread", report("pn_deliver", "7")).outcome,
            Outcome::Unchanged)
      << "no text trid, nothing to store";
}

// When the report cannot be journaled the inbox is left as it was, so a
// later attempt decides again; nothing half-written survives.
TEST_F(InboxReportsTest, AReportThatCannotBeJournaledLeavesTheInboxUnchanged) {
  ASSERT_EQ(deliver(database_, "kept").outcome, Outcome::Written);
  ASSERT_TRUE(probe().execute("ALTER TABLE OrvantaInFlightEvents RENAME TO Elsewhere"));
  EXPECT_EQ(deliver(database_, "t-1").outcome, Outcome::Failed);
  EXPECT_EQ(open(database_, "kept").outcome, Outcome::Failed);
  EXPECT_EQ(inbox(), (Texts{"kept=unread"}));

  ASSERT_TRUE(probe().execute("ALTER TABLE Elsewhere RENAME TO OrvantaInFlightEvents"));
  EXPECT_EQ(deliver(database_, "t-1").outcome, Outcome::Written);
  EXPECT_EQ(open(database_, "kept").outcome, Outcome::Written);
  EXPECT_EQ(inbox(), (Texts{"kept=read", "t-1=unread"}));
}

// A report journaled by a process that then died joins the offline queue at
// the next start, with the inbox row already there.
TEST_F(InboxReportsTest, AJournaledReportJoinsTheQueueAtTheNextStart) {
  ASSERT_TRUE(deliver(database_, "t-1").ticket);
  EXPECT_EQ(otherProcess_.recoverJournal(), 1);
  const std::optional<OrvantaEventModel> queued = otherProcess_.getEvent();
  ASSERT_TRUE(queued);
  EXPECT_EQ(queued->strEventName, "pn_deliver");
  EXPECT_EQ(queued->strEventData, "data=t-1");
  EXPECT_TRUE(otherProcess_.isTRIDPresent("t-1"));
}

// Trids are bound, never spliced: each is stored as it is, and opening one
// marks the rows that begin with exactly its bytes (the prefix rule), with
// no pattern characters and no case folding.
TEST_F(InboxReportsTest, AnyTridIsStoredAndMatchedExactly) {
  // Ten: only the ten newest rows are looked up.
  const Texts trids{"o'k", "50%", "500", "a_b", "axb", R"(back\slash)", "'); DROP TABLE trv_notifications; --",
                    "ABC", "abc", "abcd"};
  for (const std::string& trid : trids) ASSERT_EQ(deliver(database_, trid).outcome, Outcome::Written) << trid;
  for (const std::string& trid : trids) EXPECT_TRUE(database_.isTRIDPresent(trid)) << trid;

  for (const char* trid : {"o'k", "50%", "a_b", R"(back\slash)", "'); DROP TABLE trv_notifications; --", "ABC", "abc"}) {
    EXPECT_EQ(open(database_, trid).outcome, Outcome::Written) << trid;
  }
  EXPECT_EQ(inbox(), (Texts{"o'k=read", "50%=read", "500=unread", "a_b=read", "axb=unread", R"(back\slash=read)",
                            "'); DROP TABLE trv_notifications; --=read", "ABC=read", "abc=read",
                            "abcd=read"}));
  EXPECT_EQ(probe().column("SELECT substr(EventData, 6) FROM OrvantaInFlightEvents WHERE EventName = 'pn_open'"),
            (Texts{"o'k", "50%", "a_b", R"(back\slash)", "'); DROP TABLE trv_notifications; --", "ABC", "abc"}));
}

}  // namespace
}  // namespace orvanta
