// The matching rules of the secure store, over items held in a plain vector.
// Both the file-backed store and the in-memory test double keep their items in
// one of these, so the two agree on every status code. No I/O, no locking: the
// owner serializes calls.
#pragma once

#include <string_view>
#include <utility>
#include <vector>

#include "orvanta/platform/secure_store.h"
#include "orvanta/value.h"

namespace orvanta {

class SecureItemTable {
 public:
  SecureItemTable() = default;
  // Takes items as stored earlier (for instance read back from a file).
  explicit SecureItemTable(std::vector<Map> items) : items_(std::move(items)) {}

  // On success stores the first matching item in *result: its attributes,
  // plus kSecValueData when the query's kSecReturnData is truthy. Answers
  // errSecItemNotFound (and leaves *result alone) when nothing matches.
  int copyMatching(const Map& query, Map* result) const;
  // Stores a copy of item (search keys dropped). errSecDuplicateItem when an
  // item with the same class, generic attribute and access group exists.
  int add(const Map& item);
  // Sets the attributes (and kSecValueData) given in changes on every item
  // matching query. errSecItemNotFound when nothing matches;
  // errSecDuplicateItem, changing nothing, when the result would hold two
  // items with the same class, generic attribute and access group.
  int update(const Map& query, const Map& changes);
  // Deletes every item matching query; errSecItemNotFound when none does.
  int remove(const Map& query);

  // The items in the order they were added, each with its kSecValueData.
  const std::vector<Map>& items() const { return items_; }

  // False for keys that steer a search (prefix "m_" or "r_") or carry the
  // secret (prefix "v_"); true for keys that name an attribute.
  static bool isAttributeKey(std::string_view key);
  // Whether every attribute of query is present in item with an equal value.
  static bool matches(const Map& item, const Map& query);

 private:
  std::vector<Map> items_;
};

}  // namespace orvanta
