#include "orvanta/testing/fake_location_provider.h"

namespace orvanta::testing {

LocationAuthorization FakeLocationProvider::authorization() const {
  std::lock_guard lock(mutex_);
  return authorization_;
}

bool FakeLocationProvider::locationServicesEnabled() const {
  std::lock_guard lock(mutex_);
  return servicesEnabled_;
}

void FakeLocationProvider::setListener(Listener listener) {
  std::lock_guard lock(mutex_);
  listener_ = std::move(listener);
}

void FakeLocationProvider::requestAuthorization() {
  std::lock_guard lock(mutex_);
  ++authorizationRequests_;
}

void FakeLocationProvider::startUpdating() {
  std::lock_guard lock(mutex_);
  updating_ = true;
}

void FakeLocationProvider::stopUpdating() {
  std::lock_guard lock(mutex_);
  updating_ = false;
}

void FakeLocationProvider::setAuthorization(LocationAuthorization authorization) {
  std::function<void(LocationAuthorization)> callback;
  {
    std::lock_guard lock(mutex_);
    authorization_ = authorization;
    callback = listener_.authorizationChanged;
  }
  if (callback) callback(authorization);
}

void FakeLocationProvider::setLocationServicesEnabled(bool enabled) {
  std::lock_guard lock(mutex_);
  servicesEnabled_ = enabled;
}

void FakeLocationProvider::deliverFix(const LocationFix& fix) {
  std::function<void(const LocationFix&)> callback;
  {
    std::lock_guard lock(mutex_);
    callback = listener_.fix;
  }
  if (callback) callback(fix);
}

void FakeLocationProvider::deliverFailure() {
  std::function<void()> callback;
  {
    std::lock_guard lock(mutex_);
    callback = listener_.failed;
  }
  if (callback) callback();
}

bool FakeLocationProvider::updating() const {
  std::lock_guard lock(mutex_);
  return updating_;
}

int FakeLocationProvider::authorizationRequests() const {
  std::lock_guard lock(mutex_);
  return authorizationRequests_;
}

}  // namespace orvanta::testing
