#include "platform/linux/file_secure_store.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "platform/testing/in_memory_secure_store.h"
#include "platform/testing/temporary_paths.h"
#include "support/log_lines.h"
#include "support/value_printer.h"

namespace orvanta {
namespace {

namespace fs = std::filesystem;

unsigned modeOf(const std::string& path) {
  struct stat info {};
  EXPECT_EQ(::stat(path.c_str(), &info), 0) << path;
  return info.st_mode & 07777;
}

Bytes utf8(std::string_view text) { return Bytes(text.begin(), text.end()); }

// An item laid out as the identifier wrapper stores it.
Map item(const std::string& generic, std::string_view account) {
  return Map{{kSecClass, kSecClassGenericPassword}, {kSecAttrGeneric, generic}, {kSecAttrAccount, utf8(account)},
             {kSecAttrLabel, ""},  {kSecAttrDescription, ""},  {kSecValueData, Bytes{}}};
}

// The wrapper's search query: class and generic attribute, one match, attributes.
Map query(const std::string& generic) {
  return Map{{kSecClass, kSecClassGenericPassword}, {kSecAttrGeneric, generic},
             {kSecMatchLimit, kSecMatchLimitOne},   {kSecReturnAttributes, true}};
}

Map withKey(Map map, const char* key, Value value) {
  map.set(key, std::move(value));
  return map;
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

  // The item found by the wrapper's query, with its data.
  std::optional<Map> find(const std::string& generic) {
    Map result;
    if (store().copyMatching(withKey(query(generic), kSecReturnData, true), &result) != errSecSuccess) {
      return std::nullopt;
    }
    return result;
  }

 private:
  testing::TemporaryPaths paths_;
  std::unique_ptr<FileSecureStore> store_;
  testing::InMemorySecureStore memory_;
};

TEST_P(SecureStoreSemanticsTest, SearchAddUpdateAndRemove) {
  Map result{{"untouched", true}};
  EXPECT_EQ(store().copyMatching(query("app"), &result), errSecItemNotFound);
  EXPECT_EQ(result, (Map{{"untouched", true}}));

  // Search keys in the added item are not stored with it; bytes stay bytes.
  const Map stored = withKey(item("app", "id"), kSecValueData, utf8("secret"));
  ASSERT_EQ(store().add(withKey(stored, kSecReturnData, true)), errSecSuccess);
  ASSERT_EQ(store().copyMatching(query("app"), &result), errSecSuccess);
  Map attributes = stored;
  attributes.erase(kSecValueData);
  EXPECT_EQ(result, attributes);
  EXPECT_EQ(*find("app"), stored);

  // A query matches the items holding every one of its attributes, equal.
  const std::pair<Map, int> queries[] = {
      {query("b"), errSecItemNotFound},
      {withKey(query("app"), kSecAttrAccount, "id"), errSecItemNotFound},  // text where bytes are stored
      {withKey(query("app"), kSecAttrAccessGroup, "g"), errSecItemNotFound},
      {withKey(query("app"), kSecAttrAccount, utf8("id")), errSecSuccess},
      {Map{}, errSecSuccess},
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
  for (const Map& which : {query("app"), withKey(query("app"), kSecAttrAccessGroup, "g")}) {
    ASSERT_EQ(store().copyMatching(withKey(which, kSecReturnData, true), &result), errSecSuccess);
    EXPECT_EQ(*result.find(kSecAttrAccount), Value(utf8("new")));
    EXPECT_EQ(*result.find(kSecValueData), Value(utf8("s")));
    EXPECT_EQ(*result.find(kSecAttrLabel), Value(""));  // untouched attributes stay
  }
  EXPECT_EQ(store().update(query("missing"), Map{{kSecAttrLabel, "x"}}), errSecItemNotFound);
  EXPECT_EQ(store().update(query("other"), Map{{kSecAttrGeneric, "app"}, {kSecAttrLabel, "x"}}),
            errSecDuplicateItem);
  EXPECT_EQ(*find("other"), item("other", "old"));

  // The wrapper deletes with its whole item map, secret included.
  const Map grouped = withKey(item("app", "new"), kSecAttrAccessGroup, "g");
  EXPECT_EQ(store().remove(withKey(grouped, kSecValueData, utf8("whatever"))), errSecSuccess);
  EXPECT_EQ(store().copyMatching(withKey(query("app"), kSecAttrAccessGroup, "g"), &result), errSecItemNotFound);
  EXPECT_TRUE(find("app"));
  EXPECT_EQ(store().remove(Map{{kSecAttrGeneric, "app"}}), errSecSuccess);
  EXPECT_FALSE(find("app"));
  EXPECT_EQ(store().remove(query("app")), errSecItemNotFound);
  EXPECT_EQ(*find("other"), item("other", "old"));
}

INSTANTIATE_TEST_SUITE_P(BothStores, SecureStoreSemanticsTest, ::testing::Bool(),
                         [](const auto& info) { return std::string(info.param ? "File" : "InMemory"); });

class FileSecureStoreTest : public ::testing::Test {
 protected:
  std::string folder() const { return paths_.root() + "/private/keychain"; }
  std::string file() const { return folder() + "/" + FileSecureStore::kFileName; }

  testing::TemporaryPaths paths_;
};

TEST_F(FileSecureStoreTest, KeepsItsFolderAndFilePrivateNarrowingModesThatAreTooWide) {
  {
    FileSecureStore store(folder());
    ASSERT_EQ(store.add(item("app", "id")), errSecSuccess);
    EXPECT_EQ(modeOf(folder()), 0700u);
    EXPECT_EQ(modeOf(file()), 0600u);
  }
  fs::permissions(folder(), fs::perms::all);
  fs::permissions(file(), fs::perms::owner_all | fs::perms::group_read | fs::perms::others_read);
  FileSecureStore store(folder());
  EXPECT_EQ(modeOf(folder()), 0700u);
  EXPECT_EQ(modeOf(file()), 0600u);
  // Loosened while open: the next write narrows the folder again.
  fs::permissions(folder(), fs::perms::all);
  ASSERT_EQ(store.add(item("other", "id")), errSecSuccess);
  EXPECT_EQ(modeOf(folder()), 0700u);
}

TEST_F(FileSecureStoreTest, FailedWriteAnswersIOErrorAndChangesNothing) {
  FileSecureStore store(folder());
  ASSERT_EQ(store.add(item("kept", "1")), errSecSuccess);
  // A folder in the file's place makes the final rename fail, even as root.
  fs::remove(file());
  fs::create_directories(file() + "/inside");

  Map result;
  EXPECT_EQ(store.add(item("app", "id")), errSecIO);
  EXPECT_EQ(store.copyMatching(query("app"), &result), errSecItemNotFound);
  EXPECT_EQ(store.update(query("kept"), Map{{kSecAttrLabel, "x"}}), errSecIO);
  EXPECT_EQ(store.remove(query("kept")), errSecIO);
  ASSERT_EQ(store.copyMatching(query("kept"), &result), errSecSuccess);
  EXPECT_EQ(*result.find(kSecAttrLabel), Value(""));

  fs::remove_all(file());
  EXPECT_EQ(store.add(item("app", "id")), errSecSuccess);
  EXPECT_EQ(FileSecureStore(folder()).copyMatching(query("kept"), &result), errSecSuccess);
}

TEST_F(FileSecureStoreTest, CorruptFileIsLoggedKeptAsideAndTheStoreStartsEmpty) {
  fs::create_directories(folder());
  const std::string cut = R"({"items": [{"class": "genp", "gena": "app")";
  std::ofstream(file()) << cut;
  testing::LogLines log;
  FileSecureStore store(folder());
  Map result;
  EXPECT_EQ(store.copyMatching(query("app"), &result), errSecItemNotFound);
  EXPECT_TRUE(log.contains(file()));
  std::ifstream aside(file() + ".corrupt");
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(aside), {}), cut);
  EXPECT_EQ(store.add(item("app", "id")), errSecSuccess);
}

TEST_F(FileSecureStoreTest, ConcurrentCallersKeepEveryItem) {
  constexpr int kThreads = 4;
  constexpr int kRounds = 10;
  {
    FileSecureStore store(folder());
    std::vector<std::thread> callers;
    for (int t = 0; t < kThreads; ++t) {
      callers.emplace_back([&store, t] {
        const std::string generic = "app" + std::to_string(t);
        EXPECT_EQ(store.add(item(generic, "0")), errSecSuccess);
        for (int round = 1; round < kRounds; ++round) {
          EXPECT_EQ(store.update(query(generic), Map{{kSecAttrAccount, utf8(std::to_string(round))}}), errSecSuccess);
        }
      });
    }
    for (std::thread& caller : callers) caller.join();
  }
  FileSecureStore reopened(folder());
  for (int t = 0; t < kThreads; ++t) {
    Map result;
    ASSERT_EQ(reopened.copyMatching(query("app" + std::to_string(t)), &result), errSecSuccess);
    EXPECT_EQ(*result.find(kSecAttrAccount), Value(utf8(std::to_string(kRounds - 1))));
  }
}

}  // namespace
}  // namespace orvanta
