// The real Linux platform: every adapter, rooted at one app home folder.
#include <cerrno>
#include <cstdlib>
#include <filesystem>

#include "orvanta/config.h"
#include "orvanta/platform/headless_screen.h"
#include "orvanta/platform/platform.h"
#include "platform/linux/curl_http_client.h"
#include "platform/linux/desktop_notification_center.h"
#include "platform/linux/file_secure_store.h"
#include "platform/linux/file_settings_store.h"
#include "platform/linux/linux_app_host.h"
#include "platform/linux/linux_clock.h"
#include "platform/linux/linux_paths.h"
#include "platform/linux/netlink_reachability.h"
#include "platform/linux/no_location_provider.h"
#include "platform/linux/thread_main_queue.h"

namespace orvanta {
namespace {

namespace fs = std::filesystem;

// Names the app's folder and settings file: the bundle identifier, else the
// program's own name, so that two apps never share a home by default.
std::string appName(const Config& config) {
  return config.bundleIdentifier.empty() ? std::string(program_invocation_short_name) : config.bundleIdentifier;
}

std::string defaultAppHome(const Config& config) {
  if (const char* home = std::getenv("ORVANTA_HOME"); home && *home) return home;
  if (const char* data = std::getenv("XDG_DATA_HOME"); data && *data)
    return (fs::path(data) / "orvanta" / appName(config)).string();
  const char* user = std::getenv("HOME");
  return (fs::path(user && *user ? user : ".") / ".local/share/orvanta" / appName(config)).string();
}

}  // namespace

Platform makeLinuxPlatform(const Config& config, const std::string& appHome) {
  const fs::path home = appHome.empty() ? defaultAppHome(config) : appHome;
  std::error_code ignored;
  fs::create_directories(home / "Preferences", ignored);

  Platform platform;
  platform.clock = std::make_shared<LinuxClock>();
  platform.mainQueue = std::make_shared<ThreadMainQueue>();
  platform.http = makeCurlHttpClient(config);
  platform.standardSettings =
      std::make_shared<FileSettingsStore>((home / "Preferences" / (appName(config) + ".json")).string());
  platform.appGroupSettings =
      std::make_shared<FileSettingsStore>((home / "Preferences" / (config.appGroup + ".json")).string());
  platform.secureStore = std::make_shared<FileSecureStore>((home / "Keychain").string());
  platform.paths = std::make_shared<LinuxPaths>(home.string());
  platform.reachability = std::make_shared<NetlinkReachability>();
  platform.location = std::make_shared<NoLocationProvider>();
  platform.appHost = std::make_shared<LinuxAppHost>();
  platform.notificationCenter = std::make_shared<DesktopNotificationCenter>();
  // No display: popups and web screens are laid out and kept, not drawn.
  platform.views = std::make_shared<HeadlessScreen>(HeadlessScreen::kDefaultWidth, HeadlessScreen::kDefaultHeight);
  return platform;
}

}  // namespace orvanta
