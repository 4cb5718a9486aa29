#pragma once

#include <cstdint>
#include <functional>
#include <optional>

namespace orvanta {

// Reachability flag bits.
inline constexpr std::uint32_t kReachabilityFlagReachable = 0x2;
inline constexpr std::uint32_t kReachabilityFlagConnectionRequired = 0x4;
inline constexpr std::uint32_t kReachabilityFlagConnectionOnTraffic = 0x8;
inline constexpr std::uint32_t kReachabilityFlagInterventionRequired = 0x10;
inline constexpr std::uint32_t kReachabilityFlagConnectionOnDemand = 0x20;
inline constexpr std::uint32_t kReachabilityFlagIsWWAN = 0x40000;

// Tells whether a route to the internet exists, and when that may have changed.
class ReachabilitySource {
 public:
  using ChangeCallback = std::function<void()>;
  virtual ~ReachabilitySource() = default;
  // The current flags; nullopt when they cannot be read.
  virtual std::optional<std::uint32_t> flags() const = 0;
  // Installs callback (replacing any earlier one) and starts watching. The
  // callback runs on a thread of the source's choosing. Answers false when
  // watching cannot start.
  virtual bool start(ChangeCallback callback) = 0;
  // Stops watching; no callback runs after this returns.
  virtual void stop() = 0;
};

}  // namespace orvanta
