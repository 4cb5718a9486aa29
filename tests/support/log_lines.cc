#include "support/log_lines.h"

#include <algorithm>
#include <string_view>

#include "orvanta/log.h"

namespace orvanta::testing {

LogLines::LogLines() {
  setLogSink([this](std::string_view line) {
    std::lock_guard lock(mutex_);
    lines_.emplace_back(line);
  });
}

LogLines::~LogLines() {
  setLogSink([](std::string_view) {});
}

std::vector<std::string> LogLines::lines() const {
  std::lock_guard lock(mutex_);
  return lines_;
}

bool LogLines::contains(const std::string& text) const {
  std::lock_guard lock(mutex_);
  return std::ranges::any_of(lines_, [&](const std::string& line) { return line.find(text) != std::string::npos; });
}

}  // namespace orvanta::testing
