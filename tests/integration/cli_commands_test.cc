// The host simulator's commands, run as real processes against the reference
// server: what each command makes the library send, and how bad command lines
// are refused.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "integration/cli_harness.h"

namespace orvanta::clitest {
namespace {

using CliCommandsTest = CliFixture;

// The delivered messages sent to method, in order.
std::vector<Json> sentTo(const DevServerProcess& server, const std::string& method) {
  std::vector<Json> found;
  for (const Json& message : server.messages(200)) {
    if (message["method"] == method) found.push_back(message["data"]);
  }
  return found;
}

TEST_F(CliCommandsTest, BadCommandLinesGetTheUsageAndStatus2AndLaunchNothing) {
  struct Case {
    std::vector<std::string> words;
    std::string complaint;
  };
  const std::vector<Case> cases{
      {{}, "no command given"},
      {{"fly"}, "unknown command fly"},
      {{"--bogus", "start"}, "unknown option --bogus"},
      {{"--wait", "soon", "start"}, "--wait needs a number of seconds"},
      {{"--wait", "-1", "start"}, "--wait needs a number of seconds"},
      {{"--wait", "1e9", "start"}, "--wait needs a number of seconds"},
      {{"track"}, "missing EVENTID"},
      {{"track", "12x"}, "EVENTID must be an integer"},
      {{"track", "99999999999999999999"}, "EVENTID must fit in 64 bits"},
      {{"track", "101", "\"shoe\""}, "PAYLOAD_JSON must be a JSON object or an array"},
      {{"track", "101", R"([{"s^a":"x"},3])"}, "PAYLOAD_JSON must be a JSON object or an array of objects"},
      {{"track", "101", R"({"i^n":1e400})"}, "PAYLOAD_JSON holds a number out of range"},
      {{"track", "101", "{}", "more"}, "unexpected argument more"},
      {{"track-many", "-1"}, "N must not be negative"},
      {{"track-many", "3", "--prefix"}, "--prefix needs a value"},
      {{"register", "alice", "--token", "abc"}, "--token needs an even number of hex digits"},
      {{"register", "--token", "zz"}, "--token must be hexadecimal"},
      {{"login"}, "missing IDENTITY"},
      {{"logout", "now"}, "unexpected argument now"},
      {{"profile", "alice"}, "missing ATTRS_JSON"},
      {{"queue", "--all"}, "unknown option --all"},
  };
  for (const Case& c : cases) {
    CliRun run = cli().run(c.words);
    std::string shown = c.words.empty() ? "(nothing)" : c.words.front() + " ...";
    EXPECT_EQ(run.status, 2) << shown;
    EXPECT_NE(run.err.find(c.complaint), std::string::npos) << shown << "\n" << run.err;
    EXPECT_NE(run.err.find("usage: orvanta"), std::string::npos) << shown;
  }
  EXPECT_TRUE(server().messages().empty()) << "a refused command line launched the app";
  EXPECT_FALSE(std::filesystem::exists(cli().home())) << "a refused command line touched the app's home";
}

TEST_F(CliCommandsTest, BadJsonArgumentNamesTheByteWhereItGoesWrong) {
  struct Case {
    std::string text;
    std::size_t byte;  // 1-based, as the message counts
  };
  const std::string missingValue = R"({"s^name": })";
  const std::string wrongBracket = R"({"f^price": 1.5])";
  const std::string cutShort = R"([{"i^qty": 2},)";
  const std::vector<Case> cases{
      {missingValue, missingValue.find('}') + 1},
      {wrongBracket, wrongBracket.find(']') + 1},
      {cutShort, cutShort.size() + 1},  // the end of the text
  };
  for (const Case& c : cases) {
    CliRun run = cli().run({"track", "101", c.text});
    EXPECT_EQ(run.status, 2) << c.text;
    EXPECT_NE(run.err.find("PAYLOAD_JSON is not valid JSON at byte " + std::to_string(c.byte) + ":"),
              std::string::npos)
        << c.text << "\n" << run.err;
  }
  CliRun profile = cli().run({"profile", "alice", "{'city': 'Oslo'}"});
  EXPECT_EQ(profile.status, 2);
  EXPECT_NE(profile.err.find("ATTRS_JSON is not valid JSON at byte 2:"), std::string::npos) << profile.err;
}

TEST_F(CliCommandsTest, TrackSendsItsTypedPayloadAfterTheLaunchEvent) {
  CliRun first = cli().run({"track", "101", R"({"s^name":"shoe","i^qty":2,"f^price":19.99})"});
  ASSERT_EQ(first.status, 0) << first.err;
  EXPECT_EQ(first.linesAfter("track 101 -> "), std::vector<std::string>{"200"});
  EXPECT_EQ(first.lines().back(), "queue empty");

  CliRun second = cli().run({"track", "7"});
  ASSERT_EQ(second.status, 0) << second.err;

  std::vector<Json> sent = sentTo(server(), "app_activity");
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

TEST_F(CliCommandsTest, IdentityCommandsSendTheirMessagesAndKeepTheIdentity) {
  for (const std::vector<std::string>& words :
       {std::vector<std::string>{"register", "alice", "--token", "0a1bFF"}, {"login", "bob"},
        {"profile", "bob", R"({"s^city":"Oslo","i^age":41})"}, {"logout"}}) {
    CliRun run = cli().run(words);
    ASSERT_EQ(run.status, 0) << words.front() << "\n" << run.err;
    EXPECT_EQ(run.linesAfter(words.front() + " -> "), std::vector<std::string>{"200"}) << run.out;
  }

  std::vector<Json> registered = sentTo(server(), "pn_register");
  ASSERT_EQ(registered.size(), 1u);
  EXPECT_EQ(registered[0]["eventid"], 25);
  EXPECT_EQ(registered[0]["identity"], "alice");
  EXPECT_EQ(registered[0]["token"], "0a1bff") << "the token's bytes as lower-case hex";

  std::vector<Json> login = sentTo(server(), "pn_login");
  ASSERT_EQ(login.size(), 1u);
  EXPECT_EQ(login[0]["eventid"], 22);
  EXPECT_EQ(login[0]["identity"], "bob");

  std::vector<Json> profile = sentTo(server(), "profilePush");
  ASSERT_EQ(profile.size(), 1u);
  EXPECT_EQ(profile[0]["identity"], "bob");
  EXPECT_EQ(profile[0]["profileDetails"], Json::parse(R"({"s^city":"Oslo","i^age":41})"));
  EXPECT_FALSE(profile[0].contains("eventid"));

  std::vector<Json> logout = sentTo(server(), "pn_logout");
  ASSERT_EQ(logout.size(), 1u);
  EXPECT_EQ(logout[0]["eventid"], 23);
  EXPECT_EQ(logout[0]["identity"], "bob") << "the message names who logs out";

  // Each launch carried the identity stored by the invocation before it.
  std::vector<Json> launches = sentTo(server(), "app_activity");
  ASSERT_EQ(launches.size(), 4u);
  EXPECT_EQ(launches[1]["identity"], "alice");
  EXPECT_EQ(launches[3]["identity"], "bob");
  CliRun state = cli().run({"state"});
  ASSERT_EQ(state.status, 0) << state.err;
  EXPECT_EQ(Json::parse(state.out)["settings"]["OrvantaIdentity"], "") << "cleared by the logout";
}

TEST_F(CliCommandsTest, DeeplinkAttributionRidesOnTheMessagesOfTheNextLaunch) {
  CliRun link = cli().run({"deeplink", "demoapp://open?__ktm_medium=push&__ktm_source=mail&__ktm_id=7&__kta=x&k=v"});
  ASSERT_EQ(link.status, 0) << link.err;
  ASSERT_EQ(cli().run({"track", "101"}).status, 0);

  std::vector<Json> sent = sentTo(server(), "app_activity");
  ASSERT_EQ(sent.size(), 3u);
  EXPECT_FALSE(sent[0].contains("atcm")) << "the link came after that launch";
  for (const Json& data : {sent[1], sent[2]}) {
    EXPECT_EQ(data["atcm"], "push");
    EXPECT_EQ(data["atcs"], "mail");
    EXPECT_EQ(data["atci"], "7");
    EXPECT_EQ(data["k"], "v");
    EXPECT_FALSE(data.contains("__kta"));
    EXPECT_EQ(data["updated_date"].get<std::string>().size(), 12u) << data.dump();
  }
}

TEST_F(CliCommandsTest, InspectionCommandsShowTheStoredStateAndSendNothing) {
  ASSERT_EQ(cli().run({"start"}).status, 0);
  Json launch = server().delivered().back();
  const std::size_t received = server().messages().size();

  CliRun state = cli().run({"state"});
  ASSERT_EQ(state.status, 0) << state.err;
  Json shown = Json::parse(state.out);
  EXPECT_EQ(shown["deviceId"], launch["pushid"]);
  EXPECT_EQ(shown["session"], launch["sessionid"]);
  EXPECT_EQ(shown["settings"]["appid"], "cli-test");
  EXPECT_EQ(shown["settings"]["OrvantaDataModelFirstLaunch"], true);

  EXPECT_TRUE(cli().queue().empty());
  CliRun inbox = cli().run({"inbox"});
  EXPECT_EQ(inbox.status, 0);
  EXPECT_EQ(inbox.out, "") << "no notification was ever delivered";

  EXPECT_EQ(server().messages().size(), received);
  EXPECT_EQ(Json::parse(cli().run({"state"}).out), shown) << "looking changed the state";
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
