#include "orvanta/app_tracking.h"

#include <utility>

#include "net/web_service_handler.h"
#include "runtime/facade_impls.h"

namespace orvanta {

OrvantaAppTracking::OrvantaAppTracking(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}

OrvantaAppTracking::~OrvantaAppTracking() = default;

void OrvantaAppTracking::sendAppTrackingEvent(std::int64_t eventId, StatusBlock block) {
  sendAppTrackingEventWithCustomPayload(eventId, Array{}, std::move(block));
}

void OrvantaAppTracking::sendAppTrackingEventWithCustomPayload(std::int64_t eventId, const Array& productData,
                                                               StatusBlock block) {
  Map info;
  if (!productData.empty()) info.set("payload", productData);
  info.set("eventid", eventId);
  impl_->handler.callPostService("app_activity", info, std::move(block));
  // The in-app rules see every event here, whatever the network outcome,
  // once in-app messaging is part of the library.
}

}  // namespace orvanta
