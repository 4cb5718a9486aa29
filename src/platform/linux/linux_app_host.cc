#include "platform/linux/linux_app_host.h"

#include <sys/utsname.h>

#include "orvanta/log.h"
#include "platform/linux/detached_process.h"

namespace orvanta {

std::string leadingVersionNumber(std::string_view release) {
  std::size_t end = 0;
  while (end < release.size() && ((release[end] >= '0' && release[end] <= '9') || release[end] == '.')) ++end;
  std::string_view version = release.substr(0, end);
  while (version.ends_with('.')) version.remove_suffix(1);
  if (version.starts_with('.')) return {};
  return std::string(version);
}

LinuxAppHost::LinuxAppHost() {
  struct utsname names {};
  if (::uname(&names) != 0) {
    logLine("Orvanta cannot read the system name: the system version and machine are unknown");
    return;
  }
  systemVersion_ = leadingVersionNumber(names.release);
  machine_ = names.machine;
}

ApplicationState LinuxAppHost::applicationState() const { return ApplicationState::Active; }

std::string LinuxAppHost::systemVersion() const { return systemVersion_; }

std::string LinuxAppHost::machineIdentifier() const { return machine_; }

std::string LinuxAppHost::advertisingIdentifier() const { return "00000000-0000-0000-0000-000000000000"; }

bool LinuxAppHost::openURL(const std::string& url) {
  // The URL stays out of the log: it may carry personal data.
  std::string problem;
  if (!startDetached("xdg-open", {url}, &problem)) {
    logLine("Orvanta cannot open a URL: " + problem);
    return false;
  }
  if (!problem.empty()) logLine("Orvanta: " + problem);
  return true;
}

void LinuxAppHost::registerForRemoteNotifications() {
  logLine("Orvanta: this system has no push notification service; no device token will arrive");
}

}  // namespace orvanta
