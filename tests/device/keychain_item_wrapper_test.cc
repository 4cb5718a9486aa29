#include "device/keychain_item_wrapper.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "orvanta/testing/in_memory_secure_store.h"
#include "support/log_lines.h"

namespace orvanta {
namespace {

const std::string kIdentifier = "io.orvanta.host-OrvantaPush";

Bytes utf8(const std::string& text) { return Bytes(text.begin(), text.end()); }

// Forwards to an in-memory store, counting every write and failing writes on
// request.
class CountingSecureStore : public SecureStore {
 public:
  int copyMatching(const Map& query, Map* result) override {
    return inner.copyMatching(query, result);
  }
  int add(const Map& item) override { return counted() ? errSecIO : inner.add(item); }
  int update(const Map& query, const Map& changes) override {
    return counted() ? errSecIO : inner.update(query, changes);
  }
  int remove(const Map& query) override { return counted() ? errSecIO : inner.remove(query); }
  // Counts one write; whether it is to fail.
  bool counted() {
    ++writes;
    return failWrites;
  }

  testing::InMemorySecureStore inner;
  int writes = 0;
  bool failWrites = false;
};

class KeychainItemWrapperTest : public ::testing::Test {
 protected:
  KeychainItemWrapper open(const std::string& identifier = kIdentifier) {
    return KeychainItemWrapper(store_, identifier, std::nullopt);
  }
  Value account(const KeychainItemWrapper& wrapper) {
    return wrapper.objectForKey(kSecAttrAccount).value_or(Null{});
  }

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

TEST_F(KeychainItemWrapperTest, WritesTheOneItemThatTheNextWrapperReadsAndNothingUnchanged) {
  expectBlank(open());
  EXPECT_EQ(store_.writes, 0);

  open().setObject(utf8("FIRST"), kSecAttrAccount);
  const Map first{{kSecAttrAccount, utf8("FIRST")}, {kSecAttrLabel, ""},
                  {kSecAttrDescription, ""},        {kSecValueData, Bytes{}},
                  {kSecAttrGeneric, kIdentifier},   {kSecClass, kSecClassGenericPassword}};
  EXPECT_EQ(store_.inner.items(), std::vector<Map>{first});

  KeychainItemWrapper again = open();
  EXPECT_EQ(account(again), Value(utf8("FIRST")));
  again.setObject(utf8("SECOND"), kSecAttrAccount);
  again.setObject("s\xC3\xA9", kSecValueData);  // a text secret is stored as its UTF-8 bytes
  ASSERT_EQ(store_.inner.items().size(), 1u);
  EXPECT_EQ(*store_.inner.items()[0].find(kSecValueData), Value(utf8("s\xC3\xA9")));
  EXPECT_EQ(store_.writes, 3);

  // The value already held, read back or set here, or null: nothing written.
  KeychainItemWrapper third = open();
  third.setObject(utf8("SECOND"), kSecAttrAccount);
  third.setObject("", kSecAttrLabel);
  third.setObject(Value(), kSecAttrAccount);
  EXPECT_EQ(account(third), Value(utf8("SECOND")));
  EXPECT_EQ(store_.writes, 3);
}

// The first launch of a new installation: the old installation's item is
// still in the store and must give way to a new identifier.
TEST_F(KeychainItemWrapperTest, ResetDeletesTheStoredItemAndBlanksTheFields) {
  open().setObject(utf8("OLD-INSTALLATION"), kSecAttrAccount);
  open("other-OrvantaPush").setObject(utf8("OTHER"), kSecAttrAccount);

  KeychainItemWrapper wrapper = open();
  wrapper.resetKeychainItem();
  expectBlank(wrapper);
  EXPECT_EQ(account(open()), Value(""));
  EXPECT_EQ(account(open("other-OrvantaPush")), Value(utf8("OTHER")));  // left alone

  wrapper.resetKeychainItem();  // nothing stored: only blanks
  wrapper.setObject(utf8("NEW-INSTALLATION"), kSecAttrAccount);
  EXPECT_EQ(account(open()), Value(utf8("NEW-INSTALLATION")));
}

TEST_F(KeychainItemWrapperTest, FailedWritesAreLoggedByStatusOnlyAndKeepTheValueInMemory) {
  testing::LogLines log;
  store_.failWrites = true;
  KeychainItemWrapper wrapper = open();
  wrapper.setObject(utf8("SECRET-ID-1234"), kSecAttrAccount);
  EXPECT_EQ(account(wrapper), Value(utf8("SECRET-ID-1234")));
  EXPECT_TRUE(log.contains("-36"));
  EXPECT_FALSE(log.contains("SECRET-ID-1234"));
  EXPECT_FALSE(log.contains(kIdentifier));
  EXPECT_EQ(account(open()), Value(""));  // the next run starts blank again
}

}  // namespace
}  // namespace orvanta
