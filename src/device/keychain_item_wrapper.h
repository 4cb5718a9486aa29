// One generic-password item of the secure store, seen as a map of attributes:
// the client keeps its device identifier in the account attribute of such an
// item so that the identifier survives restarts.
#pragma once

#include <optional>
#include <string>

#include "orvanta/platform/secure_store.h"
#include "orvanta/value.h"

namespace orvanta {

// The item is found by its class (generic password), its generic attribute
// (the identifier given at construction) and, when one is given, its access
// group. The wrapper keeps the item's attributes and secret in memory and
// writes them back whenever setObject changes one.
//
// Store failures are silent by design: a failed search counts as "no item", a
// failed add, update or delete is logged (status code only) and otherwise
// ignored, so the values then live only in this object for this run.
//
// Not thread-safe: the owner serializes calls. store must outlive the wrapper.
class KeychainItemWrapper {
 public:
  // Searches the store for the item. Found: its attributes and secret become
  // this object's data. Not found (or the search failed): the data is reset
  // (see resetKeychainItem) and carries the identifier, and the access group
  // when one is given. Nothing is written either way.
  KeychainItemWrapper(SecureStore& store, const std::string& identifier,
                      const std::optional<std::string>& accessGroup);

  // Sets key to value and writes the item, unless value equals what key
  // already holds (then nothing is written). A null value is ignored.
  void setObject(const Value& value, const std::string& key);
  // What key holds in this object's data, or nullopt.
  std::optional<Value> objectForKey(const std::string& key) const;

  // Deletes the stored item that matches this object's data, then blanks the
  // account, label and description ("" each) and the secret (empty bytes).
  // Other attributes (the identifier) are kept; nothing is written back.
  void resetKeychainItem();

  // A copy of item ready for the store: the class set to generic password
  // and a text secret turned into its UTF-8 bytes.
  Map dictionaryToSecItemFormat(const Map& item) const;
  // A copy of attributes (as a search returned them) completed with the
  // item's secret, searched for by those attributes. When that search fails
  // the copy is answered as it stands, search keys included.
  Map secItemFormatToDictionary(const Map& attributes) const;

  // Adds the item, or updates the stored one, with this object's data.
  void writeToKeychain();

 private:
  SecureStore& store_;
  Map genericPasswordQuery_;
  // Absent only until the constructor has run its search.
  std::optional<Map> keychainItemData_;
};

}  // namespace orvanta
