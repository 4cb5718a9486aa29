#include "orvanta/app_tracking.h"

#include <utility>

#include "inapp/popup_manager.h"
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
  impl_->popupManager.showPopup(eventId, productData);
}

PopupTrace OrvantaAppTracking::popupDryRun(std::int64_t eventId, const Array& productData) const {
  return impl_->popupManager.dryRun(eventId, productData);
}

void OrvantaAppTracking::setPopupTraceSink(std::function<void(const PopupTrace&)> sink) {
  impl_->popupManager.setTraceSink(std::move(sink));
}

Array OrvantaAppTracking::popupRules() const { return impl_->popupManager.rulesListing(); }

std::int64_t OrvantaAppTracking::popupEvent() const { return impl_->popupManager.waitingLaunchEvent(); }

}  // namespace orvanta
