#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "orvanta/platform/main_queue.h"
#include "orvanta/testing/virtual_clock.h"

namespace orvanta::testing {

// A main queue that runs nothing by itself: the test runs what is due, or
// moves the virtual clock forward, and tasks run on the test's thread in the
// order of their due time (ties in posting order). Posting is thread-safe, so
// network threads may post while the test waits. isCurrent() is true on the
// thread running a task only, as on a real main queue.
class ManualMainQueue : public MainQueue {
 public:
  explicit ManualMainQueue(std::shared_ptr<VirtualClock> clock);

  void post(Task task) override;
  void postAfter(double delaySeconds, Task task) override;
  bool isCurrent() const override;
  void stop() override;

  // Runs every task due now, including those that become due by being posted
  // while it runs. Answers how many ran.
  std::size_t runUntilIdle();
  // Moves the clock forward by seconds, stopping at each task's due time to
  // run it, and ends with the clock exactly seconds later.
  std::size_t advance(double seconds);
  // Tasks waiting, due or not.
  std::size_t pendingCount() const;
  // Seconds from now to the next task's due time; negative when none waits.
  double secondsUntilNext() const;

 private:
  struct Pending {
    double due;
    std::uint64_t order;
    Task task;
  };
  bool popDue(double now, Task* task);

  std::shared_ptr<VirtualClock> clock_;
  mutable std::mutex mutex_;
  std::vector<Pending> pending_;
  std::uint64_t nextOrder_ = 0;
  bool stopped_ = false;
  // The thread running a task right now; a default id when none is.
  std::atomic<std::thread::id> runner_{};
};

}  // namespace orvanta::testing
