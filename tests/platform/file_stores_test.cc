// The file-backed stores of the Linux platform: secure items and settings,
// each in a private file that is replaced whole on every write.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "orvanta/json.h"
#include "platform/linux/file_secure_store.h"
#include "platform/linux/file_settings_store.h"
#include "orvanta/testing/in_memory_secure_store.h"
#include "orvanta/testing/temporary_paths.h"
#include "support/log_lines.h"
#include "support/value_printer.h"

namespace orvanta {
namespace {

namespace fs = std::filesystem;

std::string contentsOf(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

Bytes utf8(std::string_view text) { return Bytes(text.begin(), text.end()); }

Map withKey(Map map, const char* key, Value value) {
  map.set(key, std::move(value));
  return map;
}

// An item laid out as the identifier wrapper stores it.
Map item(const std::string& generic, std::string_view account) {
  return Map{{kSecClass, kSecClassGenericPassword},
             {kSecAttrGeneric, generic},
             {kSecAttrAccount, utf8(account)},
             {kSecAttrLabel, ""},
             {kSecAttrDescription, ""},
             {kSecValueData, Bytes{}}};
}

// The wrapper's search query: class and generic attribute, one match, attributes.
Map query(const std::string& generic) {
  return Map{{kSecClass, kSecClassGenericPassword},
             {kSecAttrGeneric, generic},
             {kSecMatchLimit, kSecMatchLimitOne},
             {kSecReturnAttributes, true}};
}

// The item a query finds, with its data.
std::optional<Map> find(SecureStore& store, const Map& match) {
  Map result;
  if (store.copyMatching(withKey(match, kSecReturnData, true), &result) != errSecSuccess) {
    return std::nullopt;
  }
  return result;
}

// Every semantic case runs against the file store (reopened from disk before
// each call, so the file must hold what the answers claim) and against the
// in-memory double, which must agree with it.
class SecureStoreSemanticsTest : public ::testing::TestWithParam<bool> {
 protected:
  SecureStore& store() {
    if (!GetParam()) return memory_;
    store_.reset();
    store_ = std::make_unique<FileSecureStore>(paths_.root() + "/keychain");
    return *store_;
  }

 private:
  testing::TemporaryPaths paths_;
  std::unique_ptr<FileSecureStore> store_;
  testing::InMemorySecureStore memory_;
};

TEST_P(SecureStoreSemanticsTest, SearchAddUpdateAndRemove) {
  Map result;
  EXPECT_EQ(store().copyMatching(query("app"), &result), errSecItemNotFound);

  // Search keys in the added item are not stored with it; bytes stay bytes.
  const Map stored = withKey(item("app", "id"), kSecValueData, utf8("secret"));
  ASSERT_EQ(store().add(withKey(stored, kSecReturnData, true)), errSecSuccess);
  ASSERT_EQ(store().copyMatching(query("app"), &result), errSecSuccess);
  EXPECT_EQ(withKey(result, kSecValueData, utf8("secret")), stored);
  EXPECT_EQ(find(store(), query("app")), stored);

  // A query matches the items holding every one of its attributes, equal.
  const std::pair<Map, int> queries[] = {
      {query("b"), errSecItemNotFound},
      {withKey(query("app"), kSecAttrAccount, "id"), errSecItemNotFound},  // text, not bytes
      {withKey(query("app"), kSecAttrAccessGroup, "g"), errSecItemNotFound},
      {withKey(query("app"), kSecAttrAccount, utf8("id")), errSecSuccess},
      // The secret is no attribute, so a stale one in the query is no obstacle.
      {withKey(query("app"), kSecValueData, utf8("stale")), errSecSuccess},
  };
  for (const auto& [match, answer] : queries) {
    EXPECT_EQ(store().copyMatching(match, &result), answer) << ::testing::PrintToString(match);
  }

  // Same class, generic attribute and access group: a duplicate whatever the account says.
  EXPECT_EQ(store().add(item("app", "second")), errSecDuplicateItem);
  ASSERT_EQ(store().add(withKey(item("app", "id"), kSecAttrAccessGroup, "g")), errSecSuccess);
  ASSERT_EQ(store().add(item("other", "old")), errSecSuccess);

  // An update changes the given attributes of every match, and nothing when
  // it would make a duplicate.
  EXPECT_EQ(store().update(Map{{kSecClass, kSecClassGenericPassword}, {kSecAttrGeneric, "app"}},
                           Map{{kSecAttrAccount, utf8("new")}, {kSecValueData, utf8("s")}}),
            errSecSuccess);
  const Map updated = withKey(item("app", "new"), kSecValueData, utf8("s"));
  // A found item carries its data last.
  Map grouped = withKey(item("app", "new"), kSecAttrAccessGroup, "g");
  grouped.erase(kSecValueData);
  grouped.set(kSecValueData, utf8("s"));
  EXPECT_EQ(find(store(), withKey(query("app"), kSecAttrAccessGroup, "g")), grouped);
  EXPECT_EQ(store().update(query("missing"), Map{{kSecAttrLabel, "x"}}), errSecItemNotFound);
  EXPECT_EQ(store().update(query("other"), Map{{kSecAttrGeneric, "app"}, {kSecAttrLabel, "x"}}),
            errSecDuplicateItem);
  EXPECT_EQ(find(store(), query("other")), item("other", "old"));

  // The wrapper deletes with its whole item map, secret included.
  EXPECT_EQ(store().remove(withKey(grouped, kSecValueData, utf8("whatever"))), errSecSuccess);
  EXPECT_EQ(find(store(), query("app")), updated);
  EXPECT_EQ(store().remove(Map{{kSecAttrGeneric, "app"}}), errSecSuccess);
  EXPECT_EQ(store().remove(query("app")), errSecItemNotFound);
  EXPECT_EQ(find(store(), Map{}), item("other", "old"));
}

INSTANTIATE_TEST_SUITE_P(BothStores, SecureStoreSemanticsTest, ::testing::Bool(),
                         [](const auto& info) { return info.param ? "File" : "InMemory"; });

class FileSecureStoreTest : public ::testing::Test {
 protected:
  std::string folder() const { return paths_.root() + "/private/keychain"; }
  std::string file() const { return folder() + "/" + FileSecureStore::kFileName; }
  // The permission bits of the folder and of the file.
  std::pair<fs::perms, fs::perms> modes() const {
    return {fs::status(folder()).permissions(), fs::status(file()).permissions()};
  }

  const std::pair<fs::perms, fs::perms> private_{fs::perms::owner_all,
                                                 fs::perms::owner_read | fs::perms::owner_write};
  testing::TemporaryPaths paths_;
};

TEST_F(FileSecureStoreTest, KeepsItsFolderAndFilePrivateNarrowingModesThatAreTooWide) {
  ASSERT_EQ(FileSecureStore(folder()).add(item("app", "id")), errSecSuccess);
  EXPECT_EQ(modes(), private_);
  fs::permissions(folder(), fs::perms::all);
  fs::permissions(file(), fs::perms::owner_all | fs::perms::group_read | fs::perms::others_read);
  FileSecureStore store(folder());
  EXPECT_EQ(modes(), private_);
}

TEST_F(FileSecureStoreTest, FailedWriteAnswersIOErrorAndChangesNothing) {
  FileSecureStore store(folder());
  ASSERT_EQ(store.add(item("kept", "1")), errSecSuccess);
  // A folder in the temporary file's place makes every write fail, even as root.
  fs::create_directories(file() + ".tmp/inside");
  EXPECT_EQ(store.add(item("app", "id")), errSecIO);
  EXPECT_EQ(store.update(query("kept"), Map{{kSecAttrLabel, "x"}}), errSecIO);
  EXPECT_EQ(store.remove(query("kept")), errSecIO);
  EXPECT_EQ(find(store, query("app")), std::nullopt);
  EXPECT_EQ(find(store, query("kept")), item("kept", "1"));

  fs::remove_all(file() + ".tmp");
  EXPECT_EQ(store.add(item("app", "id")), errSecSuccess);
  FileSecureStore reopened(folder());
  EXPECT_EQ(find(reopened, query("kept")), item("kept", "1"));
}

TEST_F(FileSecureStoreTest, CorruptFileIsLoggedKeptAsideAndTheStoreStartsEmpty) {
  fs::create_directories(folder());
  const std::string cut = R"({"items": [{"class": "genp", "gena": "app")";
  std::ofstream(file()) << cut;
  testing::LogLines log;
  FileSecureStore store(folder());
  EXPECT_EQ(find(store, Map{}), std::nullopt);
  EXPECT_TRUE(log.contains(file()));
  EXPECT_EQ(contentsOf(file() + ".corrupt"), cut);
}

// Two stores on one folder stand for two processes: each sees the other's
// changes at once and never writes back an item the other removed.
TEST_F(FileSecureStoreTest, StoresSharingTheFolderSeeEachOthersChangesAtOnce) {
  FileSecureStore app(folder());
  FileSecureStore extension(folder());
  ASSERT_EQ(app.add(item("app", "id")), errSecSuccess);
  EXPECT_EQ(find(extension, query("app")), item("app", "id"));
  EXPECT_EQ(extension.add(item("app", "other")), errSecDuplicateItem);
  ASSERT_EQ(extension.remove(query("app")), errSecSuccess);
  ASSERT_EQ(app.add(item("ext", "2")), errSecSuccess);
  EXPECT_EQ(find(extension, query("app")), std::nullopt);
  EXPECT_EQ(find(app, Map{}), item("ext", "2"));
}

TEST_F(FileSecureStoreTest, ConcurrentCallersKeepEveryItem) {
  constexpr int kThreads = 4;
  {
    FileSecureStore store(folder());
    std::vector<std::jthread> callers;
    for (int t = 0; t < kThreads; ++t) {
      callers.emplace_back([&store, generic = "app" + std::to_string(t)] {
        EXPECT_EQ(store.add(item(generic, "0")), errSecSuccess);
        for (int round = 1; round < 10; ++round) {
          const Map changes{{kSecAttrAccount, utf8(std::to_string(round))}};
          EXPECT_EQ(store.update(query(generic), changes), errSecSuccess);
        }
      });
    }
  }
  FileSecureStore reopened(folder());
  for (int t = 0; t < kThreads; ++t) {
    const std::string generic = "app" + std::to_string(t);
    EXPECT_EQ(find(reopened, query(generic)), item(generic, "9"));
  }
}

class FileSettingsStoreTest : public ::testing::Test {
 protected:
  std::string path() const { return paths_.root() + "/settings/suite.json"; }
  std::unique_ptr<FileSettingsStore> open() { return std::make_unique<FileSettingsStore>(path()); }
  // What the file holds right now, read without going through a store.
  Value onDisk() const { return fromTaggedJson(Json::parse(contentsOf(path()))); }

  testing::TemporaryPaths paths_;
};

TEST_F(FileSettingsStoreTest, ChangesAreVisibleAtOnceAndPersistAtomicallyWithTheirKinds) {
  // Every kind of value, and a map that looks like a tagged value.
  Map kept{{"bytes", Bytes{0, 1, 255}},
           {"date", Date{1700000000.75}},
           {"double", 2.0},
           {"marker", Null{}},
           {"lookalike", Map{{"$bytes", "aGk="}}},
           {"nested", Map{{"list", Array{Date{1}, Bytes{}, "x"}}}}};
  {
    auto store = open();
    for (const auto& [key, value] : kept) store->set(key, value);
    store->set("gone", true);
    store->remove("gone");
    ASSERT_TRUE(store->synchronize());
    EXPECT_EQ(onDisk(), Value(kept));
    EXPECT_EQ(fs::status(path()).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_FALSE(fs::exists(path() + ".tmp"));

    for (int i = 0; i < 20; ++i) store->set("counter", i);
    // No synchronize(): the destructor must still persist everything.
  }
  kept.set("counter", 19);
  auto store = open();
  for (const auto& [key, value] : kept) EXPECT_EQ(store->get(key), value) << key;
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

  fs::remove(blocker);
  fs::create_directory(blocker);
  EXPECT_TRUE(store->synchronize());  // no new change: the failed write is retried
  EXPECT_EQ(onDisk(), Value(Map{{"key", "value"}}));
}

// A corrupt file is logged and kept aside; the last good copy, which every
// successful write leaves beside the file, takes its place when it is usable.
TEST_F(FileSettingsStoreTest, CorruptFileIsLoggedKeptAsideAndRestoredFromItsLastGoodCopy) {
  const std::string corruptions[] = {
      "",                                 // cut before the first byte
      R"({"key": "val)",                  // cut in the middle
      std::string("\x00\x01\xFFkey", 6),  // not text at all
      R"(["key"])",                       // JSON, but not an object
      R"({"$bytes": "aGk="})",            // an object that reads as bytes, not a map
  };
  const std::string lastGood = path() + ".last-good";
  const Map saved{{"key", "saved"}, {"token", Bytes{7}}};
  // The last good copy beside the corrupt file: none, the one a write of the
  // store left, or a corrupt one too.
  enum class Copy { kNone, kWritten, kCorrupt };
  for (const Copy copy : {Copy::kNone, Copy::kWritten, Copy::kCorrupt}) {
    const bool restored = copy == Copy::kWritten;
    for (const std::string& text : corruptions) {
      SCOPED_TRACE("copy " + std::to_string(static_cast<int>(copy)) + ", file " +
                   ::testing::PrintToString(text));
      fs::remove_all(fs::path(path()).parent_path());
      if (restored) {
        auto store = open();
        for (const auto& [key, value] : saved) store->set(key, value);
        ASSERT_TRUE(store->synchronize());
      }
      fs::create_directories(fs::path(path()).parent_path());
      if (copy == Copy::kCorrupt) std::ofstream(lastGood) << R"({"key")";
      std::ofstream(path(), std::ios::binary | std::ios::trunc) << text;

      testing::LogLines log;
      auto store = open();
      EXPECT_EQ(store->get("key"), restored ? std::optional(Value("saved")) : std::nullopt);
      EXPECT_TRUE(log.contains(path()));
      EXPECT_EQ(contentsOf(path() + ".corrupt"), text);
      // Put back on disk at once, so another process reads it too; else none.
      EXPECT_EQ(fs::exists(path()) ? onDisk() : Value(), restored ? Value(saved) : Value());
      // The next write starts from what was read and refreshes the copy.
      store->set("after", 1);
      ASSERT_TRUE(store->synchronize());
      EXPECT_EQ(contentsOf(lastGood), contentsOf(path()));
      EXPECT_EQ(onDisk().asMap()->size(), restored ? 3u : 1u);
    }
  }
}

TEST_F(FileSettingsStoreTest, ConcurrentWritersEndWithTheLastWriteOfEachKey) {
  constexpr int kThreads = 8;
  constexpr int kWrites = 300;
  const auto written = [](int t, int i) { return Value(Map{{"thread", t}, {"write", i}}); };
  {
    auto store = open();
    std::vector<std::jthread> writers;
    for (int t = 0; t < kThreads; ++t) {
      writers.emplace_back([&, t] {
        const std::string own = "key" + std::to_string(t);
        for (int i = 0; i < kWrites; ++i) {
          store->set(own, written(t, i));
          EXPECT_EQ(store->get(own), written(t, i)) << "a writer reads its own latest write";
          if (i % 100 == 99) {
            EXPECT_TRUE(store->synchronize());
          }
        }
      });
    }
  }
  auto store = open();
  for (int t = 0; t < kThreads; ++t) {
    EXPECT_EQ(store->get("key" + std::to_string(t)), written(t, kWrites - 1));
  }
}

}  // namespace
}  // namespace orvanta
