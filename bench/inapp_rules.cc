// What the in-app rules add to a tracked event on the host's thread: with 10,
// 1,000 and 10,000 rules of which none, one or ten listen to the event, and a
// showing that writes its frequency record among 1,000 stored ones. The same
// event with no rules at all is the floor.
#include <chrono>
#include <stdexcept>
#include <string>
#include <thread>

#include "caller_cost.h"
#include "local_server.h"
#include "orvanta/app_tracking.h"
#include "orvanta/json.h"
#include "orvanta/log.h"
#include "orvanta/runtime.h"
#include "orvanta/shared_manager.h"
#include "orvanta/testing/temporary_paths.h"

namespace orvanta::bench {
namespace {

constexpr std::int64_t kEvent = 101;

const Array& eventPayload() {
  static const Array payload{Map{{"s^category", "Trail shoes"}, {"f^price", 89.95}}};
  return payload;
}

// A rule for eventId. A rule that misses is checked up to its audience,
// whose filter does not match the event's category, so nothing shows; a rule
// that shows passes every check and counts each showing in its campaign cap
// (so it keeps a stored frequency record).
Map rule(std::size_t id, std::int64_t eventId, bool shows) {
  Map whomTo{{"eventList", std::to_string(eventId)}};
  Map entry{{"id", std::to_string(id)},
            {"fromDate", "2020-01-01T00:00:00"},
            {"toDate", "2099-01-01T00:00:00"},
            {"whatTo", "title=" + std::to_string(id)}};
  if (shows) {
    // Open every day, all day; a cap that lasts for the whole run.
    Map campaign{{"days", "monday,tuesday,wednesday,thursday,friday,saturday,sunday"}, {"from", "-1"}, {"to", "24:00"}};
    entry.set("whenTo", Map{{"frequency", 1'000'000'000}, {"frequencyType", "campaign"}, {"campaign", campaign}});
  } else {
    whomTo.set("everyone", "new");
    whomTo.set("filter", Array{Map{{"filter", "s^category"}, {"value", "^hats$"}}});
  }
  entry.set("whomTo", whomTo);
  return entry;
}

// `rules` rules: the first `listeners` listen to kEvent, the others each to
// an event of their own; all of them show, or all miss.
std::string document(std::size_t rules, std::size_t listeners, bool showing) {
  Array list;
  for (std::size_t i = 0; i < rules; ++i) {
    list.emplace_back(rule(i, i < listeners ? kEvent : 1000 + std::int64_t(i), showing));
  }
  return dumpJson(Map{{"InAppRuleList", list}});
}

// A started app whose rules are in force, more than a second after start-up
// (before that no rule shows).
class AppWithRules {
 public:
  AppWithRules(std::size_t rules, std::string rulesDocument) : server_(std::move(rulesDocument)) {
    // The library's start-up lines are not what is measured.
    setLogSink([](std::string_view) {});
    Config config;
    config.trackingBaseUrl = server_.trackingUrl();
    config.rulesBaseUrl = server_.rulesUrl();
    runtime_ = std::make_unique<Runtime>(makeLinuxPlatform(config, home_.root()), config);
    runtime_->sharedManager().setUpApplicationId("bench-app");
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(120);
    while (runtime_->appTracking().popupRules().size() != rules) {
      if (std::chrono::steady_clock::now() > deadline) throw std::runtime_error("the rules did not arrive");
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(1100));
  }
  ~AppWithRules() {
    runtime_.reset();
    setLogSink(nullptr);
  }
  OrvantaAppTracking& tracking() { return runtime_->appTracking(); }

 private:
  LocalServer server_;
  testing::TemporaryPaths home_;
  std::unique_ptr<Runtime> runtime_;
};

// No rules (the floor), then 10, 1,000 and 10,000 of which none, one or ten
// listen to the event.
void ruleCounts(benchmark::internal::Benchmark* benchmark) {
  benchmark->Args({0, 0});
  for (const std::int64_t rules : {10, 1000, 10000}) {
    for (const std::int64_t listening : {0, 1, 10}) benchmark->Args({rules, listening});
  }
}

void measureEvents(benchmark::State& state, AppWithRules& app) {
  LatencySamples samples;
  for (auto _ : state) {
    samples.time([&] { app.tracking().sendAppTrackingEventWithCustomPayload(kEvent, eventPayload(), nullptr); });
  }
  samples.report(state);
}

// The whole tracked event on the host's thread, rules and all.
void BM_TrackedEventWithRules(benchmark::State& state) {
  const auto rules = static_cast<std::size_t>(state.range(0));
  const auto listeners = static_cast<std::size_t>(state.range(1));
  AppWithRules app(rules, document(rules, listeners, /*showing=*/false));
  measureEvents(state, app);
}
BENCHMARK(BM_TrackedEventWithRules)
    ->ArgNames({"rules", "listening"})
    ->Apply(ruleCounts)
    ->Iterations(3000)
    ->Unit(benchmark::kMicrosecond);

// The rules' part alone: the same evaluation, traced, without the message
// around it (nothing shown, nothing counted).
void BM_RulesEvaluationAlone(benchmark::State& state) {
  const auto rules = static_cast<std::size_t>(state.range(0));
  const auto listeners = static_cast<std::size_t>(state.range(1));
  AppWithRules app(rules, document(rules, listeners, /*showing=*/false));
  LatencySamples samples;
  for (auto _ : state) {
    samples.time([&] { benchmark::DoNotOptimize(app.tracking().popupDryRun(kEvent, eventPayload())); });
  }
  samples.report(state);
}
BENCHMARK(BM_RulesEvaluationAlone)
    ->ArgNames({"rules", "listening"})
    ->Apply(ruleCounts)
    ->Iterations(20000)
    ->Unit(benchmark::kMicrosecond);

// A tracked event whose rule shows, counting the showing in its stored
// record, with 1,000 records stored.
void BM_TrackedEventThatShowsAmongStoredRecords(benchmark::State& state) {
  const auto rules = static_cast<std::size_t>(state.range(0));
  AppWithRules app(rules, document(rules, /*listeners=*/1, /*showing=*/true));
  measureEvents(state, app);
}
BENCHMARK(BM_TrackedEventThatShowsAmongStoredRecords)
    ->ArgNames({"records"})
    ->Arg(1000)
    ->Iterations(3000)
    ->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace orvanta::bench
