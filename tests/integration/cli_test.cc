// The host simulator run as real processes against the reference server: how
// bad command lines are refused, the outage story, and kills at random
// instants.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <map>
#include <random>
#include <set>
#include <utility>

#include "integration/cli_harness.h"
#include "support/database_probe.h"

namespace orvanta::clitest {
namespace {

using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::StartsWith;
using CliTest = CliFixture;

TEST_F(CliTest, BadCommandLinesGetTheUsageAndStatus2AndLaunchNothing) {
  // Each bad word list and what the complaint says (JSON errors name the
  // 1-based byte where the text goes wrong).
  const std::vector<std::pair<std::vector<std::string>, std::string>> cases{
      {{}, "no command given"},
      {{"fly"}, "unknown command fly"},
      {{"--wait", "soon", "start"}, "--wait needs a number of seconds"},
      {{"track", "12x"}, "EVENTID must be an integer"},
      {{"track", "99999999999999999999"}, "EVENTID must fit in 64 bits"},
      {{"track", "101", R"([{"s^a":"x"},3])"},
       "PAYLOAD_JSON must be a JSON object or an array of objects"},
      {{"track", "101", R"({"i^n":1e400})"}, "PAYLOAD_JSON holds a number out of range"},
      {{"track", "101", R"({"s^name": })"}, "PAYLOAD_JSON is not valid JSON at byte 12:"},
      {{"profile", "alice", "{'city': 'Oslo'}"}, "ATTRS_JSON is not valid JSON at byte 2:"},
      {{"register", "--token", "zz"}, "--token must be hexadecimal"},
      {{"receive", R"(["payload"])"}, "PAYLOAD must be a JSON object"},
      {{"respond", "{}", "--state", "asleep"}, "--state must be active, inactive or background"},
      {{"action", "myapp://x"}, "missing PAYLOAD"},
  };
  for (const auto& [words, complaint] : cases) {
    SCOPED_TRACE(complaint);
    const CliRun refused = run(words);
    EXPECT_EQ(refused.status, 2);
    EXPECT_THAT(refused.err, AllOf(HasSubstr(complaint), HasSubstr("usage: orvanta")));
  }
  EXPECT_TRUE(messages().empty()) << "a refused command line launched the app";
  EXPECT_FALSE(std::filesystem::exists(home())) << "a refused command line touched the app's home";
}

// While the server is away every message is kept in the offline queue, in the
// order it was handed over; once the server is back the next launch replays
// the queue, oldest first, each message exactly as it was first encoded, and
// leaves nothing behind.
TEST_F(CliTest, QueuedWhileTheServerIsDownReplayedInOrderWhenBack) {
  ASSERT_EQ(run({"start"}).status, 0);
  control({{"down", true}});
  // Two launches during the outage, each tracking one event; neither can
  // empty the queue in its one second, so both end with status 1.
  const CliRun first = run({"--wait", "1", "track", "101", R"({"s^item":"a"})"});
  EXPECT_EQ(first.status, 1) << first.err;
  EXPECT_THAT(first.lines(), Contains(StartsWith("track 101 -> ")).Times(1));
  EXPECT_THAT(first.lines(), Contains("track 101 -> no answer, queued for replay"));
  EXPECT_THAT(first.lines().back(), StartsWith("wait over: 2 still queued"));
  const CliRun second = run({"--wait", "1", "track", "102"});
  EXPECT_EQ(second.status, 1) << second.err;
  EXPECT_THAT(second.lines().back(), StartsWith("wait over: 4 still queued"));

  const std::vector<Json> queued = queue();
  std::vector<Json> eventIds;
  std::vector<Json> bodies;
  for (const Json& row : queued) {
    bodies.push_back(row["data"]);
    // The event id of the object after "data=".
    eventIds.push_back(Json::parse(row["data"].get<std::string>().substr(5))["eventid"]);
  }
  EXPECT_EQ(eventIds, (std::vector<Json>{21, 101, 21, 102}));

  control({{"clear", true}});
  const CliRun recovery = run({"start"});
  ASSERT_EQ(recovery.status, 0) << recovery.out << recovery.err;
  EXPECT_EQ(recovery.lines().back(), "queue empty");
  EXPECT_TRUE(queue().empty());

  // The queued bodies arrived once each, in queue order, byte for byte; the
  // recovery launch's own event is sent at once and may come between them.
  const Json delivered = messages("?status=200");
  std::vector<Json> replayed;
  for (const Json& message : delivered) {
    if (std::ranges::find(bodies, message["body"]) != bodies.end()) {
      replayed.push_back(message["body"]);
    }
  }
  EXPECT_EQ(replayed, bodies);
  EXPECT_EQ(delivered.size(), 1u + queued.size() + 1u) << "first launch, replays, recovery";
}

constexpr int kTrackingKills = 20;
constexpr int kReplayKills = 5;
// Kill instants during the replay, measured from the process's start. Those
// of the tracking launches span one whole launch, timed by a first launch
// that is not killed (builds differ in speed: sanitizers, debug).
constexpr int kReplayWindowMs = 3000;

// A launch that tracks two events, tagged with prefix, without waiting for the queue.
std::vector<std::string> trackTwo(const std::string& prefix) {
  return {"--wait", "0", "--quiet", "track-many", "2", "--prefix", prefix};
}

// How many "handed <prefix> <seq>" lines out holds, complete with their line
// feed; they come in seq order from 0.
int handedCount(const std::string& out, const std::string& prefix) {
  int count = 0;
  while (out.find("handed " + prefix + " " + std::to_string(count) + "\n") != std::string::npos) {
    ++count;
  }
  return count;
}

class CliCrashTest : public CliFixture {
 protected:
  // Starts one launch, kills it after a random pause, and answers the
  // launch's standard output (what it printed before it died).
  std::string killDuring(const std::vector<std::string>& words, int windowMs,
                         const std::string& name) {
    const std::string out = home().string() + "-" + name + ".out";
    ChildProcess child(argv(words), out, out + ".err");
    std::this_thread::sleep_for(milliseconds(std::uniform_int_distribution(0, windowMs)(random_)));
    child.signal(SIGKILL);
    const std::optional<int> status = child.wait(seconds(30));
    EXPECT_TRUE(status.has_value()) << name << " did not end after SIGKILL";
    if (status == 128 + SIGKILL) ++killed_;
    return readFile(out);
  }

  std::mt19937 random_{std::random_device{}()};
  int killed_ = 0;
};

// Killing the host process at any instant loses no message. An app tracks
// events against a server that answers every tracking request with 500 and is
// killed with SIGKILL at random instants, launch after launch; then, against a
// healthy server, its replays are killed a few times more; a last launch runs
// until the queue is empty.
//
// What is asserted, and why the library guarantees it:
// - Every event that `track-many` reported as handed (the library's call had
//   returned) reaches the server and is answered 200 at least once. Events
//   the library took but whose "handed" line the kill cut off may arrive too.
// - Within one launch, the first arrivals come in the order the events were
//   handed. track-many hands an event only after the previous one's answer,
//   so each failed event is in the queue before the next is handed; an event
//   cut off in flight is journaled and joins the end of the queue at the next
//   launch, before that launch hands anything. The replay sends the oldest
//   row first, one at a time, and deletes a row only after its 200, so a kill
//   during the replay can repeat a message but never overtake one.
// - Duplicates are allowed: a kill between a 200 and the row's deletion sends
//   that row again.
// - At the end the queue is empty, and so is the journal of messages in
//   flight.
TEST_F(CliCrashTest, KilledAtRandomInstantsLosesNothingAndKeepsOrderPerLaunch) {
  control({{"fail", {{"status", 500}}}});
  std::map<std::string, int> handed;  // launch prefix -> events handed over
  const auto timed = std::chrono::steady_clock::now();
  const CliRun whole = run(trackTwo("whole"));
  const auto windowMs = static_cast<int>(
      std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::now() - timed).count());
  handed["whole"] = handedCount(whole.out, "whole");
  ASSERT_EQ(handed["whole"], 2) << whole.out << whole.err;

  for (int launch = 0; launch < kTrackingKills; ++launch) {
    const std::string prefix = "L" + std::to_string(launch);
    handed[prefix] = handedCount(killDuring(trackTwo(prefix), windowMs, prefix), prefix);
  }

  control({{"clear", true}});
  for (int replay = 0; replay < kReplayKills; ++replay) {
    killDuring({"--quiet", "start"}, kReplayWindowMs, "replay" + std::to_string(replay));
  }
  const CliRun last = run({"--wait", "250", "--quiet", "start"}, seconds(270));
  ASSERT_EQ(last.status, 0) << last.out << last.err;
  EXPECT_TRUE(queue().empty());
  const testing::DatabaseProbe database(testing::databasePathIn((home() / "Documents").string()));
  EXPECT_EQ(database.column("SELECT COUNT(*) FROM OrvantaInFlightEvents"),
            std::vector<std::string>{"0"});

  // First arrivals per launch, in arrival order.
  std::map<std::string, std::vector<std::int64_t>> firstArrivals;
  std::map<std::string, std::set<std::int64_t>> arrived;
  for (const Json& message : messages("?status=200")) {
    const Json& data = message.at("data");
    if (!data.contains("payload")) continue;  // a launch event
    const std::int64_t seq = data.at("payload").at(0).at("i^seq").get<std::int64_t>();
    const std::string prefix = data.at("payload").at(0).at("s^run").get<std::string>();
    if (arrived[prefix].insert(seq).second) firstArrivals[prefix].push_back(seq);
  }
  int handedByKilledLaunches = -handed["whole"];
  for (const auto& [prefix, count] : handed) {
    SCOPED_TRACE(prefix);
    handedByKilledLaunches += count;
    for (std::int64_t seq = 0; seq < count; ++seq) {
      EXPECT_TRUE(arrived[prefix].contains(seq)) << "handed event " << seq << " never arrived";
    }
    EXPECT_TRUE(std::ranges::is_sorted(firstArrivals[prefix])) << "first arrivals out of order";
  }
  // The test is only worth something if the kills hit running processes
  // and events were handed over.
  EXPECT_GE(killed_, (kTrackingKills + kReplayKills) / 2);
  EXPECT_GT(handedByKilledLaunches, 0);
}

}  // namespace
}  // namespace orvanta::clitest
