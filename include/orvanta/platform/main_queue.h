#pragma once

#include <functional>

namespace orvanta {

// The one serial queue on which view work, notification handling, the offline
// replay and every delayed call run. Tasks run one at a time, in the order of
// their due time, ties in the order they were posted. Thread-safe.
class MainQueue {
 public:
  using Task = std::function<void()>;
  virtual ~MainQueue() = default;
  virtual void post(Task task) = 0;
  virtual void postAfter(double delaySeconds, Task task) = 0;
  // True when called from the queue's own thread (or, for a manual queue,
  // while it is running a task).
  virtual bool isCurrent() const = 0;
  // Stops running tasks: pending ones are dropped, a running one finishes.
  // No task runs after this returns. Idempotent.
  virtual void stop() = 0;
};

}  // namespace orvanta
