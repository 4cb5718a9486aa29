// The host application's own events.
#pragma once

#include <cstdint>
#include <memory>

#include "orvanta/status_block.h"
#include "orvanta/value.h"

namespace orvanta {

// One per Runtime, which builds it; any thread.
class OrvantaAppTracking {
 public:
  // The library's side: the components it works through.
  struct Impl;
  explicit OrvantaAppTracking(std::unique_ptr<Impl> impl);
  ~OrvantaAppTracking();
  OrvantaAppTracking(const OrvantaAppTracking&) = delete;
  OrvantaAppTracking& operator=(const OrvantaAppTracking&) = delete;

  // The shared runtime's instance (see Runtime::shared).
  static OrvantaAppTracking& sharedInstance();

  void sendAppTrackingEvent(std::int64_t eventId, StatusBlock block);
  // productData: usually maps whose keys carry the type prefixes "s^", "i^",
  // "f^"; sent as "payload" only when not empty.
  void sendAppTrackingEventWithCustomPayload(std::int64_t eventId, const Array& productData, StatusBlock block);

 private:
  const std::unique_ptr<Impl> impl_;
};

}  // namespace orvanta
