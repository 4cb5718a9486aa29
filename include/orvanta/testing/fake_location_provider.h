#pragma once

#include <mutex>

#include "orvanta/platform/location_provider.h"

namespace orvanta::testing {

// A position source driven by the test: it sets the authorization (location
// services are on unless it turns them off) and feeds fixes or failures,
// which reach the listener on the test's thread.
class FakeLocationProvider : public LocationProvider {
 public:
  LocationAuthorization authorization() const override;
  bool locationServicesEnabled() const override;
  void setListener(Listener listener) override;
  void requestAuthorization() override;
  void startUpdating() override;
  void stopUpdating() override;

  void setAuthorization(LocationAuthorization authorization);
  void setLocationServicesEnabled(bool enabled);
  void deliverFix(const LocationFix& fix);
  void deliverFailure();
  bool updating() const;
  int authorizationRequests() const;

 private:
  mutable std::mutex mutex_;
  LocationAuthorization authorization_ = LocationAuthorization::NotDetermined;
  Listener listener_;
  bool servicesEnabled_ = true;
  bool updating_ = false;
  int authorizationRequests_ = 0;
};

}  // namespace orvanta::testing
