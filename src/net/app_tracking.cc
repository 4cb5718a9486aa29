#include "orvanta/app_tracking.h"

#include "net/web_service_handler.h"
#include "orvanta/runtime.h"

namespace orvanta {

OrvantaAppTracking::OrvantaAppTracking(Runtime& runtime) : runtime_(runtime) {}

OrvantaAppTracking& OrvantaAppTracking::sharedInstance() { return Runtime::shared().appTracking(); }

void OrvantaAppTracking::sendAppTrackingEvent(std::int64_t eventId, StatusBlock block) {
  sendAppTrackingEventWithCustomPayload(eventId, Array{}, std::move(block));
}

void OrvantaAppTracking::sendAppTrackingEventWithCustomPayload(std::int64_t eventId, const Array& productData,
                                                               StatusBlock block) {
  Map info;
  if (!productData.empty()) info.set("payload", productData);
  info.set("eventid", eventId);
  runtime_.webServiceHandler().callPostService("app_activity", info, std::move(block));
  // The in-app rules see every event here, whatever the network outcome,
  // once in-app messaging is part of the library.
}

}  // namespace orvanta
