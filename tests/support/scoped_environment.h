// Environment changes that last for one scope (one test), for tests of code
// that reads the process environment: the time zone, the locale, PATH.
#pragma once

#include <optional>
#include <string>

namespace orvanta::testing {

// Sets (or, with nullopt, removes) one environment variable; puts back what
// was there before when it goes. Not thread-safe: only for tests that run no
// other threads reading the environment meanwhile.
class ScopedEnvironment {
 public:
  ScopedEnvironment(std::string name, const std::optional<std::string>& value);
  ~ScopedEnvironment();
  ScopedEnvironment(const ScopedEnvironment&) = delete;
  ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

 private:
  std::string name_;
  std::optional<std::string> previous_;
};

// TZ set to zone (an Olson name such as "Europe/Berlin") and made current
// with tzset(); the previous zone is restored the same way.
class ScopedTimeZone {
 public:
  explicit ScopedTimeZone(const std::string& zone);
  ~ScopedTimeZone();
  ScopedTimeZone(const ScopedTimeZone&) = delete;
  ScopedTimeZone& operator=(const ScopedTimeZone&) = delete;

  // Whether the system has the rules of zone (tzdata may be missing).
  static bool installed(const std::string& zone);

 private:
  std::optional<ScopedEnvironment> tz_;
};

}  // namespace orvanta::testing
