#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "cli/command_line.h"
#include "cli/output.h"
#include "cli/popup_player.h"
#include "cli/simulated_app_host.h"
#include "cli/simulated_notification_center.h"
#include "cli/tracing_http_client.h"
#include "orvanta/inspection.h"
#include "orvanta/push_task_manager_delegate.h"
#include "orvanta/runtime.h"

namespace orvanta::cli {

using Deadline = std::chrono::steady_clock::time_point;

// Longer than any one request may take, so that a wait for one answer ends.
inline constexpr auto kOneAnswer = std::chrono::seconds(120);

// Where the offline queue stood when a wait ended.
struct QueueState {
  std::optional<std::size_t> queued;  // rows in the offline queue; nullopt: not readable (in time)
  int inFlight = 0;                   // HTTP requests not yet answered
  bool settled() const { return queued == 0 && inFlight == 0; }
};

// One invocation of the simulated app on the Linux platform rooted at the
// app's home folder, its HTTP traced, its application state, system version,
// link opening and notification centre simulated (see SimulatedAppHost and
// SimulatedNotificationCenter). A launch runs a runtime of its own (not the
// shared one); commands that only look use the read-only inspection.
class Host {
 public:
  Host(const GlobalOptions& options, std::shared_ptr<Output> output);
  // Destroys the runtime: requests still in flight fail into the offline
  // queue (their completions run now), the main queue stops, settings flush.
  ~Host();
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  // The launched app's runtime; only after launch().
  Runtime& runtime() { return *runtime_; }
  const Platform& platform() const { return platform_; }
  const Inspection& inspection() const { return inspection_; }
  Output& output() { return *output_; }

  SimulatedAppHost& appHost() { return *appHost_; }
  SimulatedNotificationCenter& notificationCenter() { return *notificationCenter_; }

  // The launch options the next launch hands to start-up (none unless set).
  void setLaunchOptions(Map options) { launchOptions_ = std::move(options); }
  // Builds the runtime, gives the push task manager the app's delegate
  // (unless --no-delegate: it prints "host-link LINK", or "host-link -"
  // for none), and runs the app's start-up as a host calls it at launch.
  // With a rules server, then waits until the rules download has answered
  // and what it set off on the main queue (the launch event's replay and
  // its popup) has run, so that the command meets the rules in force; then
  // until --after seconds have passed since start-up.
  void launch();
  // Waits until the main queue has run what was posted so far, and every
  // popup shown meanwhile has been played (see PopupPlayer); false when
  // the deadline came first.
  bool waitForMainQueueWork(Deadline deadline);
  // The command may have set off delayed work (an opening 0.0 s or 0.5 s
  // later on the main queue), which the launch waits for.
  void expectDelayedWork() { delayedWork_ = true; }
  // When delayed work is expected: waits until the main queue has run what
  // was due within the library's longest notification delay (0.5 s) from
  // now, or until the deadline; false when the deadline came first.
  bool waitForDelayedWork(Deadline deadline);

  // The completion for one message the command sends: prints
  // "<label> -> <status>" and counts as pending until it has run.
  StatusBlock expectStatus(std::string label);
  // Waits until every completion made by expectStatus has run; false when the
  // deadline came first.
  bool waitForCompletions(Deadline deadline);

  // Waits until no request is in flight and the offline queue is empty,
  // looking every 100 ms, or until the deadline; answers the state then.
  QueueState waitUntilSettled(Deadline deadline);

 private:
  // Whether nothing is in flight and the queue holds no row.
  bool settled();
  // Waits until the main queue has run what was due within `seconds` from
  // now; false when the deadline came first.
  bool runMainQueueFor(double seconds, Deadline deadline);
  void waitForRules();

  const std::shared_ptr<Output> output_;
  const std::string applicationId_;
  const Config config_;
  const double afterSeconds_;
  Platform platform_;
  const std::shared_ptr<TracingHttpClient> http_;
  const std::shared_ptr<SimulatedAppHost> appHost_;
  const std::shared_ptr<SimulatedNotificationCenter> notificationCenter_;
  const std::shared_ptr<HeadlessScreen> screen_;
  PopupPlayer popups_;
  // The host owns its delegate; the library holds it weakly. Null with --no-delegate.
  const std::shared_ptr<OrvantaPushTaskManagerDelegate> delegate_;
  std::optional<Map> launchOptions_;
  bool delayedWork_ = false;
  const Inspection inspection_;
  // Completions run on network threads, the last ones inside ~Runtime.
  std::mutex mutex_;
  std::condition_variable completed_;
  int pending_ = 0;  // guarded by mutex_
  std::unique_ptr<Runtime> runtime_;
};

}  // namespace orvanta::cli
