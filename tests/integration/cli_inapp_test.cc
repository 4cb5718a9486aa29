// The in-app rules as a host sees them through the host simulator, against
// the reference server's rule documents: the launch event replayed when the
// rules arrive, product filters, a cap that stops a showing, and the dry run
// that explains without counting.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <map>

#include "integration/cli_harness.h"
#include "integration/rule_document.h"

namespace orvanta::clitest {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using testing::ruleListeningTo;
using ::testing::StartsWith;
using Lines = std::vector<std::string>;

// Every day, and hours from before midnight ("-1") to after the last minute:
// a campaign that is always open, so that its cap is consulted.
const Json kAlwaysOpen = {
    {"days", "monday,tuesday,wednesday,thursday,friday,saturday,sunday"}, {"from", "-1"}, {"to", "24:00"}};

Json forCategory(Json rule, const std::string& category) {
  rule["whomTo"]["everyone"] = "new";
  rule["whomTo"]["filter"] = Json::array({{{"filter", "s^category"}, {"value", category}}});
  return rule;
}

Json cappedInCampaign(Json rule, int frequency) {
  rule["whenTo"] = {{"frequency", frequency}, {"frequencyType", "campaign"}, {"campaign", kAlwaysOpen}};
  return rule;
}

// "popup RULEID" of each popup shown (the rest of its line left out).
Lines popupLines(const CliRun& run) {
  Lines popups;
  for (const std::string& line : run.lines()) {
    if (line.starts_with("popup ") && line.find(" layout ") != std::string::npos) {
      popups.push_back(line.substr(0, line.find(" layout ")));
    }
  }
  return popups;
}

class CliInAppTest : public CliFixture {
 protected:
  // The rules are held past the first second after start-up, which the rules'
  // spent time ("more than 0 seconds") needs before anything shows.
  std::vector<std::string> serverOptions() const override { return {"--rules-delay-ms", "1100"}; }

  void publish(const std::vector<Json>& rules) const {
    std::ofstream(rulesDir() / "cli-test.json") << Json{{"InAppRuleList", rules}}.dump();
  }
  CliRun launch(const std::vector<std::string>& words) const {
    CliRun launched = run(words);
    EXPECT_EQ(launched.status, 0) << launched.out << launched.err;
    return launched;
  }
};

TEST_F(CliInAppTest, TheLaunchEventIsReplayedOnceWhenTheRulesArriveAndTheCommandRunsAfterThem) {
  publish({cappedInCampaign(ruleListeningTo("1", "20"), 5), ruleListeningTo("2", "21")});
  const CliRun started = launch({"start"});
  const Lines first = started.lines();
  // Event 20 went out before the rules came; their arrival replays it.
  const auto download = std::find(first.begin(), first.end(), "http GET /rules/inappactivity/cli-test.json -> 200");
  const auto popup = std::find_if(first.begin(), first.end(), [](const std::string& line) {
    return line.starts_with("popup ");
  });
  ASSERT_NE(download, first.end());
  ASSERT_NE(popup, first.end());
  EXPECT_LT(download, popup);
  EXPECT_EQ(popupLines(started), Lines{"popup 1"});

  // A later launch sends 21; the rules listing runs once they are in force.
  const CliRun second = launch({"rules"});
  EXPECT_EQ(popupLines(second), Lines{"popup 2"});
  EXPECT_THAT(second.lines(), Contains(StartsWith(R"({"id":"1","eventList":"20","frequency":5,)"
                                                  R"("frequencyType":"campaign","frequencyRemaining":4,)")));
  EXPECT_THAT(second.lines(), Contains(R"({"id":"2","eventList":"21"})"));
}

TEST_F(CliInAppTest, FiltersChooseTheRuleTheCapStopsTheThirdShowingAndTheDryRunSaysWhy) {
  publish({cappedInCampaign(forCategory(ruleListeningTo("2", "101"), "shoes"), 2),
           forCategory(ruleListeningTo("3", "101"), "hats")});
  const std::string shoes = R"({"s^category":"Running SHOES"})";
  const std::vector<Lines> expected{{"popup 2"}, {"popup 2"}, {}};
  for (const Lines& popups : expected) EXPECT_EQ(popupLines(launch({"track", "101", shoes})), popups);
  EXPECT_EQ(popupLines(launch({"track", "101", R"([{"s^category":"socks"},{"s^category":"hats"}])"})),
            Lines{"popup 3"});

  const Lines rulesBefore = launch({"--quiet", "rules"}).lines();
  const CliRun why = launch({"--quiet", "why", "101", shoes});
  EXPECT_THAT(why.lines(), ElementsAre("rule 2: fails frequencyCap (the "
                                       "frequency cap allows no showing now)",
                                       StartsWith("rule 3: fails audience ("), "winner none", "queue empty"));
  EXPECT_EQ(launch({"--quiet", "rules"}).lines(), rulesBefore) << "the dry run counts nothing";
  EXPECT_THAT(launch({"--quiet", "why", "101", R"({"s^category":"hats"})"}).lines(),
              ElementsAre(StartsWith("rule 2: fails audience ("), "rule 3: passes", "winner 3", "queue empty"));
}

TEST_F(CliInAppTest, ThePopupIsLaidOutAndItsShowingClickAndCloseReachTheServerWithTheirBodies) {
  Json bottomBanner = ruleListeningTo("7", "101");
  bottomBanner["whereTo"] = "2";
  publish({bottomBanner});
  const std::string page = rulesUrl() + "inapp?title=7";
  const Json shown = Json::array({{{"i^mid", 7}}});
  struct Case {
    std::vector<std::string> words;
    Lines lines;  // the popup's lines, in order
    // The popup's reports, by event id: their "payload" (they may arrive in
    // any order, each on a connection of its own).
    std::map<int, Json> reports;
  };
  const std::vector<Case> cases{
      {{"--popup", "click=https://shop.example/a b", "track", "101"},
       {"popup 7 layout 2 frame 0,454.4,320,113.6 page " + page, "popup clicked https://shop.example/a b",
        "opened https://shop.example/a%20b"},
       {{41, shown}, {42, Json::array({{{"i^mid", 7}, {"s^trv-c2a", "https://shop.example/a b"}}})}}},
      {{"--popup", "click", "--landscape", "track", "101"},
       {"popup 7 layout 2 frame 0,256,568,64 page " + page, "popup clicked "},
       {{41, shown}, {42, shown}}},
      {{"--popup", "close", "--screen", "400x800", "track", "101"},
       {"popup 7 layout 2 frame 0,640,400,160 page " + page, "popup closed"},
       {{41, shown}, {43, shown}}},
      {{"track", "101"}, {"popup 7 layout 2 frame 0,454.4,320,113.6 page " + page}, {{41, shown}}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.words.front() + " " + c.words[1]);
    const std::size_t before = messages().size();
    Lines popup;
    for (const std::string& line : launch(c.words).lines()) {
      if (line.starts_with("popup ") || line.starts_with("opened ")) popup.push_back(line);
    }
    EXPECT_EQ(popup, c.lines);

    const Json sent = messages();
    std::map<int, Json> reports;
    for (std::size_t m = before; m < sent.size(); ++m) {
      const Json& data = sent[m].at("data");
      const int eventId = data.at("eventid").get<int>();
      if (eventId < 41 || eventId > 43) continue;
      EXPECT_FALSE(reports.contains(eventId)) << "reported twice: " << eventId;
      reports[eventId] = data.at("payload");
      // The report's own maker and model: as the envelope has them.
      EXPECT_EQ(data.at("make"), "apple");
      EXPECT_EQ(data.at("model"), sent[before].at("data").at("model"));
    }
    EXPECT_EQ(reports, c.reports);
  }
}

TEST_F(CliInAppTest, AMessageCarriesThePositionOnceTheUserLetsTheAppHaveIt) {
  launch({"--location", "59.91,10.75", "--after", "3.5", "track", "5"});
  const Json sent = messages();
  ASSERT_EQ(sent.size(), 2u);
  // The launch event leaves before the position is asked for, 3 s after start-up.
  EXPECT_TRUE(sent[0].at("data").at("lat").is_null());
  EXPECT_EQ(sent[1].at("data").at("eventid"), 5);
  EXPECT_EQ(sent[1].at("data").at("lat"), 59.91);
  EXPECT_EQ(sent[1].at("data").at("lng"), 10.75);
}

TEST_F(CliInAppTest, WithoutARulesDocumentTheCommandRunsAndNothingShows) {
  const CliRun launched = launch({"why", "101"});
  EXPECT_THAT(launched.lines(), Contains("http GET /rules/inappactivity/cli-test.json -> 404"));
  EXPECT_THAT(launched.lines(), Contains("winner none"));
  EXPECT_EQ(launch({"--quiet", "rules"}).lines(), Lines{"queue empty"});
}

}  // namespace
}  // namespace orvanta::clitest
