#include "orvanta/testing/recording_app_host.h"

namespace orvanta::testing {

ApplicationState RecordingAppHost::applicationState() const {
  std::lock_guard lock(mutex_);
  return state_;
}

std::string RecordingAppHost::systemVersion() const {
  std::lock_guard lock(mutex_);
  return systemVersion_;
}

std::string RecordingAppHost::machineIdentifier() const {
  std::lock_guard lock(mutex_);
  return machine_;
}

std::string RecordingAppHost::advertisingIdentifier() const { return "00000000-0000-0000-0000-000000000000"; }

bool RecordingAppHost::openURL(const std::string& url) {
  std::lock_guard lock(mutex_);
  openedURLs_.push_back(url);
  return true;
}

void RecordingAppHost::registerForRemoteNotifications() {
  std::lock_guard lock(mutex_);
  ++remoteRegistrations_;
}

void RecordingAppHost::setApplicationState(ApplicationState state) {
  std::lock_guard lock(mutex_);
  state_ = state;
}

void RecordingAppHost::setSystemVersion(std::string version) {
  std::lock_guard lock(mutex_);
  systemVersion_ = std::move(version);
}

void RecordingAppHost::setMachineIdentifier(std::string machine) {
  std::lock_guard lock(mutex_);
  machine_ = std::move(machine);
}

std::vector<std::string> RecordingAppHost::openedURLs() const {
  std::lock_guard lock(mutex_);
  return openedURLs_;
}

int RecordingAppHost::remoteRegistrations() const {
  std::lock_guard lock(mutex_);
  return remoteRegistrations_;
}

}  // namespace orvanta::testing
