#include "orvanta/testing/fake_reachability.h"

namespace orvanta::testing {

std::optional<std::uint32_t> FakeReachability::flags() const {
  std::lock_guard lock(mutex_);
  return flags_;
}

bool FakeReachability::start(ChangeCallback callback) {
  std::lock_guard lock(mutex_);
  callback_ = std::move(callback);
  return true;
}

void FakeReachability::stop() {
  std::lock_guard lock(mutex_);
  callback_ = nullptr;
}

void FakeReachability::setFlags(std::optional<std::uint32_t> flags) {
  ChangeCallback callback;
  {
    std::lock_guard lock(mutex_);
    flags_ = flags;
    callback = callback_;
  }
  if (callback) callback();
}

bool FakeReachability::started() const {
  std::lock_guard lock(mutex_);
  return static_cast<bool>(callback_);
}

}  // namespace orvanta::testing
