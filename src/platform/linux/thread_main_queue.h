#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <queue>
#include <thread>
#include <vector>

#include "orvanta/platform/main_queue.h"

namespace orvanta {

// A main queue with a thread of its own: tasks wait in a heap ordered by due
// time (ties in posting order) and run one at a time on that thread. Delays
// are measured on the steady clock, so moving the wall clock does not stall
// or hurry them.
class ThreadMainQueue : public MainQueue {
 public:
  ThreadMainQueue();
  ~ThreadMainQueue() override;

  void post(Task task) override;
  void postAfter(double delaySeconds, Task task) override;
  bool isCurrent() const override;
  void stop() override;

 private:
  using TimePoint = std::chrono::steady_clock::time_point;
  struct Pending {
    TimePoint due;
    std::uint64_t order;
    Task task;
  };
  struct Later {
    bool operator()(const Pending& a, const Pending& b) const {
      return a.due != b.due ? a.due > b.due : a.order > b.order;
    }
  };

  void run();

  std::mutex mutex_;
  std::condition_variable wake_;
  std::priority_queue<Pending, std::vector<Pending>, Later> pending_;
  std::uint64_t nextOrder_ = 0;
  bool stopping_ = false;
  std::thread thread_;
};

}  // namespace orvanta
