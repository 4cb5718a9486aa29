// Who this client is: the device's stable identifier, the push token and the
// signed-in user's identity.
#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "orvanta/platform/secure_store.h"
#include "orvanta/platform/settings_store.h"
#include "orvanta/value.h"

namespace orvanta {

class KeychainItemWrapper;
class OrvantaCommanMethods;
class OrvantaDataModel;

// Any thread. Every collaborator must outlive it.
class ClientIdentity {
 public:
  // keychainIdentifier: the secure-store item that keeps the device
  // identifier ("<bundle id>-OrvantaPush").
  ClientIdentity(OrvantaDataModel& model, OrvantaCommanMethods& settings, SettingsStore& standardSettings,
                 SecureStore& secureStore, std::string keychainIdentifier);
  ~ClientIdentity();
  ClientIdentity(const ClientIdentity&) = delete;
  ClientIdentity& operator=(const ClientIdentity&) = delete;

  // A new random UUID, canonical upper-case text.
  static std::string getGUID();
  // The device's stable identifier, kept in the secure store and renewed on
  // the first start of each installation.
  std::string getPushID();
  // Keeps the raw token as the platform delivered it, stored at once.
  void setDeviceToken(const Value& token);
  // The raw token, or null before one was set or loaded.
  std::optional<Value> getDeviceToken() const;
  void setUpIdentity(const std::string& identity);
  // The current identity, never null ("" when none).
  std::string getIdentity();
  // The secure-store item opened by getPushID (null before). Shared, so that
  // it stays valid for its holder when a later start-up opens a new one; not
  // thread-safe itself.
  std::shared_ptr<KeychainItemWrapper> keychainItemWrapperObj() const;

 private:
  OrvantaDataModel& model_;
  OrvantaCommanMethods& settings_;
  SettingsStore& standardSettings_;
  SecureStore& secureStore_;
  const std::string keychainIdentifier_;
  mutable std::mutex keychainMutex_;
  std::shared_ptr<KeychainItemWrapper> keychainItemWrapperObj_;  // guarded by keychainMutex_
};

}  // namespace orvanta
