#include "cli/host.h"

#include <thread>

#include "orvanta/platform/platform.h"
#include "orvanta/shared_manager.h"

namespace orvanta::cli {
namespace {

constexpr auto kPollInterval = std::chrono::milliseconds(100);

std::string statusText(int status) {
  if (status == 200) return "200";
  return (status == 0 ? std::string("no answer") : std::to_string(status)) + ", queued for replay";
}

}  // namespace

Host::Host(const GlobalOptions& options, std::shared_ptr<Output> output)
    : output_(std::move(output)),
      applicationId_(options.appId),
      config_(options.config),
      platform_(makeLinuxPlatform(config_, options.home)),
      http_(std::make_shared<TracingHttpClient>(platform_.http, output_)),
      inspection_(platform_, config_) {
  platform_.http = http_;
}

Host::~Host() { runtime_.reset(); }

void Host::launch() {
  runtime_ = std::make_unique<Runtime>(platform_, config_);
  runtime_->sharedManager().handleApplicationLaunchEvent(std::nullopt, applicationId_);
}

StatusBlock Host::expectStatus(std::string label) {
  {
    std::lock_guard lock(mutex_);
    ++pending_;
  }
  return [this, label = std::move(label)](int status) {
    output_->line(label + " -> " + statusText(status));
    std::lock_guard lock(mutex_);
    --pending_;
    completed_.notify_all();
  };
}

bool Host::waitForCompletions(Deadline deadline) {
  std::unique_lock lock(mutex_);
  return completed_.wait_until(lock, deadline, [this] { return pending_ == 0; });
}

bool Host::settled() {
  // Requests first: a failed message enters the queue before its request
  // stops counting, so seeing none in flight and then no row means that
  // nothing handed over earlier is anywhere but on the server.
  if (http_->inFlight() != 0) return false;
  const auto rows = inspection_.queuedMessages();
  return rows && rows->empty();
}

QueueState Host::waitUntilSettled(Deadline deadline) {
  while (!settled() && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_until(std::min(deadline, std::chrono::steady_clock::now() + kPollInterval));
  }
  QueueState state;
  state.inFlight = http_->inFlight();
  if (const auto rows = inspection_.queuedMessages()) state.queued = rows->size();
  return state;
}

}  // namespace orvanta::cli
