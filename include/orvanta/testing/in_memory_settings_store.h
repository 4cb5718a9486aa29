#pragma once

#include <map>
#include <mutex>
#include <string>

#include "orvanta/platform/settings_store.h"

namespace orvanta::testing {

// Settings kept in memory; synchronize() only counts. withLock() runs its body
// under a lock of this store's, so two users of one store (two "processes" of
// a test) take turns. Thread-safe.
class InMemorySettingsStore : public SettingsStore {
 public:
  std::optional<Value> get(std::string_view key) const override;
  void set(std::string_view key, Value value) override;
  void remove(std::string_view key) override;
  bool synchronize() override;
  bool withLock(const std::function<void()>& body) override;

  int synchronizeCount() const;
  std::size_t size() const;

 private:
  std::recursive_mutex exclusive_;  // held by withLock; taken before mutex_
  mutable std::mutex mutex_;
  std::map<std::string, Value, std::less<>> values_;
  int synchronizeCount_ = 0;
};

}  // namespace orvanta::testing
