#pragma once

#include <functional>

namespace orvanta {

// Authorization states: 0 not determined, 1 restricted, 2 denied,
// 3 always, 4 when in use.
enum class LocationAuthorization { NotDetermined = 0, Restricted = 1, Denied = 2, Always = 3, WhenInUse = 4 };

struct LocationFix {
  double latitude = 0;
  double longitude = 0;
  double horizontalAccuracy = -1;  // negative marks an invalid fix
  double timestamp = 0;            // seconds since 1970
};

// A source of position fixes. Callbacks run on a thread of the provider's choosing.
class LocationProvider {
 public:
  struct Listener {
    std::function<void(LocationAuthorization)> authorizationChanged;
    std::function<void(const LocationFix&)> fix;
    std::function<void()> failed;
  };
  virtual ~LocationProvider() = default;
  virtual LocationAuthorization authorization() const = 0;
  // Whether the device's location services are on at all.
  virtual bool locationServicesEnabled() const = 0;
  virtual void setListener(Listener listener) = 0;
  virtual void requestAuthorization() = 0;
  virtual void startUpdating() = 0;
  virtual void stopUpdating() = 0;
};

}  // namespace orvanta
