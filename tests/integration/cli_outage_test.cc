// The outage story through the host simulator: while the server is away every
// message is kept in the offline queue, in the order it was handed over; once
// the server is back the next launch replays the queue, oldest first, each
// message exactly as it was first encoded, and leaves nothing behind.
#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "integration/cli_harness.h"

namespace orvanta::clitest {
namespace {

struct Outage {
  std::string name;
  Json fault;           // the control document that starts it
  std::string outcome;  // how the CLI reports a message sent during it
};

// Names the outage in test listings instead of dumping its bytes.
void PrintTo(const Outage& outage, std::ostream* out) { *out << outage.name; }

class CliOutageTest : public CliFixture, public ::testing::WithParamInterface<Outage> {};

TEST_P(CliOutageTest, QueuedWhileAwayReplayedInOrderWhenBack) {
  ASSERT_EQ(cli().run({"start"}).status, 0);
  server().control(GetParam().fault);

  // Two launches during the outage, each tracking one event; neither can
  // empty the queue in its one second, so both end with status 1.
  CliRun first = cli().run({"--wait", "1", "track", "101", R"({"s^item":"a"})"});
  EXPECT_EQ(first.status, 1) << first.err;
  EXPECT_EQ(first.linesAfter("track 101 -> "), std::vector<std::string>{GetParam().outcome});
  EXPECT_TRUE(first.lines().back().starts_with("wait over: 2 still queued")) << first.out;
  CliRun second = cli().run({"--wait", "1", "track", "102"});
  EXPECT_EQ(second.status, 1) << second.err;
  EXPECT_TRUE(second.lines().back().starts_with("wait over: 4 still queued")) << second.out;

  std::vector<Json> queued = cli().queue();
  ASSERT_EQ(queued.size(), 4u);
  std::vector<Json> eventIds;
  for (std::size_t i = 0; i < queued.size(); ++i) {
    EXPECT_EQ(queued[i]["method"], "app_activity");
    if (i > 0) {
      EXPECT_GT(queued[i]["id"], queued[i - 1]["id"]);
    }
    eventIds.push_back(Json::parse(queued[i]["data"].get<std::string>().substr(5))["eventid"]);  // after "data="
  }
  EXPECT_EQ(eventIds, (std::vector<Json>{21, 101, 21, 102}));

  server().control({{"clear", true}});
  CliRun recovery = cli().run({"start"});
  ASSERT_EQ(recovery.status, 0) << recovery.out << recovery.err;
  EXPECT_EQ(recovery.lines().back(), "queue empty");
  EXPECT_TRUE(cli().queue().empty());

  // The queued bodies arrived once each, in queue order, byte for byte; the
  // recovery launch's own event is sent at once and may come between them.
  std::vector<Json> replayed;
  std::vector<Json> expected;
  for (const Json& message : server().messages(200)) {
    for (const Json& row : queued) {
      if (row["data"] == message["body"]) replayed.push_back(message["body"]);
    }
  }
  for (const Json& row : queued) expected.push_back(row["data"]);
  EXPECT_EQ(replayed, expected);
  EXPECT_EQ(server().delivered().size(), 1u + queued.size() + 1u) << "first launch, replays, recovery launch";
}

INSTANTIATE_TEST_SUITE_P(
    Outages, CliOutageTest,
    ::testing::Values(Outage{"ServerDown", {{"down", true}}, "no answer, queued for replay"},
                      Outage{"ServerAnswers500", {{"fail", {{"status", 500}}}}, "500, queued for replay"}),
    [](const ::testing::TestParamInfo<Outage>& info) { return info.param.name; });

}  // namespace
}  // namespace orvanta::clitest
