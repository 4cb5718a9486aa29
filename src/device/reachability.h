// Whether a route to the internet exists, and word when that may have changed.
#pragma once

#include <cstdint>
#include <memory>

#include "orvanta/platform/reachability_source.h"

namespace orvanta {

class NotificationHub;

enum NetworkStatus { NetworkStatusNone = 0, NetworkStatusLocal = 1, NetworkStatusCellular = 2 };

// Reads the flags of a ReachabilitySource and, while its notifier runs,
// posts kReachabilityChangedNotification on the hub (object: this instance)
// whenever the source reports a change, on the source's thread. The
// notification carries no status: observers ask currentReachabilityStatus.
// Thread-safe as far as the source is; startNotifier and stopNotifier belong
// to the owner's thread.
class Reachability {
 public:
  // hub must outlive this object.
  Reachability(NotificationHub& hub, std::shared_ptr<ReachabilitySource> source);
  // Stops the notifier.
  ~Reachability();
  Reachability(const Reachability&) = delete;
  Reachability& operator=(const Reachability&) = delete;

  // The general internet route: source is the platform's watcher of the
  // default route; changes are announced on hub.
  static std::unique_ptr<Reachability> reachabilityForInternetConnection(NotificationHub& hub,
                                                                         std::shared_ptr<ReachabilitySource> source);

  // Answers whether the source started watching.
  bool startNotifier();
  // No notification is posted after this returns.
  void stopNotifier();

  // NetworkStatusNone when the flags cannot be read.
  NetworkStatus currentReachabilityStatus() const;
  static NetworkStatus networkStatusForFlags(std::uint32_t flags);
  // Whether the flags say a connection must be made first; false when they
  // cannot be read.
  bool connectionRequired() const;

 private:
  NotificationHub& hub_;
  std::shared_ptr<ReachabilitySource> source_;
};

}  // namespace orvanta
