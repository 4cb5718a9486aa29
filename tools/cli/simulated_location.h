#pragma once

#include <mutex>

#include "orvanta/platform/location_provider.h"

namespace orvanta::cli {

// A device whose user lets the app use its location (--location): services
// on, permission given while in use, and a fresh, accurate fix at the
// position given as soon as updates start.
class SimulatedLocation final : public LocationProvider {
 public:
  SimulatedLocation(double latitude, double longitude) : latitude_(latitude), longitude_(longitude) {}

  LocationAuthorization authorization() const override { return LocationAuthorization::WhenInUse; }
  bool locationServicesEnabled() const override { return true; }
  void setListener(Listener listener) override;
  void requestAuthorization() override {}
  void startUpdating() override;
  void stopUpdating() override {}

 private:
  const double latitude_;
  const double longitude_;
  std::mutex mutex_;
  Listener listener_;  // guarded by mutex_
};

}  // namespace orvanta::cli
