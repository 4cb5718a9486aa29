// One message waiting in the offline queue.
#pragma once

#include <cstdint>
#include <string>

namespace orvanta {

struct OrvantaEventModel {
  std::int64_t eventID = 0;  // the row's ID: the queue order
  std::string strEventName;  // the server method name
  std::string strEventData;  // the request parameter text, exactly as first sent
};

}  // namespace orvanta
