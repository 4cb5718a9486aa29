#include "device/reachability.h"

#include <utility>

#include "base/notification_hub.h"

namespace orvanta {

Reachability::Reachability(NotificationHub& hub, std::shared_ptr<ReachabilitySource> source)
    : hub_(hub), source_(std::move(source)) {}

Reachability::~Reachability() { stopNotifier(); }

std::unique_ptr<Reachability> Reachability::reachabilityForInternetConnection(
    NotificationHub& hub, std::shared_ptr<ReachabilitySource> source) {
  return std::make_unique<Reachability>(hub, std::move(source));
}

bool Reachability::startNotifier() {
  return source_->start([this] { hub_.post(kReachabilityChangedNotification, this); });
}

void Reachability::stopNotifier() { source_->stop(); }

NetworkStatus Reachability::currentReachabilityStatus() const {
  const std::optional<std::uint32_t> flags = source_->flags();
  return flags ? networkStatusForFlags(*flags) : NetworkStatusNone;
}

// The order of the steps matters: each may override the one before.
NetworkStatus Reachability::networkStatusForFlags(std::uint32_t flags) {
  if ((flags & kReachabilityFlagReachable) == 0) return NetworkStatusNone;
  NetworkStatus status = (flags & kReachabilityFlagConnectionRequired) == 0 ? NetworkStatusLocal : NetworkStatusNone;
  const std::uint32_t automatic = kReachabilityFlagConnectionOnDemand | kReachabilityFlagConnectionOnTraffic;
  if ((flags & automatic) != 0 && (flags & kReachabilityFlagInterventionRequired) == 0) {
    status = NetworkStatusLocal;
  }
  if ((flags & kReachabilityFlagIsWWAN) != 0) status = NetworkStatusCellular;
  return status;
}

bool Reachability::connectionRequired() const {
  const std::optional<std::uint32_t> flags = source_->flags();
  return flags && (*flags & kReachabilityFlagConnectionRequired) != 0;
}

}  // namespace orvanta
