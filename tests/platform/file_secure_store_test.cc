#include "platform/linux/file_secure_store.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include "platform/testing/in_memory_secure_store.h"
#include "platform/testing/temporary_paths.h"

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

Map withKey(Map map, const char* key, Value value) {
  map.set(key, std::move(value));
  return map;
}

// Every semantic case runs against the file store (reopened from disk before
// each check, so the file must hold what the answers claim) and against the
// in-memory double, which must agree with it.
struct Flavor {
  const char* name;
  bool persistent;
};

void PrintTo(const Flavor& flavor, std::ostream* out) { *out << flavor.name; }

class SecureStoreSemanticsTest : public ::testing::TestWithParam<Flavor> {
 protected:
  SecureStoreSemanticsTest() { reopen(); }

  std::string folder() const { return paths_.root() + "/keychain"; }

  SecureStore& store() {
    if (GetParam().persistent) reopen();
    return *store_;
  }

  // The item found by the wrapper's query, with its data.
  std::optional<Map> find(const std::string& generic) {
    Map result;
    if (store().copyMatching(withKey(query(generic), kSecReturnData, true), &result) !=
        errSecSuccess) {
      return std::nullopt;
    }
    return result;
  }

 private:
  void reopen() {
    store_.reset();
    if (GetParam().persistent) {
      store_ = std::make_unique<FileSecureStore>(folder());
    } else {
      store_ = std::make_unique<testing::InMemorySecureStore>();
    }
  }

  testing::TemporaryPaths paths_;
  std::unique_ptr<SecureStore> store_;
};

TEST_P(SecureStoreSemanticsTest, SearchAnswersAttributesAndDataOnlyWhenAsked) {
  Map result{{"untouched", true}};
  EXPECT_EQ(store().copyMatching(query("app-OrvantaPush"), &result), errSecItemNotFound);
  EXPECT_EQ(result, (Map{{"untouched", true}}));

  // Search keys in the added item are not stored with it.
  const Map stored = withKey(item("app-OrvantaPush", "id-1"), kSecValueData, utf8("secret"));
  Map added = withKey(stored, kSecMatchLimit, kSecMatchLimitOne);
  added.set(kSecReturnData, true);
  ASSERT_EQ(store().add(added), errSecSuccess);

  ASSERT_EQ(store().copyMatching(query("app-OrvantaPush"), &result), errSecSuccess);
  Map attributes = stored;
  attributes.erase(kSecValueData);
  EXPECT_EQ(result, attributes);

  // Bytes stay bytes, also on disk.
  ASSERT_EQ(store().copyMatching(withKey(query("app-OrvantaPush"), kSecReturnData, true), &result),
            errSecSuccess);
  EXPECT_EQ(result, stored);

  // kSecReturnData is read leniently, like the rest of the flags.
  ASSERT_EQ(store().copyMatching(withKey(query("app-OrvantaPush"), kSecReturnData, 0), &result),
            errSecSuccess);
  EXPECT_FALSE(result.contains(kSecValueData));
}

TEST_P(SecureStoreSemanticsTest, QueryMatchesOnlyItemsHoldingEveryAttributeEqual) {
  ASSERT_EQ(store().add(item("a", "id")), errSecSuccess);
  Map result;
  const Map misses[] = {
      query("b"),                                         // another generic
      withKey(query("a"), kSecAttrAccount, "id"),         // text where bytes are stored
      withKey(query("a"), kSecAttrAccessGroup, "group"),  // attribute the item lacks
      withKey(query("a"), kSecClass, "inet"),             // another class
  };
  for (const Map& miss : misses) EXPECT_EQ(store().copyMatching(miss, &result), errSecItemNotFound);

  const Map hits[] = {
      withKey(query("a"), kSecAttrAccount, utf8("id")),
      Map{{kSecAttrGeneric, "a"}},
      Map{},  // no attributes at all: everything matches
      // The secret is no attribute, so a stale one in the query is no obstacle.
      withKey(query("a"), kSecValueData, utf8("stale")),
  };
  for (const Map& hit : hits) EXPECT_EQ(store().copyMatching(hit, &result), errSecSuccess);
}

TEST_P(SecureStoreSemanticsTest, AddRefusesASecondItemWithTheSameIdentity) {
  ASSERT_EQ(store().add(item("app", "first")), errSecSuccess);
  // Same class and generic attribute: a duplicate whatever the account says.
  EXPECT_EQ(store().add(item("app", "second")), errSecDuplicateItem);
  EXPECT_EQ(*find("app")->find(kSecAttrAccount), Value(utf8("first")));

  // Another generic attribute or another access group is another item.
  EXPECT_EQ(store().add(item("other", "second")), errSecSuccess);
  EXPECT_EQ(store().add(withKey(item("app", "grouped"), kSecAttrAccessGroup, "g")), errSecSuccess);
  EXPECT_EQ(store().add(withKey(item("app", "again"), kSecAttrAccessGroup, "g")),
            errSecDuplicateItem);
}

TEST_P(SecureStoreSemanticsTest, UpdateChangesGivenAttributesOfEveryMatch) {
  ASSERT_EQ(store().add(item("app", "old")), errSecSuccess);
  ASSERT_EQ(store().add(withKey(item("app", "old"), kSecAttrAccessGroup, "g")), errSecSuccess);
  ASSERT_EQ(store().add(item("other", "old")), errSecSuccess);

  EXPECT_EQ(store().update(Map{{kSecClass, kSecClassGenericPassword}, {kSecAttrGeneric, "app"}},
                           Map{{kSecAttrAccount, utf8("new")}, {kSecValueData, utf8("s")}}),
            errSecSuccess);

  Map result;
  for (const Map& which : {query("app"), withKey(query("app"), kSecAttrAccessGroup, "g")}) {
    ASSERT_EQ(store().copyMatching(withKey(which, kSecReturnData, true), &result), errSecSuccess);
    EXPECT_EQ(*result.find(kSecAttrAccount), Value(utf8("new")));
    EXPECT_EQ(*result.find(kSecValueData), Value(utf8("s")));
    EXPECT_EQ(*result.find(kSecAttrLabel), Value(""));  // untouched attributes stay
  }
  EXPECT_EQ(*find("other")->find(kSecAttrAccount), Value(utf8("old")));

  EXPECT_EQ(store().update(query("missing"), Map{{kSecAttrLabel, "x"}}), errSecItemNotFound);
}

TEST_P(SecureStoreSemanticsTest, UpdateThatWouldCreateADuplicateChangesNothing) {
  ASSERT_EQ(store().add(item("a", "1")), errSecSuccess);
  ASSERT_EQ(store().add(item("b", "2")), errSecSuccess);
  EXPECT_EQ(store().update(query("b"), Map{{kSecAttrGeneric, "a"}, {kSecAttrLabel, "x"}}),
            errSecDuplicateItem);
  EXPECT_EQ(*find("b"), item("b", "2"));
  EXPECT_EQ(*find("a"), item("a", "1"));

  // Renaming onto a free identity is fine.
  EXPECT_EQ(store().update(query("b"), Map{{kSecAttrGeneric, "c"}}), errSecSuccess);
  EXPECT_FALSE(find("b"));
  EXPECT_EQ(*find("c"), withKey(item("b", "2"), kSecAttrGeneric, "c"));
}

TEST_P(SecureStoreSemanticsTest, RemoveDeletesEveryMatchAndOnlyThose) {
  ASSERT_EQ(store().add(item("app", "1")), errSecSuccess);
  ASSERT_EQ(store().add(withKey(item("app", "2"), kSecAttrAccessGroup, "g")), errSecSuccess);
  ASSERT_EQ(store().add(item("other", "3")), errSecSuccess);

  // The wrapper deletes with its whole item map, secret included.
  EXPECT_EQ(store().remove(withKey(item("app", "1"), kSecValueData, utf8("whatever"))),
            errSecSuccess);
  EXPECT_TRUE(find("app"));  // the grouped item has another account

  EXPECT_EQ(store().remove(Map{{kSecAttrGeneric, "app"}}), errSecSuccess);
  EXPECT_FALSE(find("app"));
  EXPECT_EQ(store().remove(query("app")), errSecItemNotFound);
  EXPECT_EQ(*find("other"), item("other", "3"));
}

INSTANTIATE_TEST_SUITE_P(BothStores, SecureStoreSemanticsTest,
                         ::testing::Values(Flavor{"File", true}, Flavor{"InMemory", false}),
                         [](const auto& info) { return std::string(info.param.name); });

class FileSecureStoreTest : public ::testing::Test {
 protected:
  std::string folder() const { return paths_.root() + "/private/keychain"; }
  std::string file() const { return folder() + "/" + FileSecureStore::kFileName; }

  testing::TemporaryPaths paths_;
};

TEST_F(FileSecureStoreTest, KeepsItsFolderAndFilePrivateNarrowingModesThatAreTooWide) {
  {
    FileSecureStore store(folder());
    EXPECT_EQ(modeOf(folder()), 0700u);
    ASSERT_EQ(store.add(item("app", "id")), errSecSuccess);
    EXPECT_EQ(store.path(), file());
    EXPECT_EQ(modeOf(file()), 0600u);
  }
  fs::permissions(folder(), fs::perms::all);
  fs::permissions(file(), fs::perms::owner_all | fs::perms::group_read | fs::perms::others_read);

  FileSecureStore store(folder());
  EXPECT_EQ(modeOf(folder()), 0700u);
  EXPECT_EQ(modeOf(file()), 0600u);
  Map result;
  EXPECT_EQ(store.copyMatching(query("app"), &result), errSecSuccess);

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
  fs::create_directory(file());
  fs::create_directory(file() + "/inside");

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

TEST_F(FileSecureStoreTest, CorruptFileIsKeptAsideAndTheStoreStartsEmpty) {
  fs::create_directories(folder());
  std::ofstream(file()) << R"({"items": [{"class": "genp", "gena": "app")";
  FileSecureStore store(folder());
  Map result;
  EXPECT_EQ(store.copyMatching(query("app"), &result), errSecItemNotFound);
  EXPECT_TRUE(fs::exists(file() + ".corrupt"));
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
        for (int round = 0; round < kRounds; ++round) {
          const std::string account = std::to_string(round);
          Map result;
          if (store.copyMatching(query(generic), &result) == errSecSuccess) {
            EXPECT_EQ(store.update(query(generic), Map{{kSecAttrAccount, utf8(account)}}),
                      errSecSuccess);
          } else {
            EXPECT_EQ(store.add(item(generic, account)), errSecSuccess);
          }
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
