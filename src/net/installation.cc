#include "orvanta/installation.h"

#include "core/comman_methods.h"
#include "net/web_service_handler.h"
#include "orvanta/runtime.h"
#include "orvanta/shared_manager.h"

namespace orvanta {
namespace {

std::string orEmpty(const std::optional<std::string>& identity) { return identity.value_or(std::string()); }

}  // namespace

OrvantaInstallation::OrvantaInstallation(Runtime& runtime) : runtime_(runtime) {}

OrvantaInstallation& OrvantaInstallation::sharedInstance() { return Runtime::shared().installation(); }

void OrvantaInstallation::orvantaPushRegisteration(const std::optional<std::string>& identity, StatusBlock block) {
  const std::string user = orEmpty(identity);
  auto& settings = runtime_.commanMethods();
  auto& store = *runtime_.platform().standardSettings;
  // The token at the first registration is kept once and never updated.
  if (!store.get(settings_key::kOldToken)) {
    store.set(settings_key::kOldToken, settings.getDeviceToken());
    store.synchronize();
  }
  runtime_.sharedManager().setUpIdentity(user);
  Map info{{"token", settings.getDeviceToken()},
           {"oldtoken", store.get(settings_key::kOldToken).value_or(Value(std::string()))},
           {"eventid", 25}};
  runtime_.webServiceHandler().callPostService("pn_register", info, std::move(block));
}

void OrvantaInstallation::orvantaPushRegisteration(const std::optional<std::string>& identity, const Value& deviceToken,
                                                   StatusBlock block) {
  auto& manager = runtime_.sharedManager();
  manager.setUpIdentity(orEmpty(identity));
  manager.setDeviceToken(deviceToken);
  orvantaPushRegisteration(identity, std::move(block));
}

void OrvantaInstallation::orvantaPushLogin(const std::optional<std::string>& identity, StatusBlock block) {
  runtime_.sharedManager().setUpIdentity(orEmpty(identity));
  runtime_.webServiceHandler().callPostService("pn_login", Map{{"eventid", 22}}, std::move(block));
}

void OrvantaInstallation::orvantaPushLogout(StatusBlock block) {
  // Built before the identity is cleared: it carries the user who logs out.
  runtime_.webServiceHandler().callPostService("pn_logout", Map{{"eventid", 23}}, std::move(block));
  runtime_.sharedManager().setUpIdentity("");
}

void OrvantaInstallation::orvantaProfilePush(const std::optional<std::string>& identity, const Value& payload,
                                             StatusBlock block) {
  runtime_.sharedManager().setUpIdentity(orEmpty(identity));
  runtime_.webServiceHandler().callProfilePushService(payload, std::move(block));
}

}  // namespace orvanta
