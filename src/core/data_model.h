// The client's shared state, rebuilt at every start.
#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>

#include "orvanta/value.h"

namespace orvanta {

// One per Runtime. Every property is read and written under one lock, so host
// threads and network completions may use it at once; getters answer copies.
// A property that starts null (the state before start-up) is an optional.
class OrvantaDataModel {
 public:
  static OrvantaDataModel& sharedInstance();

  std::string strPushId() const;
  void setStrPushId(std::string v);
  std::string strAppVersion() const;
  void setStrAppVersion(std::string v);
  std::int64_t SessionIdTimeoutInMinutes() const;
  void setSessionIdTimeoutInMinutes(std::int64_t v);
  std::string strOSVersion() const;
  void setStrOSVersion(std::string v);
  std::string strOSType() const;
  void setStrOSType(std::string v);
  std::string strSDKVersion() const;
  void setStrSDKVersion(std::string v);
  std::string strAppID() const;
  void setStrAppID(std::string v);
  std::string strSessionid() const;
  void setStrSessionid(std::string v);
  std::optional<std::string> prevTrackingEventTime() const;
  void setPrevTrackingEventTime(std::optional<std::string> v);
  std::string strIdentity() const;
  void setStrIdentity(std::string v);
  // The raw token as the platform delivered it (bytes), or what the settings
  // lookup substituted (a string); null until set or loaded.
  std::optional<Value> deviceToken() const;
  void setDeviceToken(std::optional<Value> v);
  std::optional<Date> intializationDate() const;
  void setIntializationDate(std::optional<Date> v);
  std::optional<std::string> strUserAgent() const;
  void setStrUserAgent(std::optional<std::string> v);
  // Declared attribution slots; nothing fills them (attribution travels in
  // deeplinkQueryParam), but a host may.
  std::optional<std::string> atcm() const;
  void setAtcm(std::optional<std::string> v);
  std::optional<std::string> atcs() const;
  void setAtcs(std::optional<std::string> v);
  std::optional<std::string> atci() const;
  void setAtci(std::optional<std::string> v);
  std::optional<Map> deeplinkQueryParam() const;
  void setDeeplinkQueryParam(std::optional<Map> v);

 private:
  template <typename T>
  T read(const T& field) const {
    std::lock_guard lock(mutex_);
    return field;
  }
  template <typename T>
  void write(T& field, T v) {
    std::lock_guard lock(mutex_);
    field = std::move(v);
  }

  mutable std::mutex mutex_;
  std::string strPushId_;
  std::string strAppVersion_;
  std::int64_t SessionIdTimeoutInMinutes_ = 0;
  std::string strOSVersion_;
  std::string strOSType_;
  std::string strSDKVersion_;
  std::string strAppID_;
  std::string strSessionid_;
  std::optional<std::string> prevTrackingEventTime_;
  std::string strIdentity_;
  std::optional<Value> deviceToken_;
  std::optional<Date> intializationDate_;
  std::optional<std::string> strUserAgent_;
  std::optional<std::string> atcm_;
  std::optional<std::string> atcs_;
  std::optional<std::string> atci_;
  std::optional<Map> deeplinkQueryParam_;
};

}  // namespace orvanta
