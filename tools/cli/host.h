#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <type_traits>

#include "cli/command_line.h"
#include "cli/output.h"
#include "cli/tracing_http_client.h"
#include "orvanta/installation.h"
#include "orvanta/runtime.h"

namespace orvanta::cli {

using Deadline = std::chrono::steady_clock::time_point;

// Where the offline queue stood when a wait ended.
struct QueueState {
  std::optional<std::size_t> queued;  // rows in the offline queue; nullopt: not readable (in time)
  int inFlight = 0;                   // HTTP requests not yet answered
  bool settled() const { return queued == 0 && inFlight == 0; }
};

// One launch of the simulated app: a runtime of its own (not the shared one)
// on the Linux platform rooted at the app's home folder, its HTTP traced.
class Host {
 public:
  Host(const GlobalOptions& options, std::shared_ptr<Output> output);
  // Destroys the runtime: requests still in flight fail into the offline
  // queue (their completions run now), the main queue stops, settings flush.
  ~Host();
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  Runtime& runtime() { return *runtime_; }
  Output& output() { return *output_; }

  // The app's start-up, as a host calls it at launch, with no launch options.
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

  // Runs task on the runtime's main queue, where the replay runs, and answers
  // its result; nullopt when it has not run by the deadline.
  template <typename Task>
  std::optional<std::invoke_result_t<Task&>> onMainQueue(Task task, Deadline deadline);

 private:
  // Whether nothing is in flight and the queue has no head row.
  bool settled(Deadline deadline);

  const std::shared_ptr<Output> output_;
  const std::string applicationId_;
  std::shared_ptr<TracingHttpClient> http_;
  // Completions run on network threads, the last ones inside ~Runtime.
  std::mutex mutex_;
  std::condition_variable completed_;
  int pending_ = 0;  // guarded by mutex_
  std::unique_ptr<Runtime> runtime_;
};

template <typename Task>
std::optional<std::invoke_result_t<Task&>> Host::onMainQueue(Task task, Deadline deadline) {
  using Result = std::invoke_result_t<Task&>;
  // Shared: the task may still run after this call has given up on it.
  auto promise = std::make_shared<std::promise<Result>>();
  std::future<Result> answer = promise->get_future();
  runtime_->platform().mainQueue->post(
      [promise, task = std::move(task)]() mutable { promise->set_value(task()); });
  if (answer.wait_until(deadline) != std::future_status::ready) return std::nullopt;
  return answer.get();
}

}  // namespace orvanta::cli
