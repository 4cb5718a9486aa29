#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "orvanta/platform/app_host.h"

namespace orvanta::testing {

// An app host whose device facts the test sets and which records what the
// library asks of it.
class RecordingAppHost : public AppHost {
 public:
  ApplicationState applicationState() const override;
  std::string systemVersion() const override;
  std::string machineIdentifier() const override;
  std::string advertisingIdentifier() const override;
  bool openURL(const std::string& url) override;
  void registerForRemoteNotifications() override;

  void setApplicationState(ApplicationState state);
  void setSystemVersion(std::string version);
  void setMachineIdentifier(std::string machine);
  std::vector<std::string> openedURLs() const;
  int remoteRegistrations() const;

 private:
  mutable std::mutex mutex_;
  ApplicationState state_ = ApplicationState::Active;
  std::string systemVersion_ = "16.4";
  std::string machine_ = "iPhone10,3";
  std::vector<std::string> openedURLs_;
  int remoteRegistrations_ = 0;
};

}  // namespace orvanta::testing
