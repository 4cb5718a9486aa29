// Two FileSettingsStores on one file stand for two processes sharing a
// settings suite (the app and a notification extension): each takes the
// file's lock on a descriptor of its own, exactly as another process would.
#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "orvanta/json.h"
#include "platform/linux/file_settings_store.h"
#include "orvanta/testing/temporary_paths.h"
#include "support/value_printer.h"

namespace orvanta {
namespace {

namespace fs = std::filesystem;

class SharedSettingsFileTest : public ::testing::Test {
 protected:
  std::string path() const { return paths_.root() + "/Preferences/app.json"; }
  // What the file holds, read without going through a store.
  Value onDisk() const {
    std::ostringstream text;
    text << std::ifstream(path(), std::ios::binary).rdbuf();
    return fromTaggedJson(Json::parse(text.str()));
  }

  testing::TemporaryPaths paths_;
};

// One step of one "process": a change, or a synchronize().
struct Step {
  int store;
  enum { kSet, kRemove, kSynchronize } op;
  const char* key = "";
  Value value = Value();
};
Step set(int store, const char* key, Value value) { return {store, Step::kSet, key, std::move(value)}; }
Step remove(int store, const char* key) { return {store, Step::kRemove, key}; }
Step sync(int store) { return {store, Step::kSynchronize}; }

struct MergeCase {
  const char* name;
  Map before;  // the file both stores load
  std::vector<Step> steps;
  Map after;   // the file, and what both stores read, once both synchronized
};

using ByKey = std::map<std::string, Value>;

ByKey byKey(const Map& map) { return ByKey(map.begin(), map.end()); }

// What store reads under every key the case names.
ByKey byKey(const FileSettingsStore& store, const MergeCase& test) {
  std::vector<std::string> keys;
  for (const auto& [key, value] : test.before) keys.push_back(key);
  for (const Step& step : test.steps) keys.push_back(step.key);
  ByKey read;
  for (const std::string& key : keys) {
    if (std::optional<Value> value = store.get(key)) read.insert_or_assign(key, *value);
  }
  return read;
}

TEST_F(SharedSettingsFileTest, EachStoreWritesOnlyTheKeysItChangedAndTheLaterChangeOfAKeyWins) {
  const MergeCase cases[] = {
      // Changes of different keys survive whenever the writers run.
      {"both stores' keys survive", {{"old", 0}},
       {set(0, "login", "ada"), set(1, "deeplink", "app://x"), set(0, "token", Bytes{1, 2})},
       {{"old", 0}, {"login", "ada"}, {"token", Bytes{1, 2}}, {"deeplink", "app://x"}}},
      {"a removal survives the other store's write", {{"gone", 1}, {"kept", 2}},
       {remove(0, "gone"), set(1, "new", 3)},
       {{"kept", 2}, {"new", 3}}},
      {"a removal of a key only the other store wrote", {},
       {set(1, "late", 1), sync(1), remove(0, "late"), set(1, "other", 2)},
       {{"other", 2}}},
      // One key, changed by both: the one that reaches the file later wins.
      {"the later set wins", {{"k", "before"}},
       {set(0, "k", "first"), sync(0), set(1, "k", "second")},
       {{"k", "second"}}},
      {"the later set wins the other way round", {{"k", "before"}},
       {set(1, "k", "first"), sync(1), set(0, "k", "second")},
       {{"k", "second"}}},
      {"a later set of the value the store last read still wins", {{"k", "mine"}},
       {set(1, "k", "theirs"), sync(1), set(0, "k", "mine")},
       {{"k", "mine"}}},
      {"a later removal wins over a set", {{"k", "before"}},
       {set(0, "k", "set"), sync(0), remove(1, "k")},
       {}},
      {"a later set wins over a removal", {{"k", "before"}},
       {remove(1, "k"), sync(1), set(0, "k", "back")},
       {{"k", "back"}}},
  };
  for (const MergeCase& test : cases) {
    SCOPED_TRACE(test.name);
    fs::remove_all(paths_.root() + "/Preferences");
    {
      FileSettingsStore seed(path());
      for (const auto& [key, value] : test.before) seed.set(key, value);
      ASSERT_TRUE(seed.synchronize());
    }
    std::array<std::optional<FileSettingsStore>, 2> stores;
    for (auto& store : stores) store.emplace(path());
    for (const Step& step : test.steps) {
      FileSettingsStore& store = *stores[step.store];
      switch (step.op) {
        case Step::kSet: store.set(step.key, step.value); break;
        case Step::kRemove: store.remove(step.key); break;
        case Step::kSynchronize: ASSERT_TRUE(store.synchronize()); break;
      }
    }
    for (auto& store : stores) ASSERT_TRUE(store->synchronize());
    ASSERT_TRUE(stores[0]->synchronize());  // takes in what the other wrote last
    // Compared key by key: the order of keys in the file follows the order in
    // which the writer threads happened to run.
    EXPECT_EQ(byKey(*onDisk().asMap()), byKey(test.after));
    for (int s = 0; s < 2; ++s) EXPECT_EQ(byKey(*stores[s], test), byKey(test.after)) << "store " << s;
  }
}

TEST_F(SharedSettingsFileTest, OthersWritesShowAtSynchronizeAndInsideWithLock) {
  FileSettingsStore app(path());
  FileSettingsStore extension(path());
  app.set("own", 1);
  ASSERT_TRUE(app.synchronize());

  extension.set("trid", "t-1");
  ASSERT_TRUE(extension.synchronize());
  ASSERT_TRUE(app.synchronize());
  EXPECT_EQ(app.get("trid"), Value("t-1"));

  extension.set("trid", "t-2");
  ASSERT_TRUE(extension.synchronize());
  std::optional<Value> seen;
  EXPECT_TRUE(app.withLock([&] {
    seen = app.get("trid");
    app.set("seen", *seen);
    EXPECT_TRUE(app.synchronize());  // inside the lock: no wait for itself
    EXPECT_TRUE(app.withLock([&] { app.set("nested", true); }));
  }));
  EXPECT_EQ(seen, Value("t-2"));
  EXPECT_EQ(onDisk(), Value(Map{{"own", 1}, {"trid", "t-2"}, {"seen", "t-2"}, {"nested", true}}));
}

// Read-modify-writes through withLock on two stores never lose a step, which
// plain get-then-set would whenever the two interleave.
TEST_F(SharedSettingsFileTest, CountersIncrementedUnderWithLockFromBothStoresLoseNothing) {
  constexpr int kRounds = 50;
  {
    std::array<std::optional<FileSettingsStore>, 2> stores;
    for (auto& store : stores) store.emplace(path());
    std::vector<std::jthread> threads;
    for (auto& store : stores) {
      threads.emplace_back([&store = *store] {
        for (int i = 0; i < kRounds; ++i) {
          EXPECT_TRUE(store.withLock([&] {
            const std::optional<Value> count = store.get("count");
            store.set("count", count ? *count->asInteger() + 1 : 1);
          }));
        }
      });
    }
  }
  EXPECT_EQ(onDisk(), Value(Map{{"count", 2 * kRounds}}));
}

}  // namespace
}  // namespace orvanta
