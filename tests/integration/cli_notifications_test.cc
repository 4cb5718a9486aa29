// The host simulator's notification callbacks run as real processes against
// the reference server: each notification reported delivered and opened
// exactly as its inbox state says, across launches, retries, taps and a kill
// aimed between the inbox write and the report; and the lines that tell what
// the host and the system were asked to do.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>

#include "integration/cli_harness.h"
#include "support/scoped_environment.h"

namespace orvanta::clitest {
namespace {

using ::testing::Contains;
using Lines = std::vector<std::string>;

// Quotes, a percent sign, a backslash and SQL text: stored and matched as it is.
const std::string kAwkwardTrid = R"(it's 50% "off" \ '); DROP TABLE trv_notifications; --)";

std::string payload(const std::string& trid, const std::string& deepLink) {
  return Json{{"aps", {{"alert", {{"title", "Sale"}, {"body", "Half price"}}}}},
              {"payload",
               {{"trid", trid},
                {"deeplink", deepLink},
                {"actionButton", Json::array({{{"actionDeeplink", "https://shop.example/a|b"}, {"actionName", "Shop"}}})}}}}
      .dump();
}

class CliNotificationTest : public CliFixture {
 protected:
  // The answers the server gave to the reports of trid, per method, in order.
  std::map<std::string, std::vector<int>> reportsOf(const std::string& trid) const {
    std::map<std::string, std::vector<int>> answers;
    for (const Json& message : messages()) {
      const Json& data = message.at("data");
      if (data.is_object() && data.value("trid", "") == trid) {
        answers[message.at("method").get<std::string>()].push_back(message.at("status").get<int>());
      }
    }
    return answers;
  }
  // The inbox row of trid as "Status", or "" when there is none.
  std::string inboxStatus(const std::string& trid) const {
    const CliRun listing = run({"inbox"});
    for (const std::string& line : listing.lines()) {
      const Json row = Json::parse(line);
      if (row.value("ID", "") == trid) return row.at("Status").get<std::string>();
    }
    return "";
  }
  CliRun launch(const std::vector<std::string>& words) const {
    std::vector<std::string> all{"--scheme", "myapp"};
    all.insert(all.end(), words.begin(), words.end());
    CliRun launched = run(all);
    EXPECT_EQ(launched.status, 0) << launched.out << launched.err;
    return launched;
  }
};

TEST_F(CliNotificationTest, ANotificationIsReportedOnceAcrossLaunchesRetriesAndTaps) {
  const std::string notification = payload(kAwkwardTrid, "myapp://offer?__ktm_source=mail");
  control({{"fail", {{"status", 500}, {"method", "pn_deliver"}, {"count", 1}}}});
  launch({"receive", notification});  // answered 500: queued, replayed
  launch({"receive", notification});  // a later launch: stored already
  EXPECT_EQ(inboxStatus(kAwkwardTrid), "unread");

  EXPECT_THAT(launch({"respond", "--state", "inactive", notification}).lines(),
              Contains("host-link myapp://offer?__ktm_source=mail"));
  const CliRun tapped = launch({"action", "https://shop.example/a|b", notification});
  EXPECT_THAT(tapped.lines(), Contains("opened https://shop.example/a%7Cb"));
  EXPECT_THAT(tapped.lines(), ::testing::Not(Contains(::testing::StartsWith("host-link"))));
  launch({"respond", "--state", "inactive", notification});
  launch({"extension", notification});
  EXPECT_EQ(inboxStatus(kAwkwardTrid), "read");

  const auto reports = reportsOf(kAwkwardTrid);
  EXPECT_EQ(reports.at("pn_deliver"), (std::vector<int>{500, 200}));
  EXPECT_EQ(reports.at("pn_open"), std::vector<int>{200});
}

// The process ends (through the CLI's test hook) right after the inbox
// write's transaction, before the report is sent: the inbox shows the new
// state, the report is journaled with it, and the next launch sends it,
// once; doing the same again reports nothing more.
TEST_F(CliNotificationTest, AKillBetweenTheInboxWriteAndTheReportLosesNothingAndAddsNothing) {
  struct Case {
    std::string trid;
    std::vector<std::string> before;  // commands run normally first
    std::vector<std::string> killed;
    std::string method;
    std::string statusAfter;
  };
  const std::vector<Case> cases{
      {"k-deliver", {}, {"receive", payload("k-deliver", "myapp://k")}, "pn_deliver", "unread"},
      {"k-open",
       {"receive", payload("k-open", "myapp://k")},
       {"respond", "--state", "inactive", payload("k-open", "myapp://k")},
       "pn_open",
       "read"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.method);
    if (!c.before.empty()) launch(c.before);
    {
      testing::ScopedEnvironment hook("ORVANTA_CLI_EXIT_BEFORE_SENDING", c.method);
      std::vector<std::string> words{"--scheme", "myapp"};
      words.insert(words.end(), c.killed.begin(), c.killed.end());
      const CliRun killed = run(words);
      ASSERT_EQ(killed.status, 3) << killed.out << killed.err;
    }
    EXPECT_FALSE(reportsOf(c.trid).contains(c.method)) << "nothing was sent before the kill";
    EXPECT_EQ(inboxStatus(c.trid), c.statusAfter);

    launch({"start"});
    EXPECT_EQ(reportsOf(c.trid)[c.method], std::vector<int>{200}) << "the journaled report arrived";
    launch(c.killed);
    EXPECT_EQ(reportsOf(c.trid)[c.method], std::vector<int>{200}) << "and no second one";
  }
}

TEST_F(CliNotificationTest, OutputLinesTellWhatTheHostAndTheSystemWereAskedToDo) {
  const Json carousel{{"payload", {{"trid", "c"}, {"carousel", Json::array({{{"imgUrl", "https://i.example/1"}}})}}}};
  const Json buttons{{"payload",
                      {{"trid", "b"},
                       {"actionButton", Json::array({{{"actionDeeplink", "myapp://one"}, {"actionName", "One"}},
                                                     {{"actionDeeplink", "https://two.example/"}, {"actionName", "Two"}}})}}}};
  struct Case {
    std::vector<std::string> words;
    Lines lines;  // before "queue empty"
  };
  const std::vector<Case> cases{
      {{"--scheme", "myapp", "respond", payload("t1", "myapp://x?k=v")}, {"host-link myapp://x?k=v"}},
      {{"--scheme", "myapp", "--no-delegate", "respond", payload("t2", "myapp://y")}, {}},
      {{"respond", R"({"payload":{"trid":"t3"}})"}, {"host-link -"}},
      {{"--scheme", "myapp", "respond", payload("t4", "https://x.example/?q=myapp|1")},
       {"opened https://x.example/?q=myapp%7C1"}},
      {{"respond", payload("t5", "myapp://not-declared")}, {"opened myapp://not-declared"}},
      {{"--system-version", "9.0", "receive", payload("t6", "")}, {"local-notification Sale | Half price"}},
      {{"--system-version", "8.1", "receive", payload("t7", "")}, {"local-notification  | Half price"}},
      {{"extension", buttons.dump()}, {"categories trevanicPush [myapp://one, https://two.example/]"}},
      {{"extension", "--category", "trevanicPush", carousel.dump()}, {"categories trevanicPushCategory [Next, Previous]"}},
      {{"--scheme", "myapp", "launch-from", payload("t8", "myapp://launched")}, {"host-link myapp://launched"}},
      {{"--scheme", "myapp", "present", "--identifier", "LocalNotification", payload("t9", "myapp://shown")},
       {"host-link myapp://shown"}},
      {{"--scheme", "myapp", "local", "--state", "background", payload("t10", "myapp://local")},
       {"host-link myapp://local"}},
      {{"receive", R"({"payload":{"trid":42}})"}, {}},
  };
  for (const Case& c : cases) {
    std::vector<std::string> words{"--quiet"};
    words.insert(words.end(), c.words.begin(), c.words.end());
    SCOPED_TRACE(::testing::PrintToString(c.words));
    const CliRun launched = run(words);
    Lines expected = c.lines;
    expected.push_back("queue empty");
    EXPECT_EQ(launched.lines(), expected) << launched.err;
  }
}

}  // namespace
}  // namespace orvanta::clitest
