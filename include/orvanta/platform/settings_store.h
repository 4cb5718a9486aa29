#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "orvanta/value.h"

namespace orvanta {

// One suite of stored settings: key/value pairs that outlive the process.
// Reads come from memory. Writes are visible to readers at once and persisted
// in order in the background; synchronize() returns once everything written so
// far is durable. Thread-safe.
class SettingsStore {
 public:
  virtual ~SettingsStore() = default;
  virtual std::optional<Value> get(std::string_view key) const = 0;
  virtual void set(std::string_view key, Value value) = 0;
  virtual void remove(std::string_view key) = 0;
  // Answers false when the suite could not be persisted (the reason is logged).
  virtual bool synchronize() = 0;
};

}  // namespace orvanta
