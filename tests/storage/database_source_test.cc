// DatabaseSource on real SQLite files: the schema, createDatabase on a new
// and on an existing file, the queue's order and results, and the life of
// the DBConnection handle.
#include "storage/database_source.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "support/database_probe.h"
#include "support/test_runtime.h"

namespace orvanta {
namespace {

namespace fs = std::filesystem;
using testing::DatabaseProbe;

constexpr const char* kQueueSchema =
    "CREATE TABLE OfflineEvents (ID INTEGER PRIMARY KEY AUTOINCREMENT, EventName TEXT, EventData TEXT)";
constexpr const char* kInboxSchema =
    "CREATE TABLE trv_notifications (ID TEXT, Message TEXT, DeliverTime TEXT, Status TEXT)";

class DatabaseSourceTest : public ::testing::Test {
 protected:
  DatabaseSource& database() { return runtime_.runtime().databaseSource(); }
  std::string path() { return testing::databasePathIn(runtime_.platform().paths->documentsDirectory()); }
  DatabaseProbe probe() { return DatabaseProbe(path()); }
  std::string schemaOf(const std::string& table) {
    auto sql = probe().column("SELECT sql FROM sqlite_master WHERE name = '" + table + "'");
    return sql.empty() ? "" : sql.front();
  }

  testing::TestRuntime runtime_;
};

TEST_F(DatabaseSourceTest, FirstCreateMakesFolderFileAndBothTablesAsWritten) {
  ASSERT_FALSE(fs::exists(fs::path(path()).parent_path()));
  database().createDatabase();
  ASSERT_TRUE(fs::exists(path()));
  EXPECT_EQ(schemaOf("OfflineEvents"), kQueueSchema);
  EXPECT_EQ(schemaOf("trv_notifications"), kInboxSchema);
}

TEST_F(DatabaseSourceTest, CreateOnAnExistingFileOnlyEnsuresTheInbox) {
  database().createDatabase();
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
  const auto event = database().getEvent();
  ASSERT_TRUE(event);
  EXPECT_EQ(event->strEventName, "pn_open");
  EXPECT_EQ(event->strEventData, "data={\"eventid\":13}");
}

TEST_F(DatabaseSourceTest, QueueIsFirstInFirstOutByIdAndNeverReusesIds) {
  database().createDatabase();
  EXPECT_EQ(database().getEvent(), std::nullopt);
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

TEST_F(DatabaseSourceTest, DBConnectionIsSetAndClearedAsEachOperationDefines) {
  database().createDatabase();
  EXPECT_FALSE(database().IsDatabaseOpen()) << "making the file does not set it";
  EXPECT_FALSE(database().closeDBConnection()) << "nothing to close";
  EXPECT_TRUE(database().openDBConnection());
  EXPECT_TRUE(database().IsDatabaseOpen());
  EXPECT_NE(database().DBConnection(), nullptr);
  EXPECT_TRUE(database().closeDBConnection());
  EXPECT_FALSE(database().IsDatabaseOpen());
  EXPECT_EQ(database().DBConnection(), nullptr);

  // Operations work again after the explicit close.
  ASSERT_TRUE(database().addEvent("app_activity", "data={}"));
  EXPECT_FALSE(database().IsDatabaseOpen()) << "closed at the end of a stored insert";
  ASSERT_TRUE(database().getEvent());
  EXPECT_FALSE(database().IsDatabaseOpen());

  ASSERT_TRUE(probe().execute("DROP TABLE OfflineEvents"));
  EXPECT_FALSE(database().addEvent("app_activity", "data={}"));
  EXPECT_TRUE(database().IsDatabaseOpen()) << "left open by a failed insert";
  EXPECT_FALSE(database().deleteData(1));
  EXPECT_TRUE(database().IsDatabaseOpen()) << "left open by a failed delete";
  EXPECT_EQ(database().getEvent(), std::nullopt);
  EXPECT_FALSE(database().IsDatabaseOpen()) << "getEvent closes it even when it finds nothing";
}

TEST_F(DatabaseSourceTest, AFileThatCannotBeOpenedFailsEachOperationAsDefined) {
  // A folder where the file should be: SQLite cannot open it.
  fs::create_directories(path());
  database().createDatabase();
  EXPECT_FALSE(database().openDBConnection());
  EXPECT_EQ(database().getDBConnection(), nullptr);
  EXPECT_FALSE(database().addEvent("app_activity", "data={}"));
  EXPECT_TRUE(database().deleteData(1)) << "no connection counts as nothing left to delete";
  EXPECT_EQ(database().getEvent(), std::nullopt);
  database().NotificationReceived(Map{{"payload", Map{{"trid", "t1"}}}}, "unread");
  EXPECT_TRUE(database().GetAllReceivedNotifications().empty());
  EXPECT_FALSE(database().isTRIDPresent("t1"));
  EXPECT_FALSE(database().DeleteAllReceivedNotifications());
  EXPECT_EQ(database().journalEvent("app_activity", "data={}"), std::nullopt);
  EXPECT_EQ(database().recoverJournal(), 0);
}

// Statement texts as SQLite saw them, from the trace of the connection.
class StatementTrace {
 public:
  explicit StatementTrace(sqlite3* db) : db_(db) {
    sqlite3_trace_v2(db_, SQLITE_TRACE_STMT, &StatementTrace::record, this);
  }
  ~StatementTrace() { sqlite3_trace_v2(db_, 0, nullptr, nullptr); }
  std::vector<std::string> take() { return std::exchange(texts_, {}); }

 private:
  static int record(unsigned, void* self, void* statement, void*) {
    static_cast<StatementTrace*>(self)->texts_.emplace_back(sqlite3_sql(static_cast<sqlite3_stmt*>(statement)));
    return 0;
  }
  sqlite3* db_;
  std::vector<std::string> texts_;
};

TEST_F(DatabaseSourceTest, EveryOperationRunsItsStatementTextExactly) {
  database().createDatabase();
  StatementTrace trace(database().getDBConnection());

  database().addEvent("app_activity", "data={}");
  const auto event = database().getEvent();
  database().deleteData(event->eventID);
  EXPECT_EQ(trace.take(), (std::vector<std::string>{"insert into  OfflineEvents (EventName,EventData) Values(?,?)",
                                                    "SELECT * FROM OfflineEvents ORDER BY ID  ASC LIMIT 1",
                                                    "delete from OfflineEvents where ID = ?"}));

  const Map notification{{"payload", Map{{"trid", "o'k"}}}};
  const std::string newest = "SELECT * FROM trv_notifications order by DeliverTime desc limit 10";
  database().NotificationReceived(notification, "unread");
  EXPECT_EQ(trace.take(),
            (std::vector<std::string>{
                newest, "INSERT INTO trv_notifications (ID, Message, DeliverTime, Status) VALUES (?,?,?,?)"}));
  database().NotificationOpened(notification, "it's read");
  EXPECT_EQ(trace.take(),
            (std::vector<std::string>{"UPDATE trv_notifications SET Status = 'it''s read' WHERE ID LIKE 'o''k%'"}));
  database().DeleteAllReceivedNotifications();
  EXPECT_EQ(trace.take(), (std::vector<std::string>{"DELETE FROM trv_notifications"}));
}

TEST_F(DatabaseSourceTest, AFileACrashLeftWithoutAnyTableIsMadeAgainWithTheTextsAsWritten) {
  // Opening the connection writes the file: what a crash right after the
  // first open leaves behind.
  StatementTrace trace(database().getDBConnection());
  ASSERT_TRUE(fs::exists(path()));
  database().createDatabase();
  std::vector<std::string> creates;
  for (std::string& text : trace.take())
    if (text.starts_with("CREATE")) creates.push_back(std::move(text));
  ASSERT_GE(creates.size(), 2u);
  EXPECT_EQ(creates[0],
            "CREATE TABLE IF NOT EXISTS OfflineEvents (ID INTEGER PRIMARY KEY AUTOINCREMENT, EventName TEXT, "
            "EventData TEXT);");
  EXPECT_EQ(creates[1], "CREATE TABLE IF NOT EXISTS trv_notifications (ID TEXT, Message TEXT, DeliverTime TEXT, "
                        "Status TEXT);");
  EXPECT_TRUE(database().addEvent("app_activity", "data={}"));
}

}  // namespace
}  // namespace orvanta
