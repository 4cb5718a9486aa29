#include "device/location_tracker.h"

namespace orvanta {
namespace {

// The oldest fix still taken as the position now.
constexpr double kMaximumFixAgeSeconds = 5.0;

bool authorized(LocationAuthorization status) {
  return status == LocationAuthorization::Always || status == LocationAuthorization::WhenInUse;
}

}  // namespace

OrvantaLocationTracker::OrvantaLocationTracker(LocationProvider& provider, const Clock& clock)
    : provider_(provider), clock_(clock) {}

OrvantaLocationTracker::~OrvantaLocationTracker() {
  bool listening = false;
  {
    std::lock_guard lock(mutex_);
    listening = listening_;
  }
  if (listening) provider_.setListener({});
}

void OrvantaLocationTracker::trackLocation() {
  bool listen = false;
  {
    std::lock_guard lock(mutex_);
    listen = !listening_;
    listening_ = true;
  }
  if (listen) {
    provider_.setListener(LocationProvider::Listener{
        .authorizationChanged = [this](LocationAuthorization status) { didChangeAuthorizationStatus(status); },
        .fix = [this](const LocationFix& fix) { didUpdateLocations({fix}); },
        .failed = [this] { didFailWithError(); },
    });
  }
  if (provider_.locationServicesEnabled() && authorized(provider_.authorization())) provider_.startUpdating();
}

void OrvantaLocationTracker::didChangeAuthorizationStatus(LocationAuthorization status) {
  if (authorized(status)) provider_.startUpdating();
}

void OrvantaLocationTracker::didUpdateLocations(const std::vector<LocationFix>& locations) {
  if (locations.empty()) return;
  const LocationFix& fix = locations.back();
  const double age = clock_.now().secondsSince1970 - fix.timestamp;
  // Written so that a time or an accuracy that is not a number fails too.
  if (!(age <= kMaximumFixAgeSeconds) || !(fix.horizontalAccuracy >= 0)) return;
  provider_.stopUpdating();
  std::lock_guard lock(mutex_);
  location_ = fix;
}

void OrvantaLocationTracker::didFailWithError() { provider_.stopUpdating(); }

Value OrvantaLocationTracker::getLatitude() const {
  std::lock_guard lock(mutex_);
  return location_ ? Value(location_->latitude) : Value();
}

Value OrvantaLocationTracker::getLongitude() const {
  std::lock_guard lock(mutex_);
  return location_ ? Value(location_->longitude) : Value();
}

std::optional<LocationFix> OrvantaLocationTracker::location() const {
  std::lock_guard lock(mutex_);
  return location_;
}

}  // namespace orvanta
