#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "devserver/control_request.h"
#include "devserver/json.h"

namespace orvanta::devserver {

// How to answer one tracking POST.
struct FaultDecision {
  bool reset = false;  // true: drop the connection without any answer
  int status = 200;    // otherwise: answer this
};

// The injected faults that tracking POSTs meet. Thread-safe: handlers on several server threads
// decide concurrently while the control API changes the modes.
class FaultController {
 public:
  // Applies the clear, rules and stall parts of `request` (down/up belong to the listener).
  void apply(const ControlRequest& request);

  // Picks the answer for one POST to `method` and uses up one count of the rule that matched:
  // the first active rule, in the order they were added, whose method is absent or equal.
  // With no rule matching the answer is 200.
  FaultDecision decide(std::string_view method);

  // Blocks the calling handler for the configured stall, or less when a clear or shutdown()
  // comes first. Returns at once when no stall is set.
  void stall();

  // Ends every stall now and makes later ones return at once; for server shutdown.
  void shutdown();

  // {"rules":[{"action":"fail"|"reset","status","method","remaining"}],"stall_ms","stalled"}:
  // "stalled" is the number of requests waiting in a stall right now.
  Json state() const;

 private:
  mutable std::mutex mutex_;
  std::condition_variable wake_;
  std::vector<FaultRule> rules_;          // guarded by mutex_
  std::chrono::milliseconds stall_{0};    // guarded by mutex_
  int stalled_ = 0;                       // guarded by mutex_
  unsigned clear_generation_ = 0;         // guarded by mutex_; bumped by every clear
  bool shut_down_ = false;                // guarded by mutex_
};

}  // namespace orvanta::devserver
