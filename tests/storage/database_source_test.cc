// DatabaseSource on real SQLite files: the schema and its statement texts,
// createDatabase on a new and on an existing file, the queue's order, the
// notification inbox and the in-flight journal.
#include "storage/database_source.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "support/database_probe.h"
#include "support/test_runtime.h"

namespace orvanta {
namespace {

namespace fs = std::filesystem;
using Rows = std::vector<std::vector<std::string>>;
using Texts = std::vector<std::string>;

constexpr const char* kQueueSchema =
    "CREATE TABLE OfflineEvents (ID INTEGER PRIMARY KEY AUTOINCREMENT, EventName TEXT, EventData TEXT)";
constexpr const char* kInboxSchema =
    "CREATE TABLE trv_notifications (ID TEXT, Message TEXT, DeliverTime TEXT, Status TEXT)";

Map notification(const std::string& trid) {
  return Map{{"aps", Map{{"alert", Map{{"title", "Sale"}, {"body", "Today only"}}}, {"badge", 3}}},
             {"payload", Map{{"trid", trid}, {"deeplink", "shop://offers?atcm=spring"}}}};
}

// Statement texts as SQLite saw them, from the trace of the connection.
class StatementTrace {
 public:
  explicit StatementTrace(sqlite3* db) : db_(db) { sqlite3_trace_v2(db_, SQLITE_TRACE_STMT, &record, this); }
  ~StatementTrace() { sqlite3_trace_v2(db_, 0, nullptr, nullptr); }
  Texts take() { return std::exchange(texts_, {}); }

 private:
  static int record(unsigned, void* self, void* statement, void*) {
    static_cast<StatementTrace*>(self)->texts_.emplace_back(sqlite3_sql(static_cast<sqlite3_stmt*>(statement)));
    return 0;
  }
  sqlite3* db_;
  Texts texts_;
};

class DatabaseSourceTest : public ::testing::Test {
 protected:
  DatabaseSource& database() { return runtime_.runtime().databaseSource(); }
  std::string path() { return testing::databasePathIn(runtime_.platform().paths->documentsDirectory()); }
  testing::DatabaseProbe probe() { return testing::DatabaseProbe(path()); }
  std::string schemaOf(const std::string& table) {
    auto sql = probe().column("SELECT sql FROM sqlite_master WHERE name = '" + table + "'");
    return sql.empty() ? "" : sql.front();
  }
  // Every inbox row, oldest first, as (ID, Status), straight from the file.
  Rows inboxRows() { return probe().rows("SELECT ID, Status FROM trv_notifications ORDER BY rowid"); }
  Rows queued() { return probe().rows("SELECT EventName, EventData FROM OfflineEvents ORDER BY ID"); }
  // Each delivery one second after the one before, so the order is defined.
  void deliver(const std::string& trid) {
    runtime_.platform().clock->advance(1);
    database().NotificationReceived(notification(trid), "unread");
  }

  testing::TestRuntime runtime_;
};

// Opening the connection writes the file before any table: what a crash
// right after the first open leaves behind, made again as a new file is.
TEST_F(DatabaseSourceTest, FirstCreateMakesBothTablesAsWrittenAndASecondOnlyEnsuresTheInbox) {
  ASSERT_FALSE(fs::exists(fs::path(path()).parent_path()));
  StatementTrace trace(database().getDBConnection());
  ASSERT_TRUE(fs::exists(path()));
  database().createDatabase();
  Texts creates;
  for (std::string& text : trace.take()) {
    if (text.starts_with("CREATE")) creates.push_back(std::move(text));
  }
  ASSERT_GE(creates.size(), 2u);
  EXPECT_EQ(creates[0],
            "CREATE TABLE IF NOT EXISTS OfflineEvents (ID INTEGER PRIMARY KEY AUTOINCREMENT, EventName TEXT, "
            "EventData TEXT);");
  EXPECT_EQ(creates[1], "CREATE TABLE IF NOT EXISTS trv_notifications (ID TEXT, Message TEXT, DeliverTime TEXT, "
                        "Status TEXT);");
  EXPECT_EQ(schemaOf("OfflineEvents"), kQueueSchema);
  EXPECT_EQ(schemaOf("trv_notifications"), kInboxSchema);

  ASSERT_TRUE(probe().execute("DROP TABLE OfflineEvents; DROP TABLE trv_notifications;"));
  database().createDatabase();
  EXPECT_EQ(schemaOf("trv_notifications"), kInboxSchema);
  EXPECT_FALSE(probe().hasTable("OfflineEvents"));
  // And so the queue keeps failing.
  EXPECT_FALSE(database().addEvent("app_activity", "data={}"));
  EXPECT_EQ(database().getEvent(), std::nullopt);
}

TEST_F(DatabaseSourceTest, AnOlderFileWithoutInboxGainsItAndKeepsItsQueue) {
  fs::create_directories(fs::path(path()).parent_path());
  {
    sqlite::Connection old = sqlite::open(path());
    ASSERT_EQ(sqlite::execute(
                  old.get(),
                  "CREATE TABLE IF NOT EXISTS OfflineEvents (ID INTEGER PRIMARY KEY AUTOINCREMENT, "
                  "EventName TEXT, EventData TEXT);"
                  "INSERT INTO OfflineEvents (EventName, EventData) VALUES ('pn_open', 'data={\"eventid\":13}');"),
              SQLITE_OK);
  }
  database().createDatabase();
  EXPECT_EQ(schemaOf("trv_notifications"), kInboxSchema);
  EXPECT_EQ(queued(), (Rows{{"pn_open", "data={\"eventid\":13}"}}));
  EXPECT_EQ(database().getEvent()->strEventData, "data={\"eventid\":13}");
}

TEST_F(DatabaseSourceTest, QueueIsFirstInFirstOutByIdAndNeverReusesIds) {
  database().createDatabase();
  ASSERT_TRUE(database().addEvent("pn_login", "data={\"eventid\":22}"));
  ASSERT_TRUE(database().addEvent("app_activity", "data={\"eventid\":101, \"q\":\"it's\"}"));
  const auto first = database().getEvent();
  ASSERT_TRUE(first);
  EXPECT_EQ(first->strEventName, "pn_login");
  EXPECT_EQ(database().getEvent()->eventID, first->eventID) << "reading does not consume";

  ASSERT_TRUE(database().deleteData(first->eventID));
  const auto second = database().getEvent();
  ASSERT_TRUE(second);
  EXPECT_GT(second->eventID, first->eventID);
  EXPECT_EQ(second->strEventName, "app_activity");
  EXPECT_EQ(second->strEventData, "data={\"eventid\":101, \"q\":\"it's\"}");

  ASSERT_TRUE(database().deleteData(second->eventID));
  EXPECT_EQ(database().getEvent(), std::nullopt);
  ASSERT_TRUE(database().addEvent("pn_logout", "data={}"));
  EXPECT_GT(database().getEvent()->eventID, second->eventID);
}

TEST_F(DatabaseSourceTest, AFileThatCannotBeOpenedFailsEveryOperation) {
  // A folder where the file should be: SQLite cannot open it.
  fs::create_directories(path());
  database().createDatabase();
  EXPECT_FALSE(database().openDBConnection());
  EXPECT_FALSE(database().addEvent("app_activity", "data={}"));
  EXPECT_EQ(database().getEvent(), std::nullopt);
  EXPECT_EQ(database().journalEvent("app_activity", "data={}"), std::nullopt);
  EXPECT_EQ(database().recoverJournal(), 0);
}

TEST_F(DatabaseSourceTest, EveryOperationRunsItsStatementTextExactly) {
  database().createDatabase();
  StatementTrace trace(database().getDBConnection());
  database().addEvent("app_activity", "data={}");
  database().deleteData(database().getEvent()->eventID);
  EXPECT_EQ(trace.take(), (Texts{"insert into  OfflineEvents (EventName,EventData) Values(?,?)",
                                 "SELECT * FROM OfflineEvents ORDER BY ID  ASC LIMIT 1",
                                 "delete from OfflineEvents where ID = ?"}));

  database().NotificationReceived(notification("o'k"), "unread");
  EXPECT_EQ(trace.take(), (Texts{"SELECT * FROM trv_notifications order by DeliverTime desc limit 10",
                                 "INSERT INTO trv_notifications (ID, Message, DeliverTime, Status) VALUES (?,?,?,?)"}));
  database().NotificationOpened(notification("o'k"), "it's read");
  EXPECT_EQ(trace.take(), (Texts{"UPDATE trv_notifications SET Status = 'it''s read' WHERE ID LIKE 'o''k%'"}));
  database().DeleteAllReceivedNotifications();
  EXPECT_EQ(trace.take(), (Texts{"DELETE FROM trv_notifications"}));
}

TEST_F(DatabaseSourceTest, InboxStoresTheWholeNotificationOnceAndASecondDeliveryMarksItRead) {
  database().createDatabase();
  Map rich = notification("t-1");
  rich.set("extra", Map{{"list", Array{1, 2.5, "x", Value(Null{})}}, {"raw", Bytes{0, 255}}, {"flag", true}});
  database().NotificationReceived(rich, "unread");
  // Without a text trid there is nothing to store.
  database().NotificationReceived(Map{{"aps", Map{}}}, "unread");
  database().NotificationReceived(Map{{"payload", Map{{"trid", 42}}}}, "unread");

  const Array records = database().GetAllReceivedNotifications();
  ASSERT_EQ(records.size(), 1u);
  EXPECT_EQ(records[0], Value(Map{{"ID", "t-1"},
                                  {"MessageData", rich},
                                  {"DeliverTime", "231114221320"},  // the test clock's local time, yyMMddHHmmss
                                  {"Status", "unread"}}));
  EXPECT_FALSE(database().isTRIDOpened("t-1"));

  deliver("t-1");
  EXPECT_EQ(inboxRows(), (Rows{{"t-1", "read"}}));
  EXPECT_TRUE(database().isTRIDOpened("t-1"));
}

TEST_F(DatabaseSourceTest, OpeningMarksEveryRowWhoseIdBeginsWithTheTridQuotesIncluded) {
  database().createDatabase();
  for (const char* trid : {"o'brien", "o'brien-2", "xo'brien", "o"}) deliver(trid);
  EXPECT_TRUE(database().isTRIDPresent("o'brien"));
  database().NotificationOpened(notification("o'brien"), "read");
  EXPECT_EQ(inboxRows(), (Rows{{"o'brien", "read"}, {"o'brien-2", "read"}, {"xo'brien", "unread"}, {"o", "unread"}}));
  EXPECT_TRUE(database().isTRIDOpened("o'brien-2"));
  EXPECT_FALSE(database().isTRIDOpened("o'b")) << "lookups match whole ids";
  // A quote cannot end the text early and widen the match to every row.
  database().NotificationOpened(notification("' OR 1=1 --"), "read");
  database().NotificationOpened(notification("o"), "it's read");
  EXPECT_EQ(inboxRows(),
            (Rows{{"o'brien", "it's read"}, {"o'brien-2", "it's read"}, {"xo'brien", "unread"}, {"o", "it's read"}}));
}

TEST_F(DatabaseSourceTest, OnlyTheTenNewestInboxRowsAreListedOrConsulted) {
  database().createDatabase();
  for (int i = 1; i <= 11; ++i) deliver("t" + std::to_string(i));
  Texts listed;
  for (const Value& record : database().GetAllReceivedNotifications()) {
    listed.push_back(*record.asMap()->find("ID")->asString());
  }
  EXPECT_EQ(listed, (Texts{"t11", "t10", "t9", "t8", "t7", "t6", "t5", "t4", "t3", "t2"}));

  database().NotificationOpened(notification("t1"), "read");
  EXPECT_EQ(inboxRows()[0], (Texts{"t1", "read"})) << "the update itself sees every row";
  EXPECT_FALSE(database().isTRIDPresent("t1"));
  EXPECT_FALSE(database().isTRIDOpened("t1"));
  // So the oldest one, delivered again, is stored again.
  deliver("t1");
  EXPECT_EQ(inboxRows().size(), 12u);
  EXPECT_EQ(*database().GetAllReceivedNotifications().at(0).asMap()->find("ID"), Value("t1"));
}

// The newest journal row goes behind its sender's back (another process on
// the file recovered it): the ticket the sender holds must not come to name
// the next message. A recovery that cannot queue keeps the rows.
TEST_F(DatabaseSourceTest, AJournalTicketIsNeverHandedOutTwiceAndRowsAreOnlyDroppedOnceQueued) {
  database().createDatabase();
  const auto first = database().journalEvent("app_activity", "data=1");
  const auto second = database().journalEvent("app_activity", "data=2");
  ASSERT_TRUE(first && second);
  ASSERT_TRUE(probe().execute("DELETE FROM OrvantaInFlightEvents WHERE ID = " + std::to_string(*second)));
  const auto third = database().journalEvent("app_activity", "data=3");
  ASSERT_TRUE(third);
  EXPECT_NE(*third, *second);
  EXPECT_FALSE(database().dropJournaled(*second));
  EXPECT_TRUE(database().dropJournaled(*first));
  EXPECT_EQ(probe().column("SELECT EventData FROM OrvantaInFlightEvents"), (Texts{"data=3"}));

  ASSERT_TRUE(probe().execute("DROP TABLE OfflineEvents"));
  EXPECT_EQ(database().recoverJournal(), 0);
  EXPECT_EQ(probe().column("SELECT EventData FROM OrvantaInFlightEvents"), (Texts{"data=3"}));
}

}  // namespace
}  // namespace orvanta
