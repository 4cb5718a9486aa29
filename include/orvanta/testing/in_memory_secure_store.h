#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include "orvanta/platform/secure_store.h"

namespace orvanta {
class SecureItemTable;
}

namespace orvanta::testing {

// Generic-password items kept in memory, with the same matching rules and
// status codes as the file-backed store. Counts writes so tests can tell
// whether a write happened. Thread-safe.
class InMemorySecureStore : public SecureStore {
 public:
  InMemorySecureStore();
  ~InMemorySecureStore() override;

  int copyMatching(const Map& query, Map* result) override;
  int add(const Map& item) override;
  int update(const Map& query, const Map& changes) override;
  int remove(const Map& query) override;

  // Successful add, update and remove calls so far.
  int writeCount() const;
  std::vector<Map> items() const;

 private:
  mutable std::mutex mutex_;
  const std::unique_ptr<SecureItemTable> table_;
  int writeCount_ = 0;
};

}  // namespace orvanta::testing
