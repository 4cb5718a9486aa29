#include "orvanta/testing/manual_main_queue.h"

#include <algorithm>

namespace orvanta::testing {

ManualMainQueue::ManualMainQueue(std::shared_ptr<VirtualClock> clock) : clock_(std::move(clock)) {}

void ManualMainQueue::post(Task task) { postAfter(0, std::move(task)); }

void ManualMainQueue::postAfter(double delaySeconds, Task task) {
  const double due = clock_->now().secondsSince1970 + std::max(0.0, delaySeconds);
  std::lock_guard lock(mutex_);
  if (stopped_) return;
  pending_.push_back({due, nextOrder_++, std::move(task)});
}

bool ManualMainQueue::isCurrent() const { return runner_.load() == std::this_thread::get_id(); }

void ManualMainQueue::stop() {
  std::lock_guard lock(mutex_);
  stopped_ = true;
  pending_.clear();
}

bool ManualMainQueue::popDue(double now, Task* task) {
  std::lock_guard lock(mutex_);
  auto first = std::min_element(pending_.begin(), pending_.end(), [](const Pending& a, const Pending& b) {
    return a.due != b.due ? a.due < b.due : a.order < b.order;
  });
  if (first == pending_.end() || first->due > now) return false;
  *task = std::move(first->task);
  pending_.erase(first);
  return true;
}

std::size_t ManualMainQueue::runUntilIdle() {
  std::size_t ran = 0;
  Task task;
  while (popDue(clock_->now().secondsSince1970, &task)) {
    const std::thread::id outer = runner_.exchange(std::this_thread::get_id());
    task();
    runner_.store(outer);
    ++ran;
  }
  return ran;
}

std::size_t ManualMainQueue::advance(double seconds) {
  const double end = clock_->now().secondsSince1970 + seconds;
  std::size_t ran = runUntilIdle();
  for (;;) {
    const double wait = secondsUntilNext();
    if (wait < 0 || clock_->now().secondsSince1970 + wait > end) break;
    clock_->advance(wait);
    ran += runUntilIdle();
  }
  clock_->set(Date{end});
  return ran + runUntilIdle();
}

std::size_t ManualMainQueue::pendingCount() const {
  std::lock_guard lock(mutex_);
  return pending_.size();
}

double ManualMainQueue::secondsUntilNext() const {
  std::lock_guard lock(mutex_);
  if (pending_.empty()) return -1;
  double due = pending_.front().due;
  for (const auto& p : pending_) due = std::min(due, p.due);
  return std::max(0.0, due - clock_->now().secondsSince1970);
}

}  // namespace orvanta::testing
