#include "inapp/popup_event.h"

namespace orvanta {

std::atomic<std::int64_t> popupEvent{kPopupEventNone};

}  // namespace orvanta
