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

  // The operations behind OrvantaSharedManager's of the same names, whose
  // header says what each answers. getPushID decides under the standard
  // settings' withLock, so processes sharing the settings and the secure
  // store agree on one identifier.
  static std::string getGUID();
  std::string getPushID();
  void setDeviceToken(const Value& token);
  std::optional<Value> getDeviceToken() const;
  void setUpIdentity(const std::string& identity);
  std::string getIdentity();
  // The secure-store item opened by getPushID (null before). Shared, so that
  // it stays valid for its holder when a later start-up opens a new one; not
  // thread-safe itself.
  std::shared_ptr<KeychainItemWrapper> keychainItemWrapperObj() const;

 private:
  // The body of getPushID, run under keychainMutex_ and the settings' lock.
  std::string decidePushID();

  OrvantaDataModel& model_;
  OrvantaCommanMethods& settings_;
  SettingsStore& standardSettings_;
  SecureStore& secureStore_;
  const std::string keychainIdentifier_;
  mutable std::mutex keychainMutex_;
  std::shared_ptr<KeychainItemWrapper> keychainItemWrapperObj_;  // guarded by keychainMutex_
};

}  // namespace orvanta
