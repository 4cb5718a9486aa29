#include "platform/secure_item_table.h"

#include <cstddef>

namespace orvanta {
namespace {

// The attributes that tell generic-password items apart: no two stored items
// agree on all three (an absent attribute agrees only with an absent one).
constexpr const char* kIdentityKeys[] = {kSecClass, kSecAttrGeneric, kSecAttrAccessGroup};

bool isSearchKey(std::string_view key) { return key.starts_with("m_") || key.starts_with("r_"); }

bool sameIdentity(const Map& a, const Map& b) {
  for (const char* key : kIdentityKeys) {
    const Value* x = a.find(key);
    const Value* y = b.find(key);
    if ((x == nullptr) != (y == nullptr)) return false;
    if (x != nullptr && !(*x == *y)) return false;
  }
  return true;
}

}  // namespace

bool SecureItemTable::isAttributeKey(std::string_view key) {
  return !isSearchKey(key) && !key.starts_with("v_");
}

bool SecureItemTable::matches(const Map& item, const Map& query) {
  for (const auto& [key, value] : query) {
    if (!isAttributeKey(key)) continue;
    const Value* held = item.find(key);
    if (held == nullptr || !(*held == value)) return false;
  }
  return true;
}

int SecureItemTable::copyMatching(const Map& query, Map* result) const {
  for (const Map& item : items_) {
    if (!matches(item, query)) continue;
    Map found;
    found.reserve(item.size());
    for (const auto& [key, value] : item) {
      if (isAttributeKey(key)) found.set(key, value);
    }
    const Value* wantsData = query.find(kSecReturnData);
    if (wantsData != nullptr && wantsData->truthy()) {
      if (const Value* data = item.find(kSecValueData)) found.set(kSecValueData, *data);
    }
    *result = std::move(found);
    return errSecSuccess;
  }
  return errSecItemNotFound;
}

int SecureItemTable::add(const Map& item) {
  Map stored;
  stored.reserve(item.size());
  for (const auto& [key, value] : item) {
    if (!isSearchKey(key)) stored.set(key, value);
  }
  for (const Map& existing : items_) {
    if (sameIdentity(existing, stored)) return errSecDuplicateItem;
  }
  items_.push_back(std::move(stored));
  return errSecSuccess;
}

int SecureItemTable::update(const Map& query, const Map& changes) {
  std::vector<Map> updated = items_;
  std::vector<bool> changed(updated.size(), false);
  bool any = false;
  for (std::size_t i = 0; i < updated.size(); ++i) {
    if (!matches(updated[i], query)) continue;
    for (const auto& [key, value] : changes) {
      if (!isSearchKey(key)) updated[i].set(key, value);
    }
    changed[i] = any = true;
  }
  if (!any) return errSecItemNotFound;
  // Only pairs involving a changed item can have become duplicates.
  for (std::size_t i = 0; i < updated.size(); ++i) {
    if (!changed[i]) continue;
    for (std::size_t j = 0; j < updated.size(); ++j) {
      if (j != i && sameIdentity(updated[i], updated[j])) return errSecDuplicateItem;
    }
  }
  items_ = std::move(updated);
  return errSecSuccess;
}

int SecureItemTable::remove(const Map& query) {
  const auto removed = std::erase_if(items_, [&](const Map& item) { return matches(item, query); });
  return removed == 0 ? errSecItemNotFound : errSecSuccess;
}

}  // namespace orvanta
