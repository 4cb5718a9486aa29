#pragma once

#include <mutex>

#include "orvanta/platform/location_provider.h"

namespace orvanta::testing {

// A position source driven by the test: it sets the authorization and feeds
// fixes or failures, which reach the listener on the test's thread.
class FakeLocationProvider : public LocationProvider {
 public:
  LocationAuthorization authorization() const override;
  void setListener(Listener listener) override;
  void requestAuthorization() override;
  void startUpdating() override;
  void stopUpdating() override;

  void setAuthorization(LocationAuthorization authorization);
  void deliverFix(const LocationFix& fix);
  void deliverFailure();
  bool updating() const;
  int authorizationRequests() const;

 private:
  mutable std::mutex mutex_;
  LocationAuthorization authorization_ = LocationAuthorization::NotDetermined;
  Listener listener_;
  bool updating_ = false;
  int authorizationRequests_ = 0;
};

}  // namespace orvanta::testing
