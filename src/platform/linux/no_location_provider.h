#pragma once

#include "orvanta/platform/location_provider.h"

namespace orvanta {

// The default on Linux: no position source. Authorization stays "not
// determined", so the library never starts updates; a host that has a source
// supplies its own provider.
class NoLocationProvider : public LocationProvider {
 public:
  LocationAuthorization authorization() const override { return LocationAuthorization::NotDetermined; }
  bool locationServicesEnabled() const override { return false; }
  void setListener(Listener) override {}
  void requestAuthorization() override {}
  void startUpdating() override {}
  void stopUpdating() override {}
};

}  // namespace orvanta
