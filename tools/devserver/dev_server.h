#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "devserver/control_request.h"
#include "devserver/fault_controller.h"
#include "devserver/json.h"
#include "devserver/listener.h"
#include "devserver/message_store.h"
#include "devserver/site_routes.h"

namespace orvanta::devserver {

struct DevServerOptions {
  // Address both ports bind to; loopback so that nothing outside this machine reaches it.
  std::string host = "127.0.0.1";
  // Site port (tracking, rules, live page, message API); 0 = any free port, kept when it
  // goes down and comes back.
  int port = 0;
  // Control API port; 0 = any free port. Separate so that it answers while the site is down.
  int control_port = 0;
  // The message store's SQLite file; created when missing. Required.
  std::filesystem::path db_path;
  // Folder of rule documents named "<appid>.json"; empty = no documents.
  std::filesystem::path rules_dir;
  // How long each rule document's answer is held: a client's launch replay
  // then meets rules that came in after its first second.
  std::chrono::milliseconds rules_delay{0};
  // Fault modes in force from the start.
  ControlRequest initial_faults;
};

// The reference tracking and rules server, serving from construction to destruction. Two
// listeners: the site (see makeSiteServer) and the control API (see makeControlServer). All
// members are thread-safe.
class DevServer {
 public:
  // Opens the store and binds both ports. Throws std::runtime_error when either fails.
  explicit DevServer(DevServerOptions options);
  // Ends stalls, stops both listeners and waits for requests in flight.
  ~DevServer();

  DevServer(const DevServer&) = delete;
  DevServer& operator=(const DevServer&) = delete;

  int port() const { return port_; }
  int controlPort() const;
  std::string trackingBase() const;  // "http://HOST:PORT/track/"
  std::string rulesBase() const;     // "http://HOST:PORT/rules/"
  std::string pageUrl() const;       // "http://HOST:PORT/"
  std::string controlUrl() const;    // "http://HOST:CONTROL/control"
  // {"tracking","rules","control","page"}
  Json addresses() const;

  // Applies a change of fault modes and answers controlState(). Going down closes the site's
  // listening socket before returning, so the next connection attempt is refused. Throws
  // std::runtime_error when the site cannot bind its port again (it then stays down).
  Json control(const ControlRequest& request);
  // The fault controller's state plus {"down": bool, "up_in_ms": remaining or null}.
  Json controlState() const;

  MessageStore& store() { return store_; }

 private:
  using Clock = std::chrono::steady_clock;

  void bringUpLocked();
  void bringDownLocked();
  void superviseUpTimer();

  const DevServerOptions options_;
  MessageStore store_;
  FaultController faults_;
  std::atomic<bool> down_{false};
  const SiteContext site_context_;
  int port_ = 0;

  mutable std::mutex mutex_;
  std::condition_variable wake_;
  std::unique_ptr<Listener> site_;                // guarded by mutex_; null while down
  std::vector<std::unique_ptr<Listener>> closed_; // guarded by mutex_; finishing their requests
  std::optional<Clock::time_point> up_at_;        // guarded by mutex_; when down_ms ends
  bool stopping_ = false;                         // guarded by mutex_
  std::thread up_timer_;                          // brings the site up at up_at_
  std::unique_ptr<Listener> control_;             // set once in the constructor
};

}  // namespace orvanta::devserver
