#pragma once

#include <string>
#include <vector>

namespace orvanta {

// What the host application decides. Read once when a Runtime is built.
struct Config {
  // Tracking server: the method name is appended directly, so it ends in "/".
  // Empty: no server is known; messages are kept in the offline queue and
  // nothing is sent (a runtime built so says it in the log).
  std::string trackingBaseUrl;
  // Rules server: rules documents and popup pages live under it; ends in "/".
  std::string rulesBaseUrl;
  // The settings suite shared with the notification extensions.
  std::string appGroup = "group.io.orvanta.shared";
  // The short word in front of every log line.
  std::string logPrefix = "Orvanta";

  // The host application's bundle information. The identifier names the
  // device id's secure item and, on Linux, the app's home folder and settings
  // file (empty: the program's name stands in there).
  std::string bundleIdentifier;
  std::string bundleShortVersion = "1.0";
  std::string bundleExecutableName;  // empty: the bundle identifier stands in
  // The URL schemes the app declares: a notification's link in which one of
  // them occurs (and no "http") goes to the host's push task manager delegate.
  std::vector<std::string> urlSchemes;

  // How long destroying a Runtime waits for the answers to requests in
  // flight, so that a message the server answers meanwhile is not queued and
  // sent again at the next start. What is still unanswered then goes to the
  // offline queue. 0 or less: no wait.
  double shutdownGraceSeconds = 2;

  // Server trust: accepted as presented unless the host turns verification on.
  bool verifyServerCertificate = false;
  // With verification on: a CA bundle to verify against (empty: the system's).
  std::string caFile;
};

}  // namespace orvanta
