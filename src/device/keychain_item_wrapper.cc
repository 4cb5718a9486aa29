#include "device/keychain_item_wrapper.h"

#include <string>
#include <string_view>
#include <utility>

#include "orvanta/log.h"

namespace orvanta {
namespace {

// Notes a failed store operation. Only the operation and status are written:
// the item holds the device identifier, which stays out of the log.
void logFailure(std::string_view operation, int status) {
  logLine("Orvanta could not " + std::string(operation) + " the keychain item (status " + std::to_string(status) +
          ")");
}

}  // namespace

KeychainItemWrapper::KeychainItemWrapper(SecureStore& store, const std::string& identifier,
                                         const std::optional<std::string>& accessGroup)
    : store_(store) {
  genericPasswordQuery_.set(kSecClass, kSecClassGenericPassword);
  genericPasswordQuery_.set(kSecAttrGeneric, identifier);
  if (accessGroup) genericPasswordQuery_.set(kSecAttrAccessGroup, *accessGroup);
  genericPasswordQuery_.set(kSecMatchLimit, kSecMatchLimitOne);
  genericPasswordQuery_.set(kSecReturnAttributes, true);

  Map found;
  if (store_.copyMatching(genericPasswordQuery_, &found) != errSecSuccess) {
    resetKeychainItem();
    keychainItemData_->set(kSecAttrGeneric, identifier);
    if (accessGroup) keychainItemData_->set(kSecAttrAccessGroup, *accessGroup);
  } else {
    keychainItemData_ = secItemFormatToDictionary(found);
  }
}

void KeychainItemWrapper::setObject(const Value& value, const std::string& key) {
  if (value.isNull()) return;
  const Value* current = keychainItemData_->find(key);
  if (current != nullptr && *current == value) return;
  keychainItemData_->set(key, value);
  writeToKeychain();
}

std::optional<Value> KeychainItemWrapper::objectForKey(const std::string& key) const {
  const Value* value = keychainItemData_->find(key);
  if (value == nullptr) return std::nullopt;
  return *value;
}

void KeychainItemWrapper::resetKeychainItem() {
  if (!keychainItemData_) {
    keychainItemData_.emplace();
  } else {
    const int status = store_.remove(dictionaryToSecItemFormat(*keychainItemData_));
    // Nothing stored yet is the usual case after a reset or a failed write.
    if (status != errSecSuccess && status != errSecItemNotFound) logFailure("delete", status);
  }
  keychainItemData_->set(kSecAttrAccount, "");
  keychainItemData_->set(kSecAttrLabel, "");
  keychainItemData_->set(kSecAttrDescription, "");
  keychainItemData_->set(kSecValueData, Bytes{});
}

Map KeychainItemWrapper::dictionaryToSecItemFormat(const Map& item) const {
  Map formatted = item;
  formatted.set(kSecClass, kSecClassGenericPassword);
  if (Value* secret = formatted.find(kSecValueData); secret != nullptr && secret->isString()) {
    const std::string& text = *secret->asString();
    *secret = Bytes(text.begin(), text.end());
  }
  return formatted;
}

Map KeychainItemWrapper::secItemFormatToDictionary(const Map& attributes) const {
  Map converted = attributes;
  converted.set(kSecReturnData, true);
  converted.set(kSecClass, kSecClassGenericPassword);
  Map found;
  if (store_.copyMatching(converted, &found) == errSecSuccess) {
    converted.erase(kSecReturnData);
    if (const Value* secret = found.find(kSecValueData)) converted.set(kSecValueData, *secret);
  }
  return converted;
}

void KeychainItemWrapper::writeToKeychain() {
  Map found;
  if (store_.copyMatching(genericPasswordQuery_, &found) == errSecSuccess) {
    // Update the item the search found, identified by the attributes it
    // answered. Access groups are plain attributes of this store, so the
    // group stays among the new values.
    Map query = std::move(found);
    query.set(kSecClass, *genericPasswordQuery_.find(kSecClass));
    Map changes = dictionaryToSecItemFormat(*keychainItemData_);
    changes.erase(kSecClass);
    if (const int status = store_.update(query, changes); status != errSecSuccess) logFailure("update", status);
  } else {
    const int status = store_.add(dictionaryToSecItemFormat(*keychainItemData_));
    if (status != errSecSuccess) logFailure("add", status);
  }
}

}  // namespace orvanta
