// A lock that processes sharing a file take before they change it.
#pragma once

#include <string>

#include "platform/linux/unique_fd.h"

namespace orvanta {

// An exclusive flock(2) on a lock file, held from construction to
// destruction. Every FileLock opens the lock file anew, so it excludes every
// other FileLock on the same file: those of other processes and those of
// other threads or objects in this one. The lock goes with the process: a
// holder that dies (kill -9 included) releases it.
class FileLock {
 public:
  // The lock file kept beside a data file: "<path>.lock".
  static std::string pathFor(const std::string& dataFile);

  // Blocks until the lock on lockFile is held, creating the file (mode 0600)
  // when it is missing. When it cannot be opened or locked, logs why and
  // holds nothing (held() is false); callers go on unguarded, as the writes
  // beside the lock file then fail too in all likelihood.
  explicit FileLock(const std::string& lockFile);
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;

  bool held() const { return static_cast<bool>(file_); }

 private:
  UniqueFd file_;  // closing it releases the lock
};

}  // namespace orvanta
