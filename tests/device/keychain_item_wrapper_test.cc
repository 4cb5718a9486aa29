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
  int add(const Map& item) override { return counted(adds) ? errSecIO : inner.add(item); }
  int update(const Map& q, const Map& changes) override { return counted(updates) ? errSecIO : inner.update(q, changes); }
  int remove(const Map& query) override { return counted(removes) ? errSecIO : inner.remove(query); }
  int writes() const { return adds + updates + removes; }
  // Counts one write; whether it is to fail.
  bool counted(int& count) const {
    ++count;
    return failWrites;
  }

  testing::InMemorySecureStore inner;
  int adds = 0, updates = 0, removes = 0;
  bool failWrites = false;
};

class KeychainItemWrapperTest : public ::testing::Test {
 protected:
  KeychainItemWrapper open(const std::string& identifier = kIdentifier) {
    return KeychainItemWrapper(store_, identifier, std::nullopt);
  }
  // The one stored item.
  Map stored() {
    const std::vector<Map> items = store_.inner.items();
    EXPECT_EQ(items.size(), 1u);
    return items.empty() ? Map{} : items.front();
  }
  Value account(const KeychainItemWrapper& wrapper) { return wrapper.objectForKey(kSecAttrAccount).value_or(Null{}); }

  CountingSecureStore store_;
};

// The fields of a wrapper with no stored item: the account is a string, not
// bytes, which reads as "no identifier".
void expectBlank(const KeychainItemWrapper& wrapper) {
  for (const char* key : {kSecAttrAccount, kSecAttrLabel, kSecAttrDescription}) {
    EXPECT_EQ(wrapper.objectForKey(key), Value("")) << key;
  }
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

TEST_F(KeychainItemWrapperTest, SetObjectWritesTheOneItemThatTheNextWrapperReads) {
  open().setObject(utf8("FIRST"), kSecAttrAccount);
  EXPECT_EQ(store_.adds, 1);
  EXPECT_EQ(stored(), (Map{{kSecAttrAccount, utf8("FIRST")}, {kSecAttrLabel, ""}, {kSecAttrDescription, ""},
                           {kSecValueData, Bytes{}}, {kSecAttrGeneric, kIdentifier},
                           {kSecClass, kSecClassGenericPassword}}));

  KeychainItemWrapper again = open();
  EXPECT_EQ(account(again), Value(utf8("FIRST")));
  EXPECT_EQ(again.objectForKey(kSecReturnData), std::nullopt);
  again.setObject(utf8("SECOND"), kSecAttrAccount);
  again.setObject("s\xC3\xA9", kSecValueData);  // a text secret is stored as its UTF-8 bytes
  EXPECT_EQ(store_.adds, 1);
  EXPECT_EQ(store_.updates, 2);
  EXPECT_EQ(*stored().find(kSecAttrAccount), Value(utf8("SECOND")));
  EXPECT_EQ(*stored().find(kSecValueData), Value(utf8("s\xC3\xA9")));
  EXPECT_EQ(account(open()), Value(utf8("SECOND")));

  // The value already held, read back or set here, or null: nothing written.
  const int before = store_.writes();
  KeychainItemWrapper third = open();
  third.setObject(utf8("SECOND"), kSecAttrAccount);
  third.setObject("", kSecAttrLabel);
  third.setObject(Value(), kSecAttrAccount);
  EXPECT_EQ(account(third), Value(utf8("SECOND")));
  EXPECT_EQ(store_.writes(), before);
}

// The first launch of a new installation: the old installation's item is
// still in the store and must give way to a new identifier.
TEST_F(KeychainItemWrapperTest, ResetDeletesTheStoredItemAndBlanksTheFields) {
  open().setObject(utf8("OLD-INSTALLATION"), kSecAttrAccount);
  open("other-OrvantaPush").setObject(utf8("OTHER"), kSecAttrAccount);

  KeychainItemWrapper wrapper = open();
  ASSERT_EQ(account(wrapper), Value(utf8("OLD-INSTALLATION")));
  wrapper.resetKeychainItem();
  EXPECT_EQ(store_.removes, 1);
  expectBlank(wrapper);
  EXPECT_EQ(account(open()), Value(""));
  EXPECT_EQ(account(open("other-OrvantaPush")), Value(utf8("OTHER")));  // other identifiers are left alone

  wrapper.resetKeychainItem();  // nothing stored: only blanks
  wrapper.setObject(utf8("NEW-INSTALLATION"), kSecAttrAccount);
  EXPECT_EQ(account(open()), Value(utf8("NEW-INSTALLATION")));
  EXPECT_EQ(store_.inner.items().size(), 2u);
}

TEST_F(KeychainItemWrapperTest, StoreFailuresAreLoggedByStatusOnlyAndKeepTheValueInMemory) {
  testing::LogLines log;
  store_.failWrites = true;
  KeychainItemWrapper wrapper = open();
  wrapper.setObject(utf8("SECRET-ID-1234"), kSecAttrAccount);
  EXPECT_EQ(store_.adds, 1);
  EXPECT_EQ(account(wrapper), Value(utf8("SECRET-ID-1234")));
  EXPECT_TRUE(log.contains("-36"));
  EXPECT_FALSE(log.contains("SECRET-ID-1234"));
  EXPECT_FALSE(log.contains(kIdentifier));
  // The next run finds nothing and starts blank again.
  EXPECT_EQ(account(open()), Value(""));

  // A failed delete on reset is logged too, and the fields still blank.
  store_.failWrites = false;
  open().setObject(utf8("OLD"), kSecAttrAccount);
  store_.failWrites = true;
  KeychainItemWrapper old = open();
  const std::size_t linesBefore = log.lines().size();
  old.resetKeychainItem();
  EXPECT_EQ(account(old), Value(""));
  EXPECT_EQ(log.lines().size(), linesBefore + 1);
}

}  // namespace
}  // namespace orvanta
