// The background checkpointer on a real WAL file: the log is copied back into
// the file once it passes the threshold, and never by the writer itself.
#include "storage/wal_checkpointer.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <mutex>

#include "platform/testing/temporary_paths.h"
#include "storage/sqlite_handles.h"

namespace orvanta {
namespace {

class WalCheckpointerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    db_ = sqlite::open(path_);
    ASSERT_TRUE(db_);
    ASSERT_EQ(sqlite::execute(db_.get(),
                              "PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL;"
                              "CREATE TABLE rows (data BLOB);"),
              SQLITE_OK);
  }
  // Each commit adds a few pages to the log.
  void write(int commits) {
    for (int i = 0; i < commits; ++i) {
      std::lock_guard writing(writers_);
      sqlite::Statement insert(db_.get(), "INSERT INTO rows VALUES (zeroblob(6000))");
      ASSERT_EQ(insert.step(), SQLITE_DONE);
    }
  }
  // One commit of some 25 pages: the checkpoint it asks for cannot run while
  // this thread is still writing.
  void writeOneLargeCommit() {
    std::lock_guard writing(writers_);
    ASSERT_EQ(sqlite::execute(db_.get(), "INSERT INTO rows VALUES (zeroblob(100000))"), SQLITE_OK);
  }
  std::uintmax_t fileSize() { return std::filesystem::file_size(path_); }
  std::uintmax_t logSize() { return std::filesystem::file_size(path_ + "-wal"); }
  // The log header's checkpoint sequence: how often the log has started over.
  std::uint32_t logGeneration() {
    unsigned char header[16] = {};
    std::ifstream(path_ + "-wal", std::ios::binary).read(reinterpret_cast<char*>(header), sizeof header);
    return std::uint32_t{header[12]} << 24 | std::uint32_t{header[13]} << 16 | std::uint32_t{header[14]} << 8 |
           header[15];
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
  write(600);
  never.flush();
  EXPECT_EQ(fileSize(), before);
  EXPECT_GT(logSize(), 1000u * 4096);
  EXPECT_EQ(logGeneration(), 0u);

  // Its replacement copies the log back at its own threshold.
  WalCheckpointer checkpointer(path_, 16, writers_);
  checkpointer.attach(db_.get());
  writeOneLargeCommit();
  checkpointer.flush();
  EXPECT_GT(fileSize(), before + 600u * 6000 + 100000);
  EXPECT_EQ(logGeneration(), 1u) << "started over with no further write from this thread";
  // So the next writer appends to the fresh log instead of starting (and
  // syncing) one itself.
  write(1);
  EXPECT_EQ(logGeneration(), 1u);
}

}  // namespace
}  // namespace orvanta
