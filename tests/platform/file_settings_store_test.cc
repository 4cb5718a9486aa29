#include "platform/linux/file_settings_store.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "orvanta/json.h"
#include "platform/testing/temporary_paths.h"
#include "support/log_lines.h"

namespace orvanta {
namespace {

namespace fs = std::filesystem;

std::string contentsOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

void writeFile(const std::string& path, const std::string& text) {
  std::ofstream(path, std::ios::binary | std::ios::trunc) << text;
}

// What the file holds right now, read without going through a store.
Value onDisk(const std::string& path) { return fromTaggedJson(Json::parse(contentsOf(path))); }

class FileSettingsStoreTest : public ::testing::Test {
 protected:
  std::string path() const { return paths_.root() + "/settings/suite.json"; }
  std::unique_ptr<FileSettingsStore> open() { return std::make_unique<FileSettingsStore>(path()); }

  testing::TemporaryPaths paths_;
};

TEST_F(FileSettingsStoreTest, ChangesAreVisibleAtOnceAndReloadWithTheirKinds) {
  const Map lookalike{{"$bytes", "aGk="}};
  {
    auto store = open();
    EXPECT_EQ(store->get("absent"), std::nullopt);
    store->set("bytes", Bytes{0, 1, 255});
    store->set("date", Date{1700000000.75});
    store->set("double", 2.0);
    store->set("int", 2);
    store->set("marker", Null{});
    store->set("lookalike", lookalike);
    store->set("nested", Map{{"list", Array{Date{1}, Bytes{}, "x"}}});
    store->set("gone", true);
    store->remove("gone");
    store->set("int", 3);  // replaced before any write finished, maybe
    EXPECT_EQ(store->get("int"), Value(3));
    EXPECT_EQ(store->get("gone"), std::nullopt);
    // No synchronize(): the destructor must still persist everything.
  }
  auto store = open();
  EXPECT_EQ(store->get("bytes"), Value(Bytes{0, 1, 255}));
  EXPECT_EQ(store->get("date"), Value(Date{1700000000.75}));
  EXPECT_TRUE(store->get("double")->isDouble());
  EXPECT_EQ(store->get("int"), Value(3));
  EXPECT_EQ(store->get("marker"), Value(Null{}));
  EXPECT_EQ(store->get("lookalike"), Value(lookalike));
  EXPECT_EQ(store->get("nested"), Value(Map{{"list", Array{Date{1}, Bytes{}, "x"}}}));
  EXPECT_EQ(store->get("gone"), std::nullopt);
}

TEST_F(FileSettingsStoreTest, SynchronizeLeavesTheFileHoldingEveryEarlierChange) {
  auto store = open();
  EXPECT_TRUE(store->synchronize());  // nothing to write yet
  EXPECT_FALSE(fs::exists(path()));

  for (int i = 0; i < 20; ++i) store->set("counter", i);
  store->set("name", "first");
  ASSERT_TRUE(store->synchronize());
  EXPECT_EQ(onDisk(path()), Value(Map{{"counter", 19}, {"name", "first"}}));

  store->remove("counter");
  ASSERT_TRUE(store->synchronize());
  EXPECT_EQ(onDisk(path()), Value(Map{{"name", "first"}}));

  struct stat info {};
  ASSERT_EQ(::stat(path().c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0600u);
  EXPECT_FALSE(fs::exists(path() + ".tmp"));
}

TEST_F(FileSettingsStoreTest, FailedWriteIsReportedAndRetriedBySynchronize) {
  // A plain file where the folder should be: every write fails, even as root.
  const std::string blocker = paths_.root() + "/settings";
  writeFile(blocker, "not a folder");
  testing::LogLines log;
  auto store = open();
  store->set("key", "value");
  EXPECT_FALSE(store->synchronize());
  EXPECT_TRUE(log.contains(path()));
  EXPECT_EQ(store->get("key"), Value("value"));  // memory keeps the change

  fs::remove(blocker);
  fs::create_directory(blocker);
  EXPECT_TRUE(store->synchronize());  // no new change: the failed write is retried
  EXPECT_EQ(onDisk(path()), Value(Map{{"key", "value"}}));
}

TEST_F(FileSettingsStoreTest, CorruptFileReadsAsEmptyIsLoggedAndKeptAside) {
  const std::string corruptions[] = {
      "",                                 // cut before the first byte
      R"({"key": "val)",                  // cut in the middle
      std::string("\x00\x01\xFFkey", 6),  // not text at all
      R"(["key"])",                       // JSON, but not an object
      R"({"$bytes": "aGk="})",            // an object that reads as bytes, not a map
  };
  fs::create_directories(fs::path(path()).parent_path());
  for (const std::string& text : corruptions) {
    SCOPED_TRACE(text);
    writeFile(path(), text);
    {
      testing::LogLines log;
      auto store = open();
      EXPECT_EQ(store->get("key"), std::nullopt);
      EXPECT_TRUE(log.contains(path()));
      EXPECT_EQ(contentsOf(path() + ".corrupt"), text);
      store->set("fresh", 1);
    }
    EXPECT_EQ(open()->get("fresh"), Value(1));
    fs::remove(path() + ".corrupt");
  }
}

TEST_F(FileSettingsStoreTest, UnreadableFileIsMovedAsideInsteadOfOverwritten) {
  fs::create_directories(path() + "/inside");  // a folder cannot be read as a file
  testing::LogLines log;
  auto store = open();
  EXPECT_TRUE(log.contains(path()));
  EXPECT_TRUE(fs::is_directory(path() + ".corrupt/inside"));
  store->set("key", 1);
  EXPECT_TRUE(store->synchronize());
  EXPECT_EQ(onDisk(path()), Value(Map{{"key", 1}}));
}

TEST_F(FileSettingsStoreTest, ConcurrentWritersEndWithTheLastWriteOfEachKey) {
  constexpr int kThreads = 8;
  constexpr int kWrites = 300;
  {
    auto store = open();
    std::vector<std::thread> writers;
    for (int t = 0; t < kThreads; ++t) {
      writers.emplace_back([&store, t] {
        const std::string own = "key" + std::to_string(t);
        for (int i = 0; i < kWrites; ++i) {
          store->set(own, Map{{"thread", t}, {"write", i}});
          store->set("shared", t);
          if (i % 3 == 0) store->remove("scratch" + std::to_string(t));
          if (i % 3 == 1) store->set("scratch" + std::to_string(t), Bytes(64, std::uint8_t(i)));
          // A writer always reads its own latest write back.
          EXPECT_EQ(store->get(own), Value(Map{{"thread", t}, {"write", i}}));
          if (i % 100 == 99) {
            EXPECT_TRUE(store->synchronize());
          }
        }
      });
    }
    for (std::thread& writer : writers) writer.join();
    EXPECT_TRUE(store->synchronize());
  }
  auto store = open();
  for (int t = 0; t < kThreads; ++t) {
    EXPECT_EQ(store->get("key" + std::to_string(t)),
              Value(Map{{"thread", t}, {"write", kWrites - 1}}));
    // 299 % 3 == 2: the last touch of scratch was the set at write 298.
    EXPECT_EQ(store->get("scratch" + std::to_string(t)), Value(Bytes(64, std::uint8_t(298))));
  }
  // Some thread wrote "shared" last; whichever it was, its value is whole.
  const std::optional<Value> shared = store->get("shared");
  ASSERT_TRUE(shared && shared->isInteger());
  EXPECT_LT(*shared->asInteger(), kThreads);
}

}  // namespace
}  // namespace orvanta
