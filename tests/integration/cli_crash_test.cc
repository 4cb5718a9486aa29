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
#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "integration/cli_harness.h"
#include "support/database_probe.h"

namespace orvanta::clitest {
namespace {

constexpr int kTrackingKills = 20;
constexpr int kReplayKills = 5;
constexpr int kEventsPerLaunch = 2;
// Kill instants during the replay, measured from the process's start. Those
// of the tracking launches span one whole launch, timed by a first launch
// that is not killed (builds differ in speed: sanitizers, debug).
constexpr int kReplayWindowMs = 3000;

class CliCrashTest : public CliFixture {
 protected:
  // Starts one launch, kills it after a random pause, and answers the
  // launch's standard output (what it printed before it died).
  std::string killDuring(const std::vector<std::string>& words, int windowMs, const std::string& name) {
    const std::filesystem::path out = cli().home().string() + "-" + name + ".out";
    ChildProcess child = cli().start(words, out);
    std::this_thread::sleep_for(milliseconds(std::uniform_int_distribution<int>(0, windowMs)(random_)));
    child.signal(SIGKILL);
    std::optional<int> status = child.wait(seconds(30));
    EXPECT_TRUE(status.has_value()) << name << " did not end after SIGKILL";
    if (status == 128 + SIGKILL) ++killed_;
    std::ifstream file(out);
    return std::string(std::istreambuf_iterator<char>(file), {});
  }

  std::mt19937 random_{std::random_device{}()};
  int killed_ = 0;
};

// How many "handed <prefix> <seq>" lines out holds, complete with their line
// feed; they come in seq order from 0.
int handedCount(const std::string& out, const std::string& prefix) {
  int count = 0;
  const std::string expected = "handed " + prefix + " ";
  for (std::size_t start = 0, end; (end = out.find('\n', start)) != std::string::npos; start = end + 1) {
    if (out.compare(start, end - start, expected + std::to_string(count)) == 0) ++count;
  }
  return count;
}

TEST_F(CliCrashTest, KilledAtRandomInstantsLosesNothingAndKeepsOrderPerLaunch) {
  server().control({{"fail", {{"status", 500}}}});
  auto trackMany = [](const std::string& prefix) {
    return std::vector<std::string>{"--wait",     "0",    "--quiet", "track-many", std::to_string(kEventsPerLaunch),
                                    "--prefix", prefix};
  };
  std::map<std::string, int> handed;  // launch prefix -> events handed over
  const auto timed = std::chrono::steady_clock::now();
  CliRun whole = cli().run(trackMany("whole"));
  const auto window = std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::now() - timed);
  handed["whole"] = handedCount(whole.out, "whole");
  ASSERT_EQ(handed["whole"], kEventsPerLaunch) << whole.out << whole.err;

  for (int launch = 0; launch < kTrackingKills; ++launch) {
    const std::string prefix = "L" + std::to_string(launch);
    std::string out = killDuring(trackMany(prefix), static_cast<int>(window.count()), prefix);
    handed[prefix] = handedCount(out, prefix);
  }

  server().control({{"clear", true}});
  for (int replay = 0; replay < kReplayKills; ++replay) {
    killDuring({"--quiet", "start"}, kReplayWindowMs, "replay" + std::to_string(replay));
  }
  CliRun last = cli().run({"--wait", "250", "--quiet", "start"}, seconds(270));
  ASSERT_EQ(last.status, 0) << last.out << last.err;
  EXPECT_TRUE(cli().queue().empty());
  const testing::DatabaseProbe database(testing::databasePathIn((cli().home() / "Documents").string()));
  EXPECT_EQ(database.column("SELECT COUNT(*) FROM OrvantaInFlightEvents"), std::vector<std::string>{"0"});

  // First arrivals per launch, in arrival order.
  std::map<std::string, std::vector<std::int64_t>> firstArrivals;
  std::map<std::string, std::set<std::int64_t>> arrived;
  for (const Json& data : server().delivered()) {
    if (!data.contains("payload")) continue;  // a launch event
    const std::int64_t seq = data.at("payload").at(0).at("i^seq").get<std::int64_t>();
    const std::string prefix = data.at("payload").at(0).at("s^run").get<std::string>();
    if (arrived[prefix].insert(seq).second) firstArrivals[prefix].push_back(seq);
  }
  int total = 0;
  for (const auto& [prefix, count] : handed) {
    SCOPED_TRACE(prefix);
    total += count;
    for (std::int64_t seq = 0; seq < count; ++seq) {
      EXPECT_TRUE(arrived[prefix].contains(seq)) << "handed event " << seq << " never arrived";
    }
    const std::vector<std::int64_t>& order = firstArrivals[prefix];
    EXPECT_TRUE(std::is_sorted(order.begin(), order.end())) << "first arrivals out of order";
  }
  // The test is only worth something if the kills hit running processes
  // and events were handed over.
  EXPECT_GE(killed_, (kTrackingKills + kReplayKills) / 2);
  const int handedByKilledLaunches = total - handed["whole"];
  EXPECT_GT(handedByKilledLaunches, 0);
  std::cout << "[ crash    ] " << killed_ << " kills, " << handedByKilledLaunches
            << " events handed by the launches killed while tracking\n";
}

}  // namespace
}  // namespace orvanta::clitest
