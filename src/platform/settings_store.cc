#include "orvanta/platform/settings_store.h"

namespace orvanta {

bool SettingsStore::withLock(const std::function<void()>& body) {
  std::lock_guard lock(exclusive_);
  body();
  return synchronize();
}

}  // namespace orvanta
