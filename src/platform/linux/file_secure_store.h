// Generic-password items kept in a private file of the user's.
#pragma once

#include <mutex>
#include <string>

#include "orvanta/platform/secure_store.h"
#include "platform/secure_item_table.h"

namespace orvanta {

// The items live in <folder>/secure-items.json (mode 0600) inside a folder of
// mode 0700, as tagged JSON. Searches are served from memory; every change is
// written through, synchronously, before the call answers. Thread-safe: one
// lock around each call, file writes included.
class FileSecureStore : public SecureStore {
 public:
  static constexpr const char* kFileName = "secure-items.json";

  // Creates folder (mode 0700) when missing, narrows the modes of the folder
  // and file when they differ from 0700 and 0600, and loads the items. A
  // corrupt file is logged, kept aside as <file>.corrupt and read as empty.
  // The folder is checked again before every write; while it cannot be made
  // private (logged), changes answer errSecIO.
  explicit FileSecureStore(std::string folder);

  int copyMatching(const Map& query, Map* result) override;
  // The changing calls answer errSecIO, changing nothing, when the file
  // cannot be written (the reason is logged).
  int add(const Map& item) override;
  int update(const Map& query, const Map& changes) override;
  int remove(const Map& query) override;

  const std::string& path() const { return path_; }

 private:
  // Applies change to a copy of the table and keeps the copy once it is
  // durable. Requires mutex_.
  template <typename Change>
  int commit(Change change);

  const std::string folder_;
  const std::string path_;
  std::mutex mutex_;
  SecureItemTable table_;  // guarded by mutex_
};

}  // namespace orvanta
