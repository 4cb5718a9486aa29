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
#include "cli/tracing_http_client.h"
#include "orvanta/inspection.h"
#include "orvanta/runtime.h"

namespace orvanta::cli {

using Deadline = std::chrono::steady_clock::time_point;

// Where the offline queue stood when a wait ended.
struct QueueState {
  std::optional<std::size_t> queued;  // rows in the offline queue; nullopt: not readable (in time)
  int inFlight = 0;                   // HTTP requests not yet answered
  bool settled() const { return queued == 0 && inFlight == 0; }
};

// One invocation of the simulated app on the Linux platform rooted at the
// app's home folder, its HTTP traced. A launch runs a runtime of its own (not
// the shared one); commands that only look use the read-only inspection.
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

  // Builds the runtime and runs the app's start-up, as a host calls it at
  // launch, with no launch options.
  void launch();

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

  const std::shared_ptr<Output> output_;
  const std::string applicationId_;
  const Config config_;
  Platform platform_;
  const std::shared_ptr<TracingHttpClient> http_;
  const Inspection inspection_;
  // Completions run on network threads, the last ones inside ~Runtime.
  std::mutex mutex_;
  std::condition_variable completed_;
  int pending_ = 0;  // guarded by mutex_
  std::unique_ptr<Runtime> runtime_;
};

}  // namespace orvanta::cli
