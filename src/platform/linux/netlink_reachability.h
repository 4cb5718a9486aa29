// Reachability on Linux from the kernel's routing table, watched over
// rtnetlink.
#pragma once

#include <chrono>
#include <cstdint>
#include <mutex>
#include <optional>
#include <thread>

#include "orvanta/platform/reachability_source.h"
#include "platform/linux/unique_fd.h"

namespace orvanta {

// The flags are Reachable when a default route (IPv4 or IPv6, prefix length
// 0, main table, unicast) leaves through an interface that is up and
// running (loopback excluded), plus IsWWAN when every such route leaves
// through a cellular interface, recognised by name: "ww" starts both the
// kernel's "wwan<n>" and the predictable names that systemd gives modems.
// With no such route the flags are 0. The other bits are never set: Linux
// has no connection made on demand.
//
// While started, a thread of its own listens to link and IPv4/IPv6 route
// events. Events are only a cue: once the socket has been quiet for a short
// while, the whole state is read again (links and routes dumped), and the
// callback runs on that thread if the flags changed. Reading again, rather
// than applying each event, is also right where events say too little: the
// kernel drops the IPv4 routes of an interface that goes down without
// announcing it, and a receive buffer that overflows (ENOBUFS) loses events
// outright.
class NetlinkReachability : public ReachabilitySource {
 public:
  struct Options {
    // How long the event socket must stay quiet before the state is read
    // again, so that a burst of events costs one read and one callback.
    std::chrono::milliseconds settle{100};
    // The longest a steady stream of events may put that read off.
    std::chrono::milliseconds maxDelay{1000};
    // Receive buffer of the event socket in bytes; 0 keeps the system's.
    int receiveBufferBytes = 0;
    // How soon a read of the state that failed (the flags are then unknown,
    // read as unreachable) is tried again, with or without new events.
    std::chrono::milliseconds retry{1000};
  };

  NetlinkReachability();
  explicit NetlinkReachability(Options options);
  // Stops watching.
  ~NetlinkReachability() override;
  NetlinkReachability(const NetlinkReachability&) = delete;
  NetlinkReachability& operator=(const NetlinkReachability&) = delete;

  // While started: the flags of the latest read. Otherwise read now. nullopt
  // when the routing state cannot be read.
  std::optional<std::uint32_t> flags() const override;
  // Answers false when the event socket cannot be opened.
  bool start(ChangeCallback callback) override;
  // Joins the thread; not to be called from the callback.
  void stop() override;

 private:
  void run();
  // Reads the state again; runs the callback when the flags changed.
  // Answers whether the state could be read.
  bool refresh();

  const Options options_;
  // Held through start and stop, so that they run one at a time; never
  // taken by the thread.
  std::mutex control_;
  mutable std::mutex mutex_;
  ChangeCallback callback_;             // guarded by mutex_
  bool watching_ = false;               // guarded by mutex_
  std::optional<std::uint32_t> flags_;  // guarded by mutex_
  // Under control_: set by start before the thread exists, reset by stop
  // after it is joined.
  UniqueFd events_;
  UniqueFd wake_;
  std::thread thread_;
};

}  // namespace orvanta
