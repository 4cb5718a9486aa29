#include "inapp/scratch_settings_store.h"

#include <utility>

namespace orvanta {

ScratchSettingsStore::ScratchSettingsStore(const SettingsStore& base) : base_(base) {}

std::optional<Value> ScratchSettingsStore::get(std::string_view key) const {
  {
    std::lock_guard lock(mutex_);
    if (const auto found = written_.find(key); found != written_.end()) return found->second;
  }
  return base_.get(key);
}

void ScratchSettingsStore::set(std::string_view key, Value value) {
  std::lock_guard lock(mutex_);
  written_.insert_or_assign(std::string(key), std::move(value));
}

void ScratchSettingsStore::remove(std::string_view key) {
  std::lock_guard lock(mutex_);
  written_.insert_or_assign(std::string(key), std::nullopt);
}

bool ScratchSettingsStore::synchronize() { return true; }

}  // namespace orvanta
