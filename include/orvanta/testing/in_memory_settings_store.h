#pragma once

#include <map>
#include <mutex>
#include <string>

#include "orvanta/platform/settings_store.h"

namespace orvanta::testing {

// Settings kept in memory; synchronize() only counts. Thread-safe.
class InMemorySettingsStore : public SettingsStore {
 public:
  std::optional<Value> get(std::string_view key) const override;
  void set(std::string_view key, Value value) override;
  void remove(std::string_view key) override;
  bool synchronize() override;

  int synchronizeCount() const;
  std::size_t size() const;

 private:
  mutable std::mutex mutex_;
  std::map<std::string, Value, std::less<>> values_;
  int synchronizeCount_ = 0;
};

}  // namespace orvanta::testing
