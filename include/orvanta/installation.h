// Telling the tracking server who is on this device.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "orvanta/status_block.h"
#include "orvanta/value.h"

namespace orvanta {

// One per Runtime, which builds it; any thread.
class OrvantaInstallation {
 public:
  // The library's side: the components it works through.
  struct Impl;
  explicit OrvantaInstallation(std::unique_ptr<Impl> impl);
  ~OrvantaInstallation();
  OrvantaInstallation(const OrvantaInstallation&) = delete;
  OrvantaInstallation& operator=(const OrvantaInstallation&) = delete;

  // The shared runtime's instance (see Runtime::shared).
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
  const std::unique_ptr<Impl> impl_;
};

}  // namespace orvanta
