// The host simulator's commands, run as real processes against the reference
// server: what a command makes the library send, and how bad command lines and
// an unusable home are refused.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "integration/cli_harness.h"

namespace orvanta::clitest {
namespace {

using CliCommandsTest = CliFixture;

TEST_F(CliCommandsTest, BadCommandLinesGetTheUsageAndStatus2AndLaunchNothing) {
  // Each bad word list and what the complaint says (JSON errors name the
  // 1-based byte where the text goes wrong).
  const std::vector<std::pair<std::vector<std::string>, std::string>> cases{
      {{}, "no command given"},
      {{"fly"}, "unknown command fly"},
      {{"--wait", "soon", "start"}, "--wait needs a number of seconds"},
      {{"track", "12x"}, "EVENTID must be an integer"},
      {{"track", "99999999999999999999"}, "EVENTID must fit in 64 bits"},
      {{"track", "101", R"([{"s^a":"x"},3])"}, "PAYLOAD_JSON must be a JSON object or an array of objects"},
      {{"track", "101", R"({"i^n":1e400})"}, "PAYLOAD_JSON holds a number out of range"},
      {{"track", "101", R"({"s^name": })"}, "PAYLOAD_JSON is not valid JSON at byte 12:"},
      {{"track", "101", R"([{"i^qty": 2},)"}, "PAYLOAD_JSON is not valid JSON at byte 15:"},
      {{"profile", "alice", "{'city': 'Oslo'}"}, "ATTRS_JSON is not valid JSON at byte 2:"},
      {{"register", "--token", "zz"}, "--token must be hexadecimal"},
      {{"logout", "now"}, "unexpected argument now"},
  };
  for (const auto& [words, complaint] : cases) {
    SCOPED_TRACE(complaint);
    CliRun run = cli().run(words);
    EXPECT_EQ(run.status, 2);
    EXPECT_NE(run.err.find(complaint), std::string::npos) << run.err;
    EXPECT_NE(run.err.find("usage: orvanta"), std::string::npos);
  }
  EXPECT_TRUE(server().messages().empty()) << "a refused command line launched the app";
  EXPECT_FALSE(std::filesystem::exists(cli().home())) << "a refused command line touched the app's home";
}

TEST_F(CliCommandsTest, TrackSendsItsTypedPayloadAfterTheLaunchEvent) {
  CliRun first = cli().run({"track", "101", R"({"s^name":"shoe","i^qty":2,"f^price":19.99})"});
  ASSERT_EQ(first.status, 0) << first.err;
  EXPECT_EQ(first.linesAfter("track 101 -> "), std::vector<std::string>{"200"});
  EXPECT_EQ(first.lines().back(), "queue empty");
  ASSERT_EQ(cli().run({"track", "7"}).status, 0);

  std::vector<Json> sent;
  for (const Json& message : server().messages(200)) {
    if (message["method"] == "app_activity") sent.push_back(message["data"]);
  }
  ASSERT_EQ(sent.size(), 4u);
  EXPECT_EQ(sent[0]["eventid"], 20) << "the first launch of an installation";
  EXPECT_EQ(sent[1]["eventid"], 101);
  EXPECT_EQ(sent[1]["payload"], Json::parse(R"([{"s^name":"shoe","i^qty":2,"f^price":19.99}])"));
  EXPECT_TRUE(sent[1]["payload"][0]["i^qty"].is_number_integer());
  EXPECT_TRUE(sent[1]["payload"][0]["f^price"].is_number_float());
  EXPECT_EQ(sent[2]["eventid"], 21) << "a later launch";
  EXPECT_EQ(sent[3]["eventid"], 7);
  EXPECT_FALSE(sent[3].contains("payload")) << "no payload given, none sent";
  for (const Json& data : sent) EXPECT_EQ(data["pushid"], sent[0]["pushid"]) << "one device id throughout";
}

TEST_F(CliCommandsTest, AHomeWhereNothingCanBeStoredIsNeverReportedAsAnEmptyQueue) {
  // A file where the home folder should be: no database can be made in it.
  std::filesystem::create_directories(cli().home().parent_path());
  std::ofstream(cli().home()) << "not a folder";
  server().control({{"down", true}});

  CliRun launch = cli().run({"--wait", "1", "track", "5"});
  EXPECT_EQ(launch.status, 1) << launch.out;
  EXPECT_EQ(launch.lines().back(), "wait over: queue not readable");
  CliRun queue = cli().run({"queue"});
  EXPECT_EQ(queue.status, 1);
  EXPECT_NE(queue.err.find("the offline queue cannot be read"), std::string::npos) << queue.err;
}

}  // namespace
}  // namespace orvanta::clitest
