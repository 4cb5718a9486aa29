// The device's last known position, taken once per start-up from the
// platform's position source, for the "lat" and "lng" of tracking messages.
#pragma once

#include <mutex>
#include <optional>
#include <vector>

#include "orvanta/platform/clock.h"
#include "orvanta/platform/location_provider.h"
#include "orvanta/value.h"

namespace orvanta {

// One per Runtime. Never asks the user for permission: it uses the position
// only when the host application already may. Thread-safe: the fix is kept
// under a lock, read by any thread; the provider's callbacks may come on any
// thread. provider and clock must outlive it.
class OrvantaLocationTracker {
 public:
  OrvantaLocationTracker(LocationProvider& provider, const Clock& clock);
  // Takes the listener back from the provider.
  ~OrvantaLocationTracker();
  OrvantaLocationTracker(const OrvantaLocationTracker&) = delete;
  OrvantaLocationTracker& operator=(const OrvantaLocationTracker&) = delete;

  // Listens to the provider (from the first call on) and starts its updates
  // when location services are on and the application is authorized
  // (always, or when in use); otherwise does nothing.
  void trackLocation();

  // The kept fix's latitude (longitude) in degrees as a double, as it came;
  // the null marker while no fix has been accepted.
  Value getLatitude() const;
  Value getLongitude() const;
  // The fix accepted last.
  std::optional<LocationFix> location() const;

  // The provider's callbacks.
  // Authorized now (always or when in use): updates start. Any other status
  // leaves running updates as they are.
  void didChangeAuthorizationStatus(LocationAuthorization status);
  // The last fix is accepted when it is at most 5 seconds old by the clock
  // and its accuracy is not negative: updates stop and it is kept. Any other
  // fix (or none) leaves updates running.
  void didUpdateLocations(const std::vector<LocationFix>& locations);
  // Updates stop; the fix kept stays.
  void didFailWithError();

 private:
  LocationProvider& provider_;
  const Clock& clock_;
  mutable std::mutex mutex_;  // guards the two below; never held while the provider is called
  bool listening_ = false;
  std::optional<LocationFix> location_;
};

}  // namespace orvanta
