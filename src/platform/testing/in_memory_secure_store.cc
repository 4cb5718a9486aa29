#include "orvanta/testing/in_memory_secure_store.h"

#include "platform/secure_item_table.h"

namespace orvanta::testing {

InMemorySecureStore::InMemorySecureStore() : table_(std::make_unique<SecureItemTable>()) {}

InMemorySecureStore::~InMemorySecureStore() = default;

int InMemorySecureStore::copyMatching(const Map& query, Map* result) {
  std::lock_guard lock(mutex_);
  return table_->copyMatching(query, result);
}

int InMemorySecureStore::add(const Map& item) {
  std::lock_guard lock(mutex_);
  const int status = table_->add(item);
  if (status == errSecSuccess) ++writeCount_;
  return status;
}

int InMemorySecureStore::update(const Map& query, const Map& changes) {
  std::lock_guard lock(mutex_);
  const int status = table_->update(query, changes);
  if (status == errSecSuccess) ++writeCount_;
  return status;
}

int InMemorySecureStore::remove(const Map& query) {
  std::lock_guard lock(mutex_);
  const int status = table_->remove(query);
  if (status == errSecSuccess) ++writeCount_;
  return status;
}

int InMemorySecureStore::writeCount() const {
  std::lock_guard lock(mutex_);
  return writeCount_;
}

std::vector<Map> InMemorySecureStore::items() const {
  std::lock_guard lock(mutex_);
  return table_->items();
}

}  // namespace orvanta::testing
