#include "orvanta/installation.h"

#include <utility>

#include "core/client_identity.h"
#include "core/comman_methods.h"
#include "net/web_service_handler.h"
#include "runtime/facade_impls.h"

namespace orvanta {
namespace {

std::string orEmpty(const std::optional<std::string>& identity) { return identity.value_or(std::string()); }

}  // namespace

OrvantaInstallation::OrvantaInstallation(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}

OrvantaInstallation::~OrvantaInstallation() = default;

void OrvantaInstallation::orvantaPushRegisteration(const std::optional<std::string>& identity, StatusBlock block) {
  const std::string user = orEmpty(identity);
  auto& settings = impl_->settings;
  auto& store = impl_->standardSettings;
  // The token at the first registration is kept once and never updated.
  if (!store.get(settings_key::kOldToken)) {
    store.set(settings_key::kOldToken, settings.getDeviceToken());
    store.synchronize();
  }
  impl_->identity.setUpIdentity(user);
  Map info{{"token", settings.getDeviceToken()},
           {"oldtoken", store.get(settings_key::kOldToken).value_or(Value(std::string()))},
           {"eventid", 25}};
  impl_->handler.callPostService("pn_register", info, std::move(block));
}

void OrvantaInstallation::orvantaPushRegisteration(const std::optional<std::string>& identity, const Value& deviceToken,
                                                   StatusBlock block) {
  impl_->identity.setUpIdentity(orEmpty(identity));
  impl_->identity.setDeviceToken(deviceToken);
  orvantaPushRegisteration(identity, std::move(block));
}

void OrvantaInstallation::orvantaPushLogin(const std::optional<std::string>& identity, StatusBlock block) {
  impl_->identity.setUpIdentity(orEmpty(identity));
  impl_->handler.callPostService("pn_login", Map{{"eventid", 22}}, std::move(block));
}

void OrvantaInstallation::orvantaPushLogout(StatusBlock block) {
  // Built before the identity is cleared: it carries the user who logs out.
  impl_->handler.callPostService("pn_logout", Map{{"eventid", 23}}, std::move(block));
  impl_->identity.setUpIdentity("");
}

void OrvantaInstallation::orvantaProfilePush(const std::optional<std::string>& identity, const Value& payload,
                                             StatusBlock block) {
  impl_->identity.setUpIdentity(orEmpty(identity));
  impl_->handler.callProfilePushService(payload, std::move(block));
}

}  // namespace orvanta
