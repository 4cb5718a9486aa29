#include "cli/host.h"

#include <future>
#include <thread>

#include "cli/exit_before_sending.h"
#include "cli/simulated_location.h"
#include "orvanta/platform/platform.h"
#include "orvanta/push_task_manager.h"
#include "orvanta/shared_manager.h"

namespace orvanta::cli {
namespace {

constexpr auto kPollInterval = std::chrono::milliseconds(100);


// The longest delay of the library's notification handling: an opening
// 0.5 s after a launch from a notification or a tap in the background.
constexpr double kLongestNotificationDelaySeconds = 0.5;

std::shared_ptr<OrvantaPushTaskManagerDelegate> hostDelegate(bool wanted, const std::shared_ptr<Output>& output) {
  if (!wanted) return nullptr;
  auto delegate = std::make_shared<OrvantaPushTaskManagerDelegate>();
  delegate->handleNotificationOpenAction = [output](const Map&, const std::optional<std::string>& link) {
    output->line("host-link " + link.value_or("-"));
  };
  return delegate;
}

std::string statusText(int status) {
  if (status == 200) return "200";
  return (status == 0 ? std::string("no answer") : std::to_string(status)) + ", queued for replay";
}

}  // namespace

Host::Host(const GlobalOptions& options, std::shared_ptr<Output> output)
    : output_(std::move(output)),
      applicationId_(options.appId),
      config_(options.config),
      afterSeconds_(options.afterSeconds),
      platform_(makeLinuxPlatform(config_, options.home)),
      http_(std::make_shared<TracingHttpClient>(std::make_shared<ExitBeforeSending>(platform_.http), output_)),
      appHost_(std::make_shared<SimulatedAppHost>(platform_.appHost, options.systemVersion, output_)),
      notificationCenter_(std::make_shared<SimulatedNotificationCenter>(platform_.notificationCenter, output_)),
      screen_(std::make_shared<HeadlessScreen>(options.screenWidth, options.screenHeight,
                                               options.landscape ? Orientation::LandscapeLeft : Orientation::Portrait)),
      popups_(screen_, options.popup, platform_.mainQueue, output_),
      delegate_(hostDelegate(options.hostDelegate, output_)),
      inspection_(platform_, config_) {
  platform_.http = http_;
  platform_.appHost = appHost_;
  platform_.notificationCenter = notificationCenter_;
  platform_.views = screen_;
  if (options.location) {
    platform_.location = std::make_shared<SimulatedLocation>(options.location->first, options.location->second);
  }
}

Host::~Host() { runtime_.reset(); }

void Host::launch() {
  runtime_ = std::make_unique<Runtime>(platform_, config_);
  runtime_->pushTaskManager().setDelegate(delegate_);
  const auto startUp = std::chrono::steady_clock::now();
  runtime_->sharedManager().handleApplicationLaunchEvent(launchOptions_, applicationId_);
  waitForRules();
  std::this_thread::sleep_until(startUp + std::chrono::duration_cast<std::chrono::steady_clock::duration>(
                                              std::chrono::duration<double>(afterSeconds_)));
}

void Host::waitForRules() {
  if (config_.rulesBaseUrl.empty()) return;
  const std::string url = config_.rulesBaseUrl + "inappactivity/" + applicationId_ + ".json";
  const Deadline deadline = std::chrono::steady_clock::now() + kOneAnswer;
  if (!http_->waitForAnswer(url, deadline)) {
    output_->note("the rules download did not answer in time");
    return;
  }
  waitForMainQueueWork(deadline);
}

bool Host::waitForMainQueueWork(Deadline deadline) {
  // A popup is shown by a task on the main queue, and played by more.
  return runMainQueueFor(0, deadline) && popups_.waitUntilPlayed(deadline) && runMainQueueFor(0, deadline);
}

bool Host::runMainQueueFor(double seconds, Deadline deadline) {
  // Tasks due at the same time run in the order they were posted, so this
  // one runs after every delay of that length started before it.
  auto done = std::make_shared<std::promise<void>>();
  std::future<void> ran = done->get_future();
  platform_.mainQueue->postAfter(seconds, [done] { done->set_value(); });
  return ran.wait_until(deadline) == std::future_status::ready;
}

bool Host::waitForDelayedWork(Deadline deadline) {
  if (!delayedWork_) return true;
  return runMainQueueFor(kLongestNotificationDelaySeconds, deadline);
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
