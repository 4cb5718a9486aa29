// The client's database on real SQLite files: the schema, createDatabase on a
// new and on an existing file, the queue's order, the notification inbox, the
// in-flight journal, and the background checkpointer of the log.
#include "storage/database_source.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <limits>
#include <mutex>
#include <utility>

#include "orvanta/testing/temporary_paths.h"
#include "orvanta/testing/virtual_clock.h"
#include "storage/database_source_fixture.h"
#include "storage/wal_checkpointer.h"
#include "support/database_probe.h"
#include "support/value_printer.h"

namespace orvanta {
namespace {

namespace fs = std::filesystem;
using Rows = std::vector<std::vector<std::string>>;
using Texts = std::vector<std::string>;

constexpr const char* kQueueSchema =
    "CREATE TABLE OfflineEvents (ID INTEGER PRIMARY KEY AUTOINCREMENT, EventName TEXT, "
    "EventData TEXT)";
constexpr const char* kInboxSchema =
    "CREATE TABLE trv_notifications (ID TEXT, Message TEXT, DeliverTime TEXT, Status TEXT)";

// Statement texts as SQLite saw them, from the trace of the connection.
class StatementTrace {
 public:
  explicit StatementTrace(DatabaseSource& database) : database_(database) {
    database_.getDBConnection(
        [this](sqlite3* db) { sqlite3_trace_v2(db, SQLITE_TRACE_STMT, &record, this); });
  }
  ~StatementTrace() {
    database_.getDBConnection([](sqlite3* db) { sqlite3_trace_v2(db, 0, nullptr, nullptr); });
  }
  Texts take() { return std::exchange(texts_, {}); }

 private:
  static int record(unsigned, void* self, void* statement, void*) {
    auto* sql = sqlite3_sql(static_cast<sqlite3_stmt*>(statement));
    static_cast<StatementTrace*>(self)->texts_.emplace_back(sql);
    return 0;
  }
  DatabaseSource& database_;
  Texts texts_;
};

// A file that holds no table yet (what a crash right after the first open
// leaves behind) is made as a new one is.
TEST_F(DatabaseSourceTest, FirstCreateMakesBothTablesAndASecondOnlyEnsuresTheInbox) {
  ASSERT_TRUE(database().openDBConnection());
  ASSERT_TRUE(fs::exists(path()));
  database().createDatabase();
  EXPECT_EQ(schemaOf("OfflineEvents"), kQueueSchema);
  EXPECT_EQ(schemaOf("trv_notifications"), kInboxSchema);

  ASSERT_TRUE(probe().execute("DROP TABLE OfflineEvents; DROP TABLE trv_notifications;"));
  database().createDatabase();
  EXPECT_EQ(schemaOf("trv_notifications"), kInboxSchema);
  EXPECT_FALSE(probe().hasTable("OfflineEvents"));
  EXPECT_FALSE(database().addEvent("app_activity", "data={}"));
}

TEST_F(DatabaseSourceTest, EveryOperationRunsItsStatementTextExactly) {
  StatementTrace trace(database());
  database().createDatabase();
  Texts creates;
  for (std::string& text : trace.take()) {
    if (text.starts_with("CREATE")) creates.push_back(std::move(text));
  }
  EXPECT_EQ(creates, (Texts{"CREATE TABLE IF NOT EXISTS OfflineEvents (ID INTEGER PRIMARY KEY "
                            "AUTOINCREMENT, EventName TEXT, EventData TEXT);",
                            "CREATE TABLE IF NOT EXISTS trv_notifications (ID TEXT, Message TEXT, "
                            "DeliverTime TEXT, Status TEXT);",
                            // The in-flight journal, ours.
                            "CREATE TABLE IF NOT EXISTS OrvantaInFlightEvents (ID INTEGER PRIMARY KEY "
                            "AUTOINCREMENT, EventName TEXT, EventData TEXT);"}));
  database().addEvent("app_activity", "data={}");
  database().deleteData(database().getEvent()->eventID);
  EXPECT_EQ(trace.take(), (Texts{"insert into  OfflineEvents (EventName,EventData) Values(?,?)",
                                 "SELECT * FROM OfflineEvents ORDER BY ID  ASC LIMIT 1",
                                 "delete from OfflineEvents where ID = ?"}));
  database().NotificationReceived(notification("o'k"), "unread");
  EXPECT_EQ(trace.take(),
            (Texts{"SELECT * FROM trv_notifications order by DeliverTime desc limit 10",
                   "INSERT INTO trv_notifications (ID, Message, DeliverTime, Status) VALUES "
                   "(?,?,?,?)"}));
  database().NotificationOpened(notification("o'k"), "it's read");
  EXPECT_EQ(trace.take(),
            (Texts{"UPDATE trv_notifications SET Status = 'it''s read' WHERE ID LIKE 'o''k%'"}));
}

// The DBConnection handle: set by each queue operation and cleared by its
// success, so a failed insert or delete leaves it set. Cases run in order;
// each starts with the handle closed.
TEST_F(DatabaseSourceTest, TheHandleIsSetByEachQueueOperationAndClearedOnlyByItsSuccess) {
  database().createDatabase();
  EXPECT_FALSE(database().IsDatabaseOpen());
  EXPECT_FALSE(database().closeDBConnection()) << "nothing to close";
  struct Case {
    const char* operation;
    std::function<void()> run;
    bool leftSet;
  };
  const std::vector<Case> cases{
      {"open", [&] { EXPECT_TRUE(database().openDBConnection()); }, true},
      {"reach the connection",
       [&] { database().getDBConnection([](sqlite3* db) { EXPECT_NE(db, nullptr); }); }, true},
      {"insert", [&] { EXPECT_TRUE(database().addEvent("pn_open", "data={}")); }, false},
      {"read", [&] { EXPECT_TRUE(database().getEvent()); }, false},
      {"delete", [&] { EXPECT_TRUE(database().deleteData(1)); }, false},
      {"list", [&] { EXPECT_TRUE(database().getAllEvents()); }, false},
      {"failed insert",
       [&] {
         ASSERT_TRUE(probe().execute("DROP TABLE OfflineEvents"));
         EXPECT_FALSE(database().addEvent("pn_open", "data={}"));
       },
       true},
      {"failed delete", [&] { EXPECT_FALSE(database().deleteData(1)); }, true},
      {"failed read", [&] { EXPECT_FALSE(database().getEvent()); }, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.operation);
    c.run();
    EXPECT_EQ(database().IsDatabaseOpen(), c.leftSet);
    EXPECT_EQ(database().closeDBConnection(), c.leftSet);
    EXPECT_FALSE(database().IsDatabaseOpen());
  }
}

TEST_F(DatabaseSourceTest, AnOlderFileWithoutInboxGainsItAndKeepsItsQueue) {
  fs::create_directories(fs::path(path()).parent_path());
  ASSERT_EQ(
      sqlite::execute(sqlite::open(path()).get(),
                      "CREATE TABLE OfflineEvents (ID INTEGER PRIMARY KEY AUTOINCREMENT, "
                      "EventName TEXT, EventData TEXT);"
                      "INSERT INTO OfflineEvents (EventName, EventData) VALUES ('pn_open', 'x');"),
      SQLITE_OK);
  database().createDatabase();
  EXPECT_EQ(schemaOf("trv_notifications"), kInboxSchema);
  EXPECT_EQ(probe().rows("SELECT EventName, EventData FROM OfflineEvents"),
            (Rows{{"pn_open", "x"}}));
}

TEST_F(DatabaseSourceTest, QueueIsFirstInFirstOutByIdAndNeverReusesIds) {
  database().createDatabase();
  const std::string quoted = "data={\"eventid\":101, \"q\":\"it's\"}";
  ASSERT_TRUE(database().addEvent("pn_login", "data={}"));
  ASSERT_TRUE(database().addEvent("app_activity", quoted));
  Rows read;
  std::vector<std::int64_t> ids;
  while (const auto event = database().getEvent()) {
    ASSERT_LT(read.size(), 3u) << "a deleted row came back";
    read.push_back({event->strEventName, event->strEventData});
    ids.push_back(event->eventID);
    ASSERT_TRUE(database().deleteData(event->eventID));
    // Added to an empty queue: its ID still follows the deleted ones.
    if (read.size() == 2) database().addEvent("pn_logout", "data={}");
  }
  EXPECT_EQ(read,
            (Rows{{"pn_login", "data={}"}, {"app_activity", quoted}, {"pn_logout", "data={}"}}));
  EXPECT_TRUE(ids[0] < ids[1] && ids[1] < ids[2]) << ::testing::PrintToString(ids);
}

// A row whose ID does not fit in 32 bits is read back whole, and deleting it
// never hits the row whose ID is its low 32 bits.
TEST_F(DatabaseSourceTest, IdsBeyond32BitsAreReadBackAndDeletedExactly) {
  database().createDatabase();
  const auto insert = [&](std::int64_t id, const std::string& data) {
    return probe().execute("INSERT INTO OfflineEvents (ID, EventName, EventData) VALUES (" +
                           std::to_string(id) + ", 'pn_open', '" + data + "')");
  };
  for (const std::int64_t id : {std::int64_t{1} << 31, (std::int64_t{1} << 32) + 7,
                                std::numeric_limits<std::int64_t>::max()}) {
    SCOPED_TRACE(id);
    ASSERT_TRUE(insert(id, "large"));
    const std::optional<OrvantaEventModel> event = database().getEvent();
    ASSERT_TRUE(event);
    EXPECT_EQ(event->eventID, id);

    ASSERT_TRUE(insert(static_cast<std::int32_t>(id), "wrapped"));
    EXPECT_TRUE(database().deleteData(id));
    EXPECT_EQ(probe().column("SELECT EventData FROM OfflineEvents"), (Texts{"wrapped"}));
    ASSERT_TRUE(probe().execute("DELETE FROM OfflineEvents"));
  }
}

TEST_F(DatabaseSourceTest, InboxStoresTheWholeNotificationOnceAndASecondDeliveryMarksItRead) {
  database().createDatabase();
  database().NotificationReceived(notification("t-1"), "unread");
  // Without a text trid there is nothing to store.
  database().NotificationReceived(Map{{"aps", Map{}}}, "unread");
  database().NotificationReceived(Map{{"payload", Map{{"trid", 42}}}}, "unread");
  // Delivered at the test clock's local time, as yyMMddHHmmss.
  const Map row{{"ID", "t-1"},
                {"MessageData", notification("t-1")},
                {"DeliverTime", "231114221320"},
                {"Status", "unread"}};
  EXPECT_EQ(database().GetAllReceivedNotifications(), (Array{row}));

  deliver("t-1");
  EXPECT_EQ(inbox(), (Texts{"t-1=read"}));
  EXPECT_TRUE(database().isTRIDOpened("t-1"));
}

TEST_F(DatabaseSourceTest, OpeningMarksEveryRowWhoseIdBeginsWithTheTridQuotesIncluded) {
  database().createDatabase();
  for (const char* trid : {"o'brien", "o'brien-2", "xo'brien", "o"}) deliver(trid);
  EXPECT_TRUE(database().isTRIDPresent("o'brien"));
  database().NotificationOpened(notification("o'brien"), "read");
  EXPECT_EQ(inbox(), (Texts{"o'brien=read", "o'brien-2=read", "xo'brien=unread", "o=unread"}));
  EXPECT_TRUE(database().isTRIDOpened("o'brien-2"));
  EXPECT_FALSE(database().isTRIDOpened("o'b")) << "lookups match whole ids";
  // A quote cannot end the text early and widen the match to every row.
  database().NotificationOpened(notification("' OR 1=1 --"), "read");
  database().NotificationOpened(notification("o"), "it's read");
  EXPECT_EQ(inbox(),
            (Texts{"o'brien=it's read", "o'brien-2=it's read", "xo'brien=unread", "o=it's read"}));
}

TEST_F(DatabaseSourceTest, OnlyTheTenNewestInboxRowsAreListedOrConsulted) {
  database().createDatabase();
  for (int i = 1; i <= 11; ++i) deliver("t" + std::to_string(i));
  // Newest first.
  const Array listed = database().GetAllReceivedNotifications();
  ASSERT_EQ(listed.size(), 10u);
  EXPECT_EQ(*listed.front().asMap()->find("ID"), Value("t11"));
  EXPECT_EQ(*listed.back().asMap()->find("ID"), Value("t2"));

  database().NotificationOpened(notification("t1"), "read");
  EXPECT_EQ(inbox().front(), "t1=read") << "the update itself sees every row";
  EXPECT_FALSE(database().isTRIDPresent("t1"));
  // So the oldest one, delivered again, is stored again.
  deliver("t1");
  EXPECT_EQ(inbox().size(), 12u);
  EXPECT_EQ(*database().GetAllReceivedNotifications().front().asMap()->find("ID"), Value("t1"));
}

// A recovery that cannot queue keeps the rows.
TEST_F(DatabaseSourceTest, JournalRowsAreOnlyDroppedOnceQueued) {
  database().createDatabase();
  ASSERT_TRUE(database().journalEvent("app_activity", "data=1"));
  ASSERT_TRUE(probe().execute("DROP TABLE OfflineEvents"));
  EXPECT_EQ(database().recoverJournal(), 0);
  EXPECT_EQ(probe().column("SELECT EventData FROM OrvantaInFlightEvents"), (Texts{"data=1"}));
}

// The checkpointer on a real WAL file: the log is copied back into the file
// once it passes the threshold, and never by the writer itself.
class WalCheckpointerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    db_ = sqlite::open(path_);
    ASSERT_EQ(sqlite::execute(db_.get(),
                              "PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL;"
                              "CREATE TABLE rows (data BLOB);"),
              SQLITE_OK);
  }
  // Commits of one row each, under the writers' lock as the library's are.
  void write(int commits, int bytes) {
    const std::string insert = "INSERT INTO rows VALUES (zeroblob(" + std::to_string(bytes) + "))";
    for (int i = 0; i < commits; ++i) {
      std::lock_guard writing(writers_);
      ASSERT_EQ(sqlite::execute(db_.get(), insert.c_str()), SQLITE_OK);
    }
  }
  std::uintmax_t fileSize() { return std::filesystem::file_size(path_); }
  // The log header's checkpoint sequence: how often the log has started over.
  std::uint32_t logGeneration() {
    unsigned char header[16] = {};
    std::ifstream(path_ + "-wal", std::ios::binary)
        .read(reinterpret_cast<char*>(header), sizeof header);
    return std::uint32_t{header[12]} << 24 | header[13] << 16 | header[14] << 8 | header[15];
  }

  testing::TemporaryPaths paths_;
  const std::string path_ = paths_.documentsDirectory() + "/store.sqlite";
  std::mutex writers_;
  sqlite::Connection db_;
};

TEST_F(WalCheckpointerTest, CheckpointsOffTheWritersThreadAndStartsTheLogOverItself) {
  const auto before = fileSize();
  // Well past the 1000 pages at which SQLite would checkpoint by itself on
  // the writer's connection.
  WalCheckpointer never(path_, 1'000'000, writers_);
  never.attach(db_.get());
  write(600, 6000);
  never.flush();
  EXPECT_EQ(fileSize(), before);
  EXPECT_GT(std::filesystem::file_size(path_ + "-wal"), 1000u * 4096);
  EXPECT_EQ(logGeneration(), 0u);

  // Its replacement copies the log back at its own threshold, after one
  // commit of some 25 pages: the checkpoint cannot run while this thread is
  // still writing.
  WalCheckpointer checkpointer(path_, 16, writers_);
  checkpointer.attach(db_.get());
  write(1, 100000);
  checkpointer.flush();
  EXPECT_GT(fileSize(), before + 600u * 6000 + 100000);
  EXPECT_EQ(logGeneration(), 1u) << "started over with no further write from this thread";
}

}  // namespace
}  // namespace orvanta
