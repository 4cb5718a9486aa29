// One Runtime owns one instance of every component of the library, built from
// a Platform and a Config. X::sharedInstance() answers the component of the
// shared, process-wide runtime; tests and tools build runtimes of their own.
#pragma once

#include <memory>

#include "orvanta/app_tracking.h"
#include "orvanta/config.h"
#include "orvanta/installation.h"
#include "orvanta/open_in_service.h"
#include "orvanta/platform/platform.h"
#include "orvanta/push_task_manager.h"
#include "orvanta/shared_manager.h"

namespace orvanta {

class Runtime {
 public:
  // Builds every component at once, in a fixed order: the database is made
  // and messages a killed process left in flight join the offline queue, the
  // reachability notifier starts and the first replay of that queue is
  // scheduled on the main queue, 2 seconds later.
  Runtime(Platform platform, Config config);
  // Waits up to the config's shutdownGraceSeconds (2 by default) for the
  // answers to requests in flight, sending nothing new, and fails what is
  // still unanswered (so it lands in the offline queue); then stops the main
  // queue, flushes the settings and destroys the components. Not to be run from within an HTTP completion or a main-queue
  // task of this runtime: those threads cannot wait for themselves.
  ~Runtime();
  Runtime(const Runtime&) = delete;
  Runtime& operator=(const Runtime&) = delete;

  // Installs the platform and config of the shared runtime; call it before
  // any sharedInstance(). Answers false (and changes nothing) once the
  // shared runtime exists.
  static bool install(Platform platform, Config config);
  // The shared runtime: created on first use from what was installed; never
  // destroyed. Used before install, it logs so and runs on the Linux
  // platform with a default Config, which names no server: messages are kept
  // in the offline queue and nothing is sent.
  static Runtime& shared();

  const Platform& platform() const { return platform_; }
  const Config& config() const { return config_; }

  OrvantaSharedManager& sharedManager();
  OrvantaInstallation& installation();
  OrvantaAppTracking& appTracking();
  OrvantaPushTaskManager& pushTaskManager();
  OpenInService& openInService();

 private:
  struct Components;
  // The library's own tests reach the internal components through it.
  friend Components& internals(Runtime& runtime);

  Platform platform_;
  const Config config_;
  std::unique_ptr<Components> components_;
};

}  // namespace orvanta
