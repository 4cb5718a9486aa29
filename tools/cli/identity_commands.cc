// register, login, logout and profile: telling the server who uses the device.
#include <optional>
#include <string>

#include "cli/command_handlers.h"
#include "cli/host.h"
#include "orvanta/installation.h"
#include "orvanta/runtime.h"

namespace orvanta::cli {

Action parseRegister(Arguments& words) {
  std::optional<Bytes> token;
  if (auto hex = words.option("--token")) token = hexArgument("--token", *hex);
  std::optional<std::string> identity = words.optional();
  return [identity, token](Host& host) {
    OrvantaInstallation& installation = host.runtime().installation();
    StatusBlock report = host.expectStatus("register");
    if (token) {
      installation.orvantaPushRegisteration(identity, Value(*token), std::move(report));
    } else {
      installation.orvantaPushRegisteration(identity, std::move(report));
    }
  };
}

Action parseLogin(Arguments& words) {
  std::string identity = words.required("IDENTITY");
  return [identity](Host& host) {
    host.runtime().installation().orvantaPushLogin(identity, host.expectStatus("login"));
  };
}

Action parseLogout(Arguments&) {
  return [](Host& host) {
    host.runtime().installation().orvantaPushLogout(host.expectStatus("logout"));
  };
}

Action parseProfile(Arguments& words) {
  std::string identity = words.required("IDENTITY");
  Value attributes = jsonArgument("ATTRS_JSON", words.required("ATTRS_JSON"));
  return [identity, attributes](Host& host) {
    host.runtime().installation().orvantaProfilePush(identity, attributes, host.expectStatus("profile"));
  };
}

}  // namespace orvanta::cli
