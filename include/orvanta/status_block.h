#pragma once

#include <functional>

namespace orvanta {

// Every completion receives the HTTP status of the message (0 when no answer
// came), on a network thread; a message not answered 200 is queued for replay.
using StatusBlock = std::function<void(int status)>;

}  // namespace orvanta
