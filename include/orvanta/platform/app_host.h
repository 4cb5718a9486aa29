#pragma once

#include <string>

namespace orvanta {

enum class ApplicationState { Active = 0, Inactive = 1, Background = 2 };

// The host application and the device it runs on.
class AppHost {
 public:
  virtual ~AppHost() = default;
  virtual ApplicationState applicationState() const = 0;
  // The operating system's version text, e.g. "6.1.0".
  virtual std::string systemVersion() const = 0;
  // The hardware machine identifier, e.g. "x86_64".
  virtual std::string machineIdentifier() const = 0;
  // Canonical upper-case UUID text.
  virtual std::string advertisingIdentifier() const = 0;
  // Hands url to whatever handles it; answers whether it was handed on.
  virtual bool openURL(const std::string& url) = 0;
  // Asks the platform for a remote-notification device token.
  virtual void registerForRemoteNotifications() = 0;
};

}  // namespace orvanta
