// The launch event waiting for the in-app rules to arrive.
#pragma once

#include <cstdint>
#include <limits>

namespace orvanta {

// Nothing waits yet: no launch event has been seen in this process.
inline constexpr std::int64_t kPopupEventNone = std::numeric_limits<std::int64_t>::max();

// The launch events the client sends itself: 20 on the first start after
// installation, 21 on every later one.
inline constexpr bool isLaunchEvent(std::int64_t eventId) { return eventId == 20 || eventId == 21; }

// The waiting launch event (popupEvent) is kPopupEventNone until the first
// launch event of the runtime, then that event until the rules download
// replays it, then 0 for good. Each runtime keeps its own and hands it to its
// popup manager; hosts read it through OrvantaAppTracking::popupEvent().

}  // namespace orvanta
