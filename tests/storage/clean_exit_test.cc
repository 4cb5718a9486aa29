// Destroying the runtime while a message is in flight: an answer that comes
// during the grace period settles it, one that comes later (or not at all)
// leaves it queued for the next start, which sends it again. The test
// platform's HTTP client plays the grace period: the test decides beforehand
// whether the held answer comes in it.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "orvanta/app_tracking.h"
#include "storage/database_source.h"
#include "support/database_probe.h"
#include "support/test_runtime.h"

namespace orvanta {
namespace {

using Texts = std::vector<std::string>;

struct ExitCase {
  const char* name;
  bool replay;           // a queued row being replayed, rather than a first send
  bool answeredInGrace;  // the answer comes during the grace period, else after it
  int status;            // that answer
  bool queuedAfter;      // the message waits in the queue at the next start
};

TEST(CleanExit, WhatIsAnsweredDuringTheGraceIsSettledAndTheRestQueuedForTheNextStart) {
  const ExitCase cases[] = {
      {"first send answered 200 in time", false, true, 200, false},
      {"first send answered 503 in time", false, true, 503, true},
      {"first send unanswered", false, false, 200, true},
      {"replay answered 200 in time", true, true, 200, false},
      {"replay unanswered", true, false, 200, true},
  };
  for (const ExitCase& c : cases) {
    SCOPED_TRACE(c.name);
    testing::TestRuntime runtime;
    const std::shared_ptr<testing::ScriptedHttpClient> http = runtime.platform().http;
    http->holdAnswers(true);
    if (c.replay) {
      ASSERT_TRUE(runtime.databaseSource().addEvent("pn_open", "data=queued"));
      runtime.platform().mainQueue->advance(2);
    } else {
      runtime.runtime().appTracking().sendAppTrackingEvent(101, nullptr);
    }
    ASSERT_EQ(http->heldCount(), 1u);
    const HttpRequest inFlight = http->requests().back();
    http->answerWithStatus(c.status);
    if (c.answeredInGrace) http->whileDraining([&http] { http->releaseHeld(); });

    runtime.relaunch();  // the new runtime queues what the old one left journaled

    testing::DatabaseProbe probe(testing::databasePathIn(runtime.platform().paths->documentsDirectory()));
    const Texts queued = probe.column("SELECT EventData FROM OfflineEvents ORDER BY ID");
    EXPECT_EQ(queued, c.queuedAfter ? Texts{inFlight.body} : Texts{});
    EXPECT_EQ(http->requestCount(), 1u) << "nothing else went out";
    runtime.platform().mainQueue->advance(2);
    EXPECT_EQ(runtime.platform().http->requestCount(), c.queuedAfter ? 1u : 0u) << "the next start replays it";
  }
}

}  // namespace
}  // namespace orvanta
