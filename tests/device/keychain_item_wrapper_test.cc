#include "device/keychain_item_wrapper.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/testing/in_memory_secure_store.h"
#include "support/log_lines.h"

namespace orvanta {
namespace {

const std::string kIdentifier = "io.orvanta.host-OrvantaPush";

Bytes utf8(const std::string& text) { return Bytes(text.begin(), text.end()); }

// Forwards to an in-memory store, counting every write attempted (whether or
// not it succeeds) and failing writes on request.
class CountingSecureStore : public SecureStore {
 public:
  int copyMatching(const Map& query, Map* result) override { return inner.copyMatching(query, result); }
  int add(const Map& item) override {
    ++adds;
    return failWrites ? errSecIO : inner.add(item);
  }
  int update(const Map& query, const Map& changes) override {
    ++updates;
    return failWrites ? errSecIO : inner.update(query, changes);
  }
  int remove(const Map& query) override {
    ++removes;
    return failWrites ? errSecIO : inner.remove(query);
  }
  int writes() const { return adds + updates + removes; }

  testing::InMemorySecureStore inner;
  int adds = 0, updates = 0, removes = 0;
  bool failWrites = false;
};

class KeychainItemWrapperTest : public ::testing::Test {
 protected:
  KeychainItemWrapper open(const std::string& identifier = kIdentifier) {
    return KeychainItemWrapper(store_, identifier, std::nullopt);
  }
  // The stored item's attribute key, or nullptr when there is no single item.
  const Value* stored(const char* key) {
    items_ = store_.inner.items();
    return items_.size() == 1 ? items_.front().find(key) : nullptr;
  }

  CountingSecureStore store_;
  std::vector<Map> items_;
};

// The fields of a wrapper with no stored item: the account is a string, not
// bytes, which reads as "no identifier".
void expectBlank(const KeychainItemWrapper& wrapper) {
  EXPECT_EQ(wrapper.objectForKey(kSecAttrAccount), Value(""));
  EXPECT_EQ(wrapper.objectForKey(kSecAttrLabel), Value(""));
  EXPECT_EQ(wrapper.objectForKey(kSecAttrDescription), Value(""));
  EXPECT_EQ(wrapper.objectForKey(kSecValueData), Value(Bytes{}));
  EXPECT_EQ(wrapper.objectForKey(kSecAttrGeneric), Value(kIdentifier));
}

TEST_F(KeychainItemWrapperTest, WithoutAStoredItemStartsBlankAndWritesNothing) {
  const KeychainItemWrapper wrapper = open();
  expectBlank(wrapper);
  EXPECT_EQ(wrapper.objectForKey(kSecAttrAccessGroup), std::nullopt);
  EXPECT_EQ(wrapper.objectForKey("unknown"), std::nullopt);
  EXPECT_EQ(store_.writes(), 0);
  EXPECT_TRUE(store_.inner.items().empty());
}

TEST_F(KeychainItemWrapperTest, SetObjectStoresTheItemAndTheNextWrapperReadsTheSameBytes) {
  open().setObject(utf8("6A1B-ID"), kSecAttrAccount);
  EXPECT_EQ(store_.adds, 1);
  ASSERT_NE(stored(kSecAttrAccount), nullptr);
  EXPECT_EQ(*stored(kSecAttrAccount), Value(utf8("6A1B-ID")));
  EXPECT_EQ(*stored(kSecClass), Value(kSecClassGenericPassword));
  EXPECT_EQ(*stored(kSecAttrGeneric), Value(kIdentifier));
  EXPECT_EQ(*stored(kSecValueData), Value(Bytes{}));

  const KeychainItemWrapper again = open();
  EXPECT_EQ(again.objectForKey(kSecAttrAccount), Value(utf8("6A1B-ID")));
  EXPECT_EQ(again.objectForKey(kSecValueData), Value(Bytes{}));
  EXPECT_EQ(again.objectForKey(kSecReturnData), std::nullopt);
}

TEST_F(KeychainItemWrapperTest, SettingTheValueAlreadyHeldOrNullWritesNothing) {
  KeychainItemWrapper wrapper = open();
  wrapper.setObject(Value(), kSecAttrAccount);
  EXPECT_EQ(wrapper.objectForKey(kSecAttrAccount), Value(""));
  EXPECT_EQ(store_.writes(), 0);

  wrapper.setObject(utf8("ID"), kSecAttrAccount);
  const int before = store_.writes();
  wrapper.setObject(utf8("ID"), kSecAttrAccount);
  wrapper.setObject("", kSecAttrLabel);
  wrapper.setObject(Value(), kSecAttrAccount);
  EXPECT_EQ(store_.writes(), before);

  // Also for values read back from the store.
  open().setObject(utf8("ID"), kSecAttrAccount);
  EXPECT_EQ(store_.writes(), before);
}

TEST_F(KeychainItemWrapperTest, ChangingAValueUpdatesTheOneStoredItem) {
  open().setObject(utf8("FIRST"), kSecAttrAccount);
  open().setObject(utf8("SECOND"), kSecAttrAccount);
  EXPECT_EQ(store_.adds, 1);
  EXPECT_EQ(store_.updates, 1);
  ASSERT_NE(stored(kSecAttrAccount), nullptr);
  EXPECT_EQ(*stored(kSecAttrAccount), Value(utf8("SECOND")));
  EXPECT_EQ(open().objectForKey(kSecAttrAccount), Value(utf8("SECOND")));
}

// The first launch of a new installation: the old installation's item is
// still in the store and must give way to a new identifier.
TEST_F(KeychainItemWrapperTest, ResetDeletesTheStoredItemAndBlanksTheFields) {
  open().setObject(utf8("OLD-INSTALLATION"), kSecAttrAccount);

  KeychainItemWrapper wrapper = open();
  ASSERT_EQ(wrapper.objectForKey(kSecAttrAccount), Value(utf8("OLD-INSTALLATION")));
  wrapper.resetKeychainItem();
  EXPECT_EQ(store_.removes, 1);
  EXPECT_TRUE(store_.inner.items().empty());
  expectBlank(wrapper);

  wrapper.setObject(utf8("NEW-INSTALLATION"), kSecAttrAccount);
  EXPECT_EQ(open().objectForKey(kSecAttrAccount), Value(utf8("NEW-INSTALLATION")));
  EXPECT_EQ(store_.inner.items().size(), 1u);
}

TEST_F(KeychainItemWrapperTest, ResetWithNothingStoredOnlyBlanks) {
  KeychainItemWrapper wrapper = open();
  wrapper.setObject("label", kSecAttrLabel);
  wrapper.resetKeychainItem();
  wrapper.resetKeychainItem();
  EXPECT_TRUE(store_.inner.items().empty());
  EXPECT_EQ(wrapper.objectForKey(kSecAttrLabel), Value(""));
}

TEST_F(KeychainItemWrapperTest, ItemsOfOtherIdentifiersAreLeftAlone) {
  open("app.one-OrvantaPush").setObject(utf8("ONE"), kSecAttrAccount);
  open("app.two-OrvantaPush").setObject(utf8("TWO"), kSecAttrAccount);
  open("app.one-OrvantaPush").resetKeychainItem();
  EXPECT_EQ(open("app.one-OrvantaPush").objectForKey(kSecAttrAccount), Value(""));
  EXPECT_EQ(open("app.two-OrvantaPush").objectForKey(kSecAttrAccount), Value(utf8("TWO")));
}

TEST_F(KeychainItemWrapperTest, AnAccessGroupIsPartOfTheItem) {
  KeychainItemWrapper grouped(store_, kIdentifier, std::string("TEAM.shared"));
  EXPECT_EQ(grouped.objectForKey(kSecAttrAccessGroup), Value("TEAM.shared"));
  grouped.setObject(utf8("G"), kSecAttrAccount);
  ASSERT_NE(stored(kSecAttrAccessGroup), nullptr);
  EXPECT_EQ(*stored(kSecAttrAccessGroup), Value("TEAM.shared"));
  const KeychainItemWrapper again(store_, kIdentifier, std::string("TEAM.shared"));
  EXPECT_EQ(again.objectForKey(kSecAttrAccount), Value(utf8("G")));
  const KeychainItemWrapper otherGroup(store_, kIdentifier, std::string("TEAM.other"));
  EXPECT_EQ(otherGroup.objectForKey(kSecAttrAccount), Value(""));
}

TEST_F(KeychainItemWrapperTest, StoreFormatTurnsATextSecretIntoUtf8Bytes) {
  const KeychainItemWrapper wrapper = open();
  const Map item = {{kSecAttrAccount, "acct"}, {kSecValueData, "s\xC3\xA9"}};
  const Map formatted = wrapper.dictionaryToSecItemFormat(item);
  EXPECT_EQ(formatted, (Map{{kSecAttrAccount, "acct"}, {kSecValueData, Bytes{'s', 0xC3, 0xA9}},
                            {kSecClass, kSecClassGenericPassword}}));
  EXPECT_EQ(item.find(kSecValueData)->isString(), true);  // the argument is left as it was

  const Map withBytes = {{kSecValueData, Bytes{1, 2}}, {kSecClass, "other"}};
  EXPECT_EQ(wrapper.dictionaryToSecItemFormat(withBytes),
            (Map{{kSecValueData, Bytes{1, 2}}, {kSecClass, kSecClassGenericPassword}}));
}

TEST_F(KeychainItemWrapperTest, ProgramFormatAddsTheStoredSecret) {
  ASSERT_EQ(store_.inner.add({{kSecClass, kSecClassGenericPassword},
                              {kSecAttrGeneric, "x"},
                              {kSecAttrAccount, utf8("A")},
                              {kSecValueData, Bytes{9, 8, 7}}}),
            errSecSuccess);
  const KeychainItemWrapper wrapper = open();
  const Map found = wrapper.secItemFormatToDictionary({{kSecAttrGeneric, "x"}});
  EXPECT_EQ(found, (Map{{kSecAttrGeneric, "x"}, {kSecClass, kSecClassGenericPassword}, {kSecValueData, Bytes{9, 8, 7}}}));

  // No match: the copy comes back as it stands, search key included.
  const Map missing = wrapper.secItemFormatToDictionary({{kSecAttrGeneric, "y"}});
  EXPECT_EQ(missing, (Map{{kSecAttrGeneric, "y"}, {kSecReturnData, true}, {kSecClass, kSecClassGenericPassword}}));
}

TEST_F(KeychainItemWrapperTest, StoreFailuresAreSilentAndKeepTheValueInMemory) {
  testing::LogLines log;
  store_.failWrites = true;
  KeychainItemWrapper wrapper = open();
  wrapper.setObject(utf8("SECRET-ID-1234"), kSecAttrAccount);
  EXPECT_EQ(store_.adds, 1);
  EXPECT_EQ(wrapper.objectForKey(kSecAttrAccount), Value(utf8("SECRET-ID-1234")));
  EXPECT_TRUE(log.contains("-36"));
  EXPECT_FALSE(log.contains("SECRET-ID-1234"));
  EXPECT_FALSE(log.contains(kIdentifier));
  // The next run finds nothing and starts blank again.
  EXPECT_EQ(open().objectForKey(kSecAttrAccount), Value(""));
}

TEST_F(KeychainItemWrapperTest, FailedDeleteOnResetIsLoggedAndTheFieldsStillBlank) {
  open().setObject(utf8("OLD"), kSecAttrAccount);
  KeychainItemWrapper wrapper = open();
  testing::LogLines log;
  store_.failWrites = true;
  wrapper.resetKeychainItem();
  EXPECT_EQ(wrapper.objectForKey(kSecAttrAccount), Value(""));
  EXPECT_EQ(log.lines().size(), 1u);
}

}  // namespace
}  // namespace orvanta
