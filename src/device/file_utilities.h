// Paths of the client's own files inside the application's documents folder.
#pragma once

#include <string>

#include "orvanta/platform/paths.h"

namespace orvanta {

// One per Runtime. Thread-safe (no state of its own). paths must outlive it.
class FileUtilities {
 public:
  explicit FileUtilities(const Paths& paths);

  // The documents folder with folder appended. When nothing exists at that
  // path the folder is created (its parent must exist; no intermediate
  // folders are made); a failure to create it is ignored and the path is
  // answered all the same. Anything already there, a plain file included,
  // counts as present and is left alone.
  std::string getFolderAtPath(const std::string& folder) const;

  // getFolderAtPath(folder) with file appended. The file is not created.
  std::string getFilePathAsPerFolder(const std::string& folder, const std::string& file) const;

 private:
  const Paths& paths_;
};

}  // namespace orvanta
