#include "core/client_identity.h"

#include <array>
#include <cstdint>
#include <random>
#include <utility>

#include "core/comman_methods.h"
#include "core/data_model.h"
#include "device/keychain_item_wrapper.h"

namespace orvanta {

ClientIdentity::ClientIdentity(OrvantaDataModel& model, OrvantaCommanMethods& settings,
                               SettingsStore& standardSettings, SecureStore& secureStore,
                               std::string keychainIdentifier)
    : model_(model),
      settings_(settings),
      standardSettings_(standardSettings),
      secureStore_(secureStore),
      keychainIdentifier_(std::move(keychainIdentifier)) {}

ClientIdentity::~ClientIdentity() = default;

std::string ClientIdentity::getGUID() {
  // Every bit from the system's entropy source: the identifier names one
  // installation among millions, which a generator seeded with 32 bits could
  // not keep apart.
  std::random_device entropy;
  std::array<std::uint8_t, 16> bytes{};
  for (std::size_t i = 0; i < bytes.size(); i += 4) {
    const std::uint32_t word = entropy();
    for (std::size_t j = 0; j < 4; ++j) bytes[i + j] = static_cast<std::uint8_t>(word >> (8 * j));
  }
  bytes[6] = static_cast<std::uint8_t>((bytes[6] & 0x0F) | 0x40);  // version 4: random
  bytes[8] = static_cast<std::uint8_t>((bytes[8] & 0x3F) | 0x80);  // the RFC 4122 variant
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string guid;
  guid.reserve(36);
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (i == 4 || i == 6 || i == 8 || i == 10) guid.push_back('-');
    guid.push_back(kDigits[bytes[i] >> 4]);
    guid.push_back(kDigits[bytes[i] & 0x0F]);
  }
  return guid;
}

std::string ClientIdentity::getPushID() {
  std::lock_guard lock(keychainMutex_);
  // Decided under the settings' lock, which processes sharing the settings
  // honour too: of two first starts at once (the app and an extension of a
  // new installation) the second finds the first's flag and identifier.
  std::string pushId;
  standardSettings_.withLock([&] { pushId = decidePushID(); });
  return pushId;
}

std::string ClientIdentity::decidePushID() {
  keychainItemWrapperObj_ = std::make_shared<KeychainItemWrapper>(secureStore_, keychainIdentifier_, std::nullopt);
  // The secure store outlives a removed app while the settings do not, so the
  // first start of every installation forgets the old identifier.
  const auto firstLaunchDone = standardSettings_.get(settings_key::kFirstLaunch);
  if (!(firstLaunchDone && firstLaunchDone->truthy())) {
    standardSettings_.set(settings_key::kFirstLaunch, true);
    keychainItemWrapperObj_->resetKeychainItem();
  }
  standardSettings_.synchronize();
  if (auto account = keychainItemWrapperObj_->objectForKey(kSecAttrAccount)) {
    if (const auto* bytes = account->asBytes()) return std::string(bytes->begin(), bytes->end());
  }
  std::string guid = getGUID();
  keychainItemWrapperObj_->setObject(Value(Bytes(guid.begin(), guid.end())), kSecAttrAccount);
  return guid;
}

void ClientIdentity::setDeviceToken(const Value& token) {
  settings_.saveToDefaults(token, settings_key::kToken);
  model_.setDeviceToken(token);
}

std::optional<Value> ClientIdentity::getDeviceToken() const { return model_.deviceToken(); }

void ClientIdentity::setUpIdentity(const std::string& identity) {
  settings_.saveToDefaults(identity, settings_key::kIdentity);
  model_.setStrIdentity(identity);
}

std::string ClientIdentity::getIdentity() {
  if (auto identity = model_.strIdentity(); !identity.empty()) return identity;
  // The settings lookup never answers null, so the app-group identity is
  // never consulted: a missing identity reads as "".
  model_.setStrIdentity(settings_.getTextFromDefaults(settings_key::kIdentity));
  return model_.strIdentity();
}

std::shared_ptr<KeychainItemWrapper> ClientIdentity::keychainItemWrapperObj() const {
  std::lock_guard lock(keychainMutex_);
  return keychainItemWrapperObj_;
}

}  // namespace orvanta
