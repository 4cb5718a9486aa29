// The in-flight journal: a message is on disk from just before its first
// send until the answer, and one left behind by a dead process is queued at
// the next start.
#include <gtest/gtest.h>

#include "net/web_service_handler.h"
#include "support/database_probe.h"
#include "storage/database_source.h"
#include "storage/db_manager.h"
#include "support/test_runtime.h"

namespace orvanta {
namespace {

using Rows = std::vector<std::vector<std::string>>;

class InFlightJournalTest : public ::testing::Test {
 protected:
  void SetUp() override { database().createDatabase(); }

  DatabaseSource& database() { return runtime_.runtime().databaseSource(); }
  testing::DatabaseProbe probe() {
    return testing::DatabaseProbe(testing::databasePathIn(runtime_.platform().paths->documentsDirectory()));
  }
  Rows queued() { return probe().rows("SELECT EventName, EventData FROM OfflineEvents ORDER BY ID"); }
  std::size_t journaled() { return probe().rows("SELECT * FROM OrvantaInFlightEvents").size(); }

  testing::TestRuntime runtime_;
};

TEST_F(InFlightJournalTest, JournalRowsStayOutOfTheQueueUntilMoved) {
  ASSERT_TRUE(database().addEvent("pn_login", "data=1"));
  const auto ticket = database().journalEvent("app_activity", "data=2");
  ASSERT_TRUE(ticket);
  EXPECT_EQ(journaled(), 1u);
  EXPECT_EQ(queued(), (Rows{{"pn_login", "data=1"}}));

  EXPECT_TRUE(database().moveJournaledToQueue(*ticket));
  EXPECT_EQ(journaled(), 0u);
  EXPECT_EQ(queued(), (Rows{{"pn_login", "data=1"}, {"app_activity", "data=2"}}));
  EXPECT_FALSE(database().moveJournaledToQueue(*ticket)) << "moved once only";
  EXPECT_EQ(queued().size(), 2u);
}

TEST_F(InFlightJournalTest, DroppingRemovesOnlyThatRowAndATicketIsNeverHandedOutTwice) {
  const auto first = database().journalEvent("app_activity", "data=1");
  const auto second = database().journalEvent("app_activity", "data=2");
  ASSERT_TRUE(first && second);
  EXPECT_NE(*first, *second);
  EXPECT_TRUE(database().dropJournaled(*first));
  EXPECT_FALSE(database().dropJournaled(*first));
  EXPECT_EQ(probe().column("SELECT EventData FROM OrvantaInFlightEvents"), (std::vector<std::string>{"data=2"}));
  EXPECT_TRUE(queued().empty());

  // The newest row goes behind its sender's back (another process on the
  // file recovered it): the ticket the sender holds must not come to name
  // the next message.
  const auto third = database().journalEvent("app_activity", "data=3");
  ASSERT_TRUE(third);
  ASSERT_TRUE(probe().execute("DELETE FROM OrvantaInFlightEvents WHERE ID = " + std::to_string(*third)));
  const auto fourth = database().journalEvent("app_activity", "data=4");
  ASSERT_TRUE(fourth);
  EXPECT_NE(*fourth, *third);
  EXPECT_FALSE(database().dropJournaled(*third));
  EXPECT_EQ(probe().column("SELECT EventData FROM OrvantaInFlightEvents ORDER BY ID"),
            (std::vector<std::string>{"data=2", "data=4"}));
}

TEST_F(InFlightJournalTest, RecoveryQueuesEveryJournalRowOldestFirstBehindTheQueue) {
  ASSERT_TRUE(database().addEvent("pn_login", "data=0"));
  database().journalEvent("app_activity", "data=1");
  const auto dropped = database().journalEvent("app_activity", "data=2");
  database().journalEvent("pn_open", "data=3");
  database().dropJournaled(*dropped);

  EXPECT_EQ(database().recoverJournal(), 2);
  EXPECT_EQ(queued(), (Rows{{"pn_login", "data=0"}, {"app_activity", "data=1"}, {"pn_open", "data=3"}}));
  EXPECT_EQ(journaled(), 0u);
  EXPECT_EQ(database().recoverJournal(), 0);
}

TEST_F(InFlightJournalTest, RecoveryThatCannotQueueKeepsTheJournal) {
  database().journalEvent("app_activity", "data=1");
  database().journalEvent("app_activity", "data=2");
  ASSERT_TRUE(probe().execute("DROP TABLE OfflineEvents"));
  EXPECT_EQ(database().recoverJournal(), 0);
  EXPECT_EQ(journaled(), 2u);
}

// Through the envelope and the queue manager of a running client.
class InFlightMessageTest : public InFlightJournalTest {
 protected:
  void track() {
    runtime_.runtime().webServiceHandler().callPostService("app_activity", Map{{"eventid", 101}}, nullptr);
  }
  testing::ScriptedHttpClient& http() { return *runtime_.platform().http; }
};

TEST_F(InFlightMessageTest, AMessageIsJournaledWhileInFlightAndGoneWhenAnswered200) {
  http().holdAnswers(true);
  track();
  EXPECT_EQ(journaled(), 1u);
  http().releaseHeld();
  EXPECT_EQ(journaled(), 0u);
  EXPECT_TRUE(queued().empty());
}

TEST_F(InFlightMessageTest, AFailedFirstSendMovesExactlyWhatWasSentIntoTheQueue) {
  http().holdAnswers(true);
  track();
  http().answerWithStatus(500);
  http().releaseHeld();
  EXPECT_EQ(journaled(), 0u);
  const auto sent = http().requests().at(0);
  EXPECT_EQ(queued(), (Rows{{"app_activity", sent.body}}));
}

TEST_F(InFlightMessageTest, AMessageLeftInFlightByAnEarlierProcessIsSentAfterTheNextStart) {
  const std::string body = "data={\"eventid\":101,\"q\":\"it's\"}";
  ASSERT_TRUE(database().addEvent("pn_login", "data={\"eventid\":22}"));
  // Journaled and never settled: what a process killed before the answer
  // leaves behind.
  ASSERT_TRUE(runtime_.runtime().dbManager().recordInFlight("app_activity", body));
  runtime_.relaunch();

  runtime_.runtime().dbManager();
  EXPECT_EQ(journaled(), 0u);
  EXPECT_EQ(queued(), (Rows{{"pn_login", "data={\"eventid\":22}"}, {"app_activity", body}}));
  runtime_.platform().mainQueue->advance(4);
  ASSERT_EQ(http().requests().size(), 2u);
  EXPECT_EQ(http().requests()[1].url, "https://track.test/app_activity");
  EXPECT_EQ(http().requests()[1].body, body);
  EXPECT_TRUE(queued().empty());
}

}  // namespace
}  // namespace orvanta
