#pragma once

#include <mutex>

#include "orvanta/platform/secure_store.h"
#include "platform/secure_item_table.h"

namespace orvanta::testing {

// Generic-password items kept in memory, with the same matching rules and
// status codes as the file-backed store. Counts writes so tests can tell
// whether a write happened. Thread-safe.
class InMemorySecureStore : public SecureStore {
 public:
  int copyMatching(const Map& query, Map* result) override;
  int add(const Map& item) override;
  int update(const Map& query, const Map& changes) override;
  int remove(const Map& query) override;

  // Successful add, update and remove calls so far.
  int writeCount() const;
  std::vector<Map> items() const;

 private:
  mutable std::mutex mutex_;
  SecureItemTable table_;
  int writeCount_ = 0;
};

}  // namespace orvanta::testing
