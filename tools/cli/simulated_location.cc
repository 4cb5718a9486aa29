#include "cli/simulated_location.h"

#include <chrono>

namespace orvanta::cli {
namespace {

// Metres: a good satellite fix.
constexpr double kAccuracy = 5;

}  // namespace

void SimulatedLocation::setListener(Listener listener) {
  std::lock_guard lock(mutex_);
  listener_ = std::move(listener);
}

void SimulatedLocation::startUpdating() {
  std::function<void(const LocationFix&)> deliver;
  {
    std::lock_guard lock(mutex_);
    deliver = listener_.fix;
  }
  if (!deliver) return;
  const double now = std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
  deliver(LocationFix{.latitude = latitude_, .longitude = longitude_, .horizontalAccuracy = kAccuracy, .timestamp = now});
}

}  // namespace orvanta::cli
