// The library's log lines, collected for the life of the object.
#pragma once

#include <mutex>
#include <string>
#include <vector>

namespace orvanta::testing {

// Installs a sink that keeps every line; puts a silent sink back when it goes
// (the state test_main sets up). Lines may arrive from any thread.
class LogLines {
 public:
  LogLines();
  ~LogLines();
  LogLines(const LogLines&) = delete;
  LogLines& operator=(const LogLines&) = delete;

  std::vector<std::string> lines() const;
  // Whether any line contains text.
  bool contains(const std::string& text) const;

 private:
  mutable std::mutex mutex_;
  std::vector<std::string> lines_;
};

}  // namespace orvanta::testing
