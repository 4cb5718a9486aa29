// The client's diagnostic lines: the configured prefix word, a blank, then
// the message, written through the log sink.
#pragma once

#include <string>
#include <string_view>

namespace orvanta {

// Immutable, so any thread may use one at once.
class Logger {
 public:
  explicit Logger(std::string prefix);
  void log(std::string_view message) const;

 private:
  const std::string prefix_;
};

}  // namespace orvanta
