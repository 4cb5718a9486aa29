// Destroying a runtime on the real Linux platform while the server is still
// answering: an answer within the grace period settles the message, so the
// next start does not send it again; one that does not come in time leaves it
// queued.
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "orvanta/app_tracking.h"
#include "orvanta/runtime.h"
#include "orvanta/testing/temporary_paths.h"
#include "support/database_probe.h"
#include "support/loopback_server.h"

namespace orvanta::testing {
namespace {

using Texts = std::vector<std::string>;

TEST(CleanExit, AMessageTheServerAnswersWithinTheGraceIsNotQueued) {
  struct Case {
    const char* name;
    ScriptedAnswer answer;
    double graceSeconds;
    bool queuedAfter;
  };
  using std::chrono_literals::operator""ms;
  const Case cases[] = {
      // The grace is far longer than the delay: destruction ends with the answer.
      {"slow answer, long grace", ScriptedAnswer{.delay = 300ms}, 30, false},
      {"answer held past the grace", ScriptedAnswer{.stall = true}, 0.2, true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    TemporaryPaths home;
    LoopbackServer server;
    server.setResponder([&c](const CapturedRequest&) { return c.answer; });
    Config config;
    config.trackingBaseUrl = server.url("/track/");
    config.bundleIdentifier = "io.orvanta.exit";
    config.shutdownGraceSeconds = c.graceSeconds;
    auto runtime = std::make_unique<Runtime>(makeLinuxPlatform(config, home.root()), config);
    runtime->appTracking().sendAppTrackingEvent(101, nullptr);
    ASSERT_TRUE(server.waitForRequests(1));

    runtime.reset();

    DatabaseProbe probe(databasePathIn(home.root() + "/Documents"));
    EXPECT_EQ(probe.column("SELECT EventData FROM OfflineEvents UNION ALL SELECT EventData FROM OrvantaInFlightEvents"),
              c.queuedAfter ? Texts{server.requests().front().body} : Texts{});
  }
}

}  // namespace
}  // namespace orvanta::testing
