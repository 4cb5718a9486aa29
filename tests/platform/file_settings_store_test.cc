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

// What the file holds right now, read without going through a store.
Value onDisk(const std::string& path) { return fromTaggedJson(Json::parse(contentsOf(path))); }

class FileSettingsStoreTest : public ::testing::Test {
 protected:
  std::string path() const { return paths_.root() + "/settings/suite.json"; }
  std::unique_ptr<FileSettingsStore> open() { return std::make_unique<FileSettingsStore>(path()); }

  testing::TemporaryPaths paths_;
};

TEST_F(FileSettingsStoreTest, ChangesAreVisibleAtOnceAndPersistAtomicallyWithTheirKinds) {
  // Every kind of value, and a map that looks like a tagged value.
  const Map kept{{"bytes", Bytes{0, 1, 255}},
                 {"date", Date{1700000000.75}},
                 {"int", 3},
                 {"marker", Null{}},
                 {"lookalike", Map{{"$bytes", "aGk="}}},
                 {"nested", Map{{"list", Array{Date{1}, Bytes{}, "x"}}}}};
  {
    auto store = open();
    EXPECT_TRUE(store->synchronize());  // nothing to write yet
    EXPECT_FALSE(fs::exists(path()));
    for (const auto& [key, value] : kept) store->set(key, value);
    store->set("gone", true);
    store->remove("gone");
    EXPECT_EQ(store->get("gone"), std::nullopt);
    ASSERT_TRUE(store->synchronize());
    EXPECT_EQ(onDisk(path()), Value(kept));
    struct stat info {};
    ASSERT_EQ(::stat(path().c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0600u);
    EXPECT_FALSE(fs::exists(path() + ".tmp"));

    store->set("double", 2.0);
    for (int i = 0; i < 20; ++i) store->set("counter", i);
    EXPECT_EQ(store->get("counter"), Value(19));
    // No synchronize(): the destructor must still persist everything.
  }
  auto store = open();
  for (const auto& [key, value] : kept) EXPECT_EQ(store->get(key), value) << key;
  EXPECT_TRUE(store->get("double")->isDouble());
  EXPECT_EQ(store->get("counter"), Value(19));
  EXPECT_EQ(store->get("gone"), std::nullopt);
}

TEST_F(FileSettingsStoreTest, FailedWriteIsReportedAndRetriedBySynchronize) {
  // A plain file where the folder should be: every write fails, even as root.
  const std::string blocker = paths_.root() + "/settings";
  std::ofstream(blocker) << "not a folder";
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
    std::ofstream(path(), std::ios::binary | std::ios::trunc) << text;
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

TEST_F(FileSettingsStoreTest, ConcurrentWritersEndWithTheLastWriteOfEachKey) {
  constexpr int kThreads = 8;
  constexpr int kWrites = 300;
  {
    auto store = open();
    std::vector<std::thread> writers;
    for (int t = 0; t < kThreads; ++t) {
      writers.emplace_back([&store, t] {
        const std::string own = "key" + std::to_string(t);
        const std::string scratch = "scratch" + std::to_string(t);
        for (int i = 0; i < kWrites; ++i) {
          store->set(own, Map{{"thread", t}, {"write", i}});
          if (i % 3 == 0) store->remove(scratch);
          if (i % 3 == 1) store->set(scratch, Bytes(64, std::uint8_t(i)));
          // A writer always reads its own latest write back.
          EXPECT_EQ(store->get(own), Value(Map{{"thread", t}, {"write", i}}));
          if (i % 100 == 99) {
            EXPECT_TRUE(store->synchronize());
          }
        }
      });
    }
    for (std::thread& writer : writers) writer.join();
  }
  auto store = open();
  for (int t = 0; t < kThreads; ++t) {
    EXPECT_EQ(store->get("key" + std::to_string(t)), Value(Map{{"thread", t}, {"write", kWrites - 1}}));
    // 299 % 3 == 2: the last touch of scratch was the set at write 298.
    EXPECT_EQ(store->get("scratch" + std::to_string(t)), Value(Bytes(64, std::uint8_t(298))));
  }
}

}  // namespace
}  // namespace orvanta
