#include "support/scoped_environment.h"

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <utility>

namespace orvanta::testing {
namespace {

void setOrRemove(const std::string& name, const std::optional<std::string>& value) {
  if (value) {
    ::setenv(name.c_str(), value->c_str(), 1);
  } else {
    ::unsetenv(name.c_str());
  }
}

}  // namespace

ScopedEnvironment::ScopedEnvironment(std::string name, const std::optional<std::string>& value)
    : name_(std::move(name)) {
  if (const char* previous = std::getenv(name_.c_str())) previous_ = previous;
  setOrRemove(name_, value);
}

ScopedEnvironment::~ScopedEnvironment() { setOrRemove(name_, previous_); }

ScopedTimeZone::ScopedTimeZone(const std::string& zone) {
  tz_.emplace("TZ", zone);
  ::tzset();
}

ScopedTimeZone::~ScopedTimeZone() {
  tz_.reset();
  ::tzset();
}

bool ScopedTimeZone::installed(const std::string& zone) {
  return std::filesystem::exists("/usr/share/zoneinfo/" + zone);
}

}  // namespace orvanta::testing
