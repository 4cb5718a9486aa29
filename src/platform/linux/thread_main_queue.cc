#include "platform/linux/thread_main_queue.h"

#include <algorithm>

namespace orvanta {

ThreadMainQueue::ThreadMainQueue() : thread_([this] { run(); }) {}

ThreadMainQueue::~ThreadMainQueue() { stop(); }

void ThreadMainQueue::post(Task task) { postAfter(0, std::move(task)); }

void ThreadMainQueue::postAfter(double delaySeconds, Task task) {
  const auto delay = std::chrono::duration<double>(std::max(0.0, delaySeconds));
  const auto due = std::chrono::steady_clock::now() + std::chrono::duration_cast<std::chrono::nanoseconds>(delay);
  {
    std::lock_guard lock(mutex_);
    if (stopping_) return;
    pending_.push({due, nextOrder_++, std::move(task)});
  }
  wake_.notify_one();
}

bool ThreadMainQueue::isCurrent() const { return std::this_thread::get_id() == thread_.get_id(); }

void ThreadMainQueue::stop() {
  {
    std::lock_guard lock(mutex_);
    if (stopping_ && !thread_.joinable()) return;
    stopping_ = true;
    pending_ = {};
  }
  wake_.notify_one();
  // A task that stops its own queue cannot wait for itself.
  if (thread_.joinable() && !isCurrent()) thread_.join();
}

void ThreadMainQueue::run() {
  std::unique_lock lock(mutex_);
  for (;;) {
    if (stopping_) return;
    if (pending_.empty()) {
      wake_.wait(lock);
      continue;
    }
    const auto due = pending_.top().due;
    if (std::chrono::steady_clock::now() < due) {
      wake_.wait_until(lock, due);
      continue;
    }
    // The heap's top is const; the task is moved out just before popping.
    Task task = std::move(const_cast<Pending&>(pending_.top()).task);
    pending_.pop();
    lock.unlock();
    task();
    lock.lock();
  }
}

}  // namespace orvanta
