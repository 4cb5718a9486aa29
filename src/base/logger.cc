#include "base/logger.h"

#include <utility>

#include "orvanta/log.h"

namespace orvanta {

Logger::Logger(std::string prefix) : prefix_(std::move(prefix)) {}

void Logger::log(std::string_view message) const {
  std::string line;
  line.reserve(prefix_.size() + 1 + message.size());
  line += prefix_;
  line += ' ';
  line += message;
  logLine(line);
}

}  // namespace orvanta
