// The host application's own events.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "orvanta/popup_trace.h"
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
  // Each event is then offered to the in-app rules, whatever the network
  // outcome, and may bring up a popup.
  void sendAppTrackingEventWithCustomPayload(std::int64_t eventId, const Array& productData, StatusBlock block);

  // Why an event would or would not bring up a popup now: the rules'
  // checks, traced, without showing anything or touching any count.
  PopupTrace popupDryRun(std::int64_t eventId, const Array& productData) const;
  // Receives the trace of every event the in-app rules evaluate, on the
  // thread that tracked it (empty: traces are dropped).
  void setPopupTraceSink(std::function<void(const PopupTrace&)> sink);
  // The downloaded rules as parsed, in document order: one map per rule with
  // "id", "eventList" and its stored frequency record ("frequency",
  // "frequencyType", "frequencyRemaining", "displayDay", "sessionID"); a key
  // is absent when its value is. Empty before the first good download.
  Array popupRules() const;
  // The launch event waiting for the rules: 2^63 - 1 before the first launch
  // event, then 20 or 21 until the rules download replays it, then 0.
  std::int64_t popupEvent() const;

 private:
  const std::unique_ptr<Impl> impl_;
};

}  // namespace orvanta
