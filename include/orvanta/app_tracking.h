// The host application's own events.
#pragma once

#include <cstdint>

#include "orvanta/installation.h"
#include "orvanta/value.h"

namespace orvanta {

class OrvantaAppTracking {
 public:
  explicit OrvantaAppTracking(Runtime& runtime);
  static OrvantaAppTracking& sharedInstance();

  void sendAppTrackingEvent(std::int64_t eventId, StatusBlock block);
  // productData: usually maps whose keys carry the type prefixes "s^", "i^",
  // "f^"; sent as "payload" only when not empty.
  void sendAppTrackingEventWithCustomPayload(std::int64_t eventId, const Array& productData, StatusBlock block);

 private:
  Runtime& runtime_;
};

}  // namespace orvanta
