// A settings layer that takes writes without passing them on, so that a dry
// run can go through the very code that counts showings and change nothing.
#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <string>

#include "orvanta/platform/settings_store.h"

namespace orvanta {

// Reads see this layer's own writes and removals first, then base. Nothing
// reaches base; synchronize() only answers true. Thread-safe; base must
// outlive it.
class ScratchSettingsStore : public SettingsStore {
 public:
  explicit ScratchSettingsStore(const SettingsStore& base);

  std::optional<Value> get(std::string_view key) const override;
  void set(std::string_view key, Value value) override;
  void remove(std::string_view key) override;
  bool synchronize() override;

 private:
  const SettingsStore& base_;
  mutable std::mutex mutex_;
  // A key written here: its value, or nullopt for a removal.
  std::map<std::string, std::optional<Value>, std::less<>> written_;
};

}  // namespace orvanta
