#pragma once

#include <mutex>

#include "orvanta/platform/reachability_source.h"

namespace orvanta::testing {

// Reachability whose flags the test sets; setting them announces a change
// (on the test's thread) while the source is started. Starts reachable.
class FakeReachability : public ReachabilitySource {
 public:
  std::optional<std::uint32_t> flags() const override;
  bool start(ChangeCallback callback) override;
  void stop() override;

  void setFlags(std::optional<std::uint32_t> flags);
  bool started() const;

 private:
  mutable std::mutex mutex_;
  std::optional<std::uint32_t> flags_ = kReachabilityFlagReachable;
  ChangeCallback callback_;
};

}  // namespace orvanta::testing
