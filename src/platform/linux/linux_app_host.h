#pragma once

#include <string>
#include <string_view>

#include "orvanta/platform/app_host.h"

namespace orvanta {

// The host on a Linux desktop or server: always active; the kernel's version
// and machine name (read once, from uname) stand in for the system version
// and hardware identifier; there is no advertising identifier, so it is all
// zeros. Thread-safe.
class LinuxAppHost : public AppHost {
 public:
  LinuxAppHost();

  ApplicationState applicationState() const override;
  // The leading numeric part of the kernel release, e.g. "6.1.0".
  std::string systemVersion() const override;
  // uname's machine field, e.g. "x86_64".
  std::string machineIdentifier() const override;
  std::string advertisingIdentifier() const override;
  // Starts "xdg-open url" (found through PATH) and returns without waiting;
  // the child is reaped in the background. False, with a log line, when the
  // program cannot be started (for instance xdg-open is not installed). True
  // says only that it started, not that anything handled the URL.
  bool openURL(const std::string& url) override;
  // Linux has no push-notification service to ask for a device token: this
  // writes one log line and does nothing else, so no token ever arrives.
  void registerForRemoteNotifications() override;

 private:
  std::string systemVersion_;
  std::string machine_;
};

// The leading run of digits and dots of a kernel release, without a trailing
// dot: "6.1.0" of "6.1.0-18-amd64"; "" when it does not start with a digit.
std::string leadingVersionNumber(std::string_view release);

}  // namespace orvanta
