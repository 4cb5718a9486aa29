// Generic-password items kept in a private file of the user's.
#pragma once

#include <string>

#include "orvanta/platform/secure_store.h"

namespace orvanta {

// The items live in <folder>/secure-items.json (mode 0600) inside a folder of
// mode 0700, as tagged JSON. The file is the only copy: every call takes the
// file's FileLock (shared with other processes and stores on the folder),
// reads the file and, for a change, writes it back before the lock is
// released and the call answers. So processes sharing the folder see each
// other's items at once and never undo each other's changes. Thread-safe.
class FileSecureStore : public SecureStore {
 public:
  static constexpr const char* kFileName = "secure-items.json";

  // Creates folder (mode 0700) when missing and narrows the modes of the
  // folder and file when they differ from 0700 and 0600. A corrupt file is
  // logged, kept aside as <file>.corrupt and replaced by its last good copy,
  // else read as empty (see readTaggedMapFile).
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
  // Under the file's lock: applies change to the stored table and writes
  // the result.
  template <typename Change>
  int commit(Change change);

  const std::string folder_;
  const std::string path_;
};

}  // namespace orvanta
