#include "orvanta/testing/in_memory_settings_store.h"

namespace orvanta::testing {

std::optional<Value> InMemorySettingsStore::get(std::string_view key) const {
  std::lock_guard lock(mutex_);
  auto it = values_.find(key);
  if (it == values_.end()) return std::nullopt;
  return it->second;
}

void InMemorySettingsStore::set(std::string_view key, Value value) {
  std::lock_guard lock(mutex_);
  values_.insert_or_assign(std::string(key), std::move(value));
}

void InMemorySettingsStore::remove(std::string_view key) {
  std::lock_guard lock(mutex_);
  if (auto it = values_.find(key); it != values_.end()) values_.erase(it);
}

bool InMemorySettingsStore::synchronize() {
  std::lock_guard lock(mutex_);
  ++synchronizeCount_;
  return true;
}

bool InMemorySettingsStore::withLock(const std::function<void()>& body) {
  std::lock_guard lock(exclusive_);
  body();
  return true;
}

int InMemorySettingsStore::synchronizeCount() const {
  std::lock_guard lock(mutex_);
  return synchronizeCount_;
}

std::size_t InMemorySettingsStore::size() const {
  std::lock_guard lock(mutex_);
  return values_.size();
}

}  // namespace orvanta::testing
