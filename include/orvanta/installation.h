// Telling the tracking server who is on this device.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "orvanta/status_block.h"
#include "orvanta/value.h"

namespace orvanta {

class Runtime;

class OrvantaInstallation {
 public:
  explicit OrvantaInstallation(Runtime& runtime);
  static OrvantaInstallation& sharedInstance();

  // Registers the device token with the identity (null or empty: "").
  void orvantaPushRegisteration(const std::optional<std::string>& identity, StatusBlock block);
  void orvantaPushRegisteration(const std::optional<std::string>& identity, const Value& deviceToken,
                                StatusBlock block);
  void orvantaPushLogin(const std::optional<std::string>& identity, StatusBlock block);
  // The message carries the identity of the user who logs out; then it is cleared.
  void orvantaPushLogout(StatusBlock block);
  // Sends the profile attributes; a payload that is not a map goes as {}.
  void orvantaProfilePush(const std::optional<std::string>& identity, const Value& payload, StatusBlock block);

 private:
  Runtime& runtime_;
};

}  // namespace orvanta
