#include "platform/linux/posix_error.h"

#include <cstring>

namespace orvanta {

std::string describeFailure(const char* operation, const std::string& path, int err) {
  char buffer[256];
  // GNU strerror_r answers a pointer that may or may not be buffer.
  const char* reason = strerror_r(err, buffer, sizeof buffer);
  return std::string(operation) + " " + path + ": " + reason;
}

}  // namespace orvanta
