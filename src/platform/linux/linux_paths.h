#pragma once

#include <string>

#include "orvanta/platform/paths.h"

namespace orvanta {

// The application's folders under its home folder: <home>/Documents and
// <home>/tmp. The constructor creates the home folder (with any missing
// parents) and both folders, each new folder private to the user (mode 0700);
// folders that already exist are used as they are. A folder that cannot be
// created is reported in the log, and the files the library then tries to
// keep there fail as they would in any unwritable folder. Thread-safe.
class LinuxPaths : public Paths {
 public:
  explicit LinuxPaths(std::string home);

  std::string documentsDirectory() const override;
  std::string temporaryDirectory() const override;

 private:
  std::string documents_;
  std::string temporary_;
};

}  // namespace orvanta
