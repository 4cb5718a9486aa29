#pragma once

#include <atomic>
#include <memory>
#include <string>

#include "cli/output.h"
#include "orvanta/platform/app_host.h"

namespace orvanta::cli {

// The simulated app's side of the device: its application state (set by the
// command) and the system version it claims; a link the library asks the
// system to open is printed as "opened LINK", not handed to a browser. The
// machine and advertising identifiers and remote registration are the
// Linux host's.
class SimulatedAppHost final : public AppHost {
 public:
  SimulatedAppHost(std::shared_ptr<AppHost> inner, std::string systemVersion, std::shared_ptr<Output> output)
      : inner_(std::move(inner)), systemVersion_(std::move(systemVersion)), output_(std::move(output)) {}

  ApplicationState applicationState() const override { return state_.load(); }
  std::string systemVersion() const override { return systemVersion_; }
  std::string machineIdentifier() const override { return inner_->machineIdentifier(); }
  std::string advertisingIdentifier() const override { return inner_->advertisingIdentifier(); }
  bool openURL(const std::string& url) override;
  void registerForRemoteNotifications() override { inner_->registerForRemoteNotifications(); }

  void setApplicationState(ApplicationState state) { state_ = state; }

 private:
  const std::shared_ptr<AppHost> inner_;
  const std::string systemVersion_;
  const std::shared_ptr<Output> output_;
  std::atomic<ApplicationState> state_{ApplicationState::Active};
};

}  // namespace orvanta::cli
