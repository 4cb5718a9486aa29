// A database file found damaged, when it is opened or later by a statement:
// it is set aside and kept as it was, what can still be read of it is carried
// into a new file in its order, and the client goes on with that file.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "storage/database_source_fixture.h"
#include "support/log_lines.h"

namespace orvanta {
namespace {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

constexpr int kQueued = 300;  // some ten pages of rows

std::string bytesOf(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

// The first byte of the page in the middle of the file.
std::uintmax_t middlePage(const fs::path& path, std::uintmax_t pageSize) {
  return fs::file_size(path) / pageSize / 2 * pageSize;
}

// Overwrites the page at offset with a pattern no page starts with.
void scribble(const fs::path& path, std::uintmax_t offset, std::uintmax_t pageSize) {
  std::fstream file(path, std::ios::binary | std::ios::in | std::ios::out);
  file.seekp(static_cast<std::streamoff>(offset));
  file << std::string(pageSize, '\xA5');
}

class DamagedDatabaseTest : public DatabaseSourceTest {
 protected:
  // The file as an earlier run left it, every connection closed: kQueued
  // messages, one journaled and one notification in the inbox. Answers the
  // queued messages' data, oldest first.
  Texts fill() {
    Texts data;
    DatabaseSource earlier(files_, dates_, logger_);
    earlier.createDatabase();
    for (int i = 0; i < kQueued; ++i) {
      data.push_back("data=" + std::to_string(i) + "-" + std::string(100, 'x'));
      EXPECT_TRUE(earlier.addEvent("app_activity", data.back()));
    }
    EXPECT_TRUE(earlier.journalEvent("pn_open", "data=journaled"));
    earlier.NotificationReceived(notification("t1"), "unread");
    return data;
  }
  Texts column(const std::string& sql) { return probe().column(sql); }
  std::uintmax_t pageSize() { return std::stoull(column("PRAGMA page_size").at(0)); }
  // The files set aside beside the database.
  std::vector<fs::path> setAside() {
    std::vector<fs::path> found;
    for (const auto& entry : fs::directory_iterator(fs::path(path()).parent_path())) {
      if (entry.path().filename().string().find(".damaged-") != std::string::npos) found.push_back(entry.path());
    }
    return found;
  }
};

// Whether every element of part stands in whole, in the same order.
bool inOrderWithin(const Texts& part, const Texts& whole) {
  auto at = whole.begin();
  for (const std::string& text : part) {
    at = std::find(at, whole.end(), text);
    if (at == whole.end()) return false;
    ++at;
  }
  return true;
}

TEST_F(DamagedDatabaseTest, IsSetAsideWithWhatCanBeReadCarriedOverInOrder) {
  struct Case {
    const char* name;
    std::function<void(const fs::path&, std::uintmax_t pageSize)> damage;  // on a filled file, unless garbage
    bool filled;
    bool bothEndsKept;  // the damage lies inside the queue, not at its end
  };
  const Case cases[] = {
      {"not a database",
       [](const fs::path& file, auto) { std::ofstream(file, std::ios::binary) << std::string(8192, '\x5A'); }, false,
       false},
      {"cut after half its pages",
       [](const fs::path& file, auto page) { fs::resize_file(file, middlePage(file, page)); }, true, false},
      {"a damaged page", [](const fs::path& file, auto page) { scribble(file, middlePage(file, page), page); }, true,
       true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    fs::remove_all(fs::path(path()).parent_path());
    fs::create_directories(fs::path(path()).parent_path());
    const Texts original = c.filled ? fill() : Texts{};
    c.damage(path(), c.filled ? pageSize() : 0);
    const std::string damagedBytes = bytesOf(path());
    DatabaseSource source(files_, dates_, logger_);
    testing::LogLines log;

    ASSERT_TRUE(source.addEvent("pn_open", "data=after"));

    const std::vector<fs::path> aside = setAside();
    ASSERT_EQ(aside.size(), 1u);
    EXPECT_EQ(bytesOf(aside.front()), damagedBytes) << "kept as it was";
    Texts carried = column("SELECT EventData FROM OfflineEvents ORDER BY ID");
    ASSERT_FALSE(carried.empty());
    EXPECT_EQ(carried.back(), "data=after");
    carried.pop_back();
    EXPECT_TRUE(inOrderWithin(carried, original));
    if (c.filled) {
      ASSERT_GT(carried.size(), 0u);
      EXPECT_LT(carried.size(), original.size());
      EXPECT_EQ(carried.front(), original.front());
      EXPECT_EQ(column("SELECT EventData FROM OrvantaInFlightEvents"), Texts{"data=journaled"});
      EXPECT_EQ(column("SELECT ID FROM trv_notifications"), Texts{"t1"});
    }
    if (c.bothEndsKept) {
      EXPECT_EQ(carried.back(), original.back());
    }
    EXPECT_THAT(log.lines(), ::testing::Contains(::testing::AllOf(
                                 ::testing::HasSubstr(aside.front().string()),
                                 ::testing::HasSubstr(std::to_string(carried.size()) + " queued"))));
    // The replay goes on from the oldest row.
    const auto oldest = source.getEvent();
    ASSERT_TRUE(oldest);
    EXPECT_EQ(oldest->strEventData, c.filled ? original.front() : "data=after");
  }
}

// Damage the open connection has not read yet: the first statement that
// reaches it fails, the file is replaced, and the operation runs again on the
// new file.
TEST_F(DamagedDatabaseTest, AStatementThatFindsTheFileCorruptIsRunAgainOnANewFile) {
  const Texts original = fill();
  DatabaseSource source(files_, dates_, logger_);
  ASSERT_TRUE(source.getEvent());  // open, checked and found sound
  scribble(path(), middlePage(path(), pageSize()), pageSize());
  // Another connection's write makes this one read the file again.
  ASSERT_TRUE(probe().execute("INSERT INTO trv_notifications (ID) VALUES ('other')"));

  const auto all = source.getAllEvents();

  ASSERT_TRUE(all);
  EXPECT_EQ(setAside().size(), 1u);
  Texts carried;
  for (const auto& event : *all) carried.push_back(event.strEventData);
  EXPECT_LT(carried.size(), original.size());
  EXPECT_EQ(carried.back(), original.back());
  EXPECT_TRUE(inOrderWithin(carried, original));
}

}  // namespace
}  // namespace orvanta
