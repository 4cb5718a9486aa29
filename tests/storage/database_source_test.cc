// The client's database on real SQLite files: the statement texts (the schema
// on a new and on an existing file, the queue's order), the connection handle,
// 64-bit ids, the notification inbox, the in-flight journal, and the
// background checkpointer of the log.
#include "storage/database_source.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <limits>
#include <mutex>
#include <tuple>
#include <utility>

#include "storage/database_source_fixture.h"
#include "storage/wal_checkpointer.h"
#include "support/database_probe.h"
#include "support/value_printer.h"

namespace orvanta {
namespace {

using Texts = std::vector<std::string>;

// Every operation's statement text, exactly. A file that holds no table yet
// (a new one, or what a crash right after the first open leaves) gets every
// table in one transaction; one that holds any is old: only the inbox and the
// journal are ensured, and a queue it lacks is not made again.
TEST_F(DatabaseSourceTest, EveryOperationRunsItsStatementTextExactly) {
  const char* const kAnyTable = "SELECT 1 FROM sqlite_master WHERE type = 'table' LIMIT 1";
  const char* const kInbox =
      "CREATE TABLE IF NOT EXISTS trv_notifications (ID TEXT, Message TEXT, DeliverTime TEXT, Status TEXT);";
  const char* const kJournal =
      "CREATE TABLE IF NOT EXISTS OrvantaInFlightEvents (ID INTEGER PRIMARY KEY AUTOINCREMENT, EventName TEXT, "
      "EventData TEXT);";
  trace();
  database().createDatabase();
  EXPECT_EQ(traced(), (Texts{kAnyTable, "BEGIN IMMEDIATE",
                             "CREATE TABLE IF NOT EXISTS OfflineEvents (ID INTEGER PRIMARY KEY AUTOINCREMENT, "
                             "EventName TEXT, EventData TEXT);",
                             kInbox, kJournal, "COMMIT"}));
  database().addEvent("app_activity", "data={}");
  database().deleteData(database().getEvent()->eventID);
  EXPECT_EQ(traced(), (Texts{"insert into  OfflineEvents (EventName,EventData) Values(?,?)",
                             "SELECT * FROM OfflineEvents ORDER BY ID  ASC LIMIT 1",
                             "delete from OfflineEvents where ID = ?"}));
  database().NotificationReceived(notification("o'k"), "unread");
  EXPECT_EQ(traced(), (Texts{"SELECT * FROM trv_notifications order by DeliverTime desc limit 10",
                             "INSERT INTO trv_notifications (ID, Message, DeliverTime, Status) VALUES (?,?,?,?)"}));
  database().NotificationOpened(notification("o'k"), "it's read");
  EXPECT_EQ(traced(), (Texts{"UPDATE trv_notifications SET Status = 'it''s read' WHERE ID LIKE 'o''k%'"}));

  ASSERT_TRUE(probe().execute("DROP TABLE OfflineEvents; DROP TABLE trv_notifications;"));
  database().createDatabase();
  EXPECT_EQ(traced(), (Texts{kAnyTable, kInbox, kJournal}));
  EXPECT_TRUE(probe().hasTable("trv_notifications"));
  EXPECT_FALSE(probe().hasTable("OfflineEvents"));
}

// The DBConnection handle: set by each queue operation and cleared by its
// success, so a failed insert or delete leaves it set. Cases run in order;
// each starts with the handle closed.
TEST_F(DatabaseSourceTest, TheHandleIsSetByEachQueueOperationAndClearedOnlyByItsSuccess) {
  database().createDatabase();
  EXPECT_FALSE(database().IsDatabaseOpen());
  EXPECT_FALSE(database().closeDBConnection()) << "nothing to close";
  // The operation, and whether it leaves the handle set.
  const std::vector<std::tuple<const char*, std::function<void()>, bool>> cases{
      {"open", [&] { EXPECT_TRUE(database().openDBConnection()); }, true},
      {"reach the connection", [&] { database().getDBConnection([](sqlite3* db) { EXPECT_NE(db, nullptr); }); }, true},
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
  for (const auto& [operation, run, leftSet] : cases) {
    SCOPED_TRACE(operation);
    run();
    EXPECT_EQ(database().IsDatabaseOpen(), leftSet);
    EXPECT_EQ(database().closeDBConnection(), leftSet);
    EXPECT_FALSE(database().IsDatabaseOpen());
  }
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
  EXPECT_EQ(database().GetAllReceivedNotifications(),
            (Array{Map{{"ID", "t-1"}, {"MessageData", notification("t-1")}, {"DeliverTime", "231114221320"},
                       {"Status", "unread"}}}));

  deliver("t-1");
  EXPECT_EQ(inbox(), (Texts{"t-1=read"}));
  EXPECT_TRUE(database().isTRIDOpened("t-1"));
}

TEST_F(DatabaseSourceTest, OpeningMarksEveryRowWhoseIdBeginsWithTheTrid) {
  database().createDatabase();
  for (const char* trid : {"o'brien", "o'brien-2", "xo'brien", "o"}) deliver(trid);
  EXPECT_TRUE(database().isTRIDPresent("o'brien"));
  database().NotificationOpened(notification("o'brien"), "read");
  EXPECT_EQ(inbox(), (Texts{"o'brien=read", "o'brien-2=read", "xo'brien=unread", "o=unread"}));
  EXPECT_TRUE(database().isTRIDOpened("o'brien-2"));
  EXPECT_FALSE(database().isTRIDOpened("o'b")) << "lookups match whole ids";
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
