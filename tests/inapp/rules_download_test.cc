#include <gtest/gtest.h>

#include <thread>

#include "support/log_lines.h"
#include "support/test_runtime.h"
#include "inapp_harness.h"

namespace orvanta::testing {
namespace {

// The components on the runtime's real request layer, answered by the
// scripted HTTP client.
class ServedRules : public ::testing::Test {
 protected:
  ServedRules() {
    in.getService = [this](const std::string& url, OrvantaWebServiceHandler::GetBlock answered) {
      app.webServiceHandler().callGetService(url, std::move(answered));
    };
  }
  void serve(int status, std::string body) {
    in.platform->http->setResponder([status, body = std::move(body)](const HttpRequest&) {
      return HttpResponse{status, {}, body, {}};
    });
    in.manager.getPopupConfigurationData();
  }
  void serveRules(const std::vector<std::string>& rules) { serve(200, documentText(rules)); }

  InAppHarness in;
  TestRuntime app{in.platform};
};

TEST_F(ServedRules, TheAppsDocumentReplacesTheWholeList) {
  serveRules({ruleText("a", "5"), ruleText("b", "6")});
  ASSERT_EQ(in.platform->http->requestCount(), 1u);
  EXPECT_EQ(in.platform->http->requests()[0].method, "GET");
  EXPECT_EQ(in.platform->http->requests()[0].url, "https://rules.test/inappactivity/app.json");
  EXPECT_EQ(candidateIds(in.manager, 5), Ids{"a"});

  serveRules({ruleText("c", "6")});
  EXPECT_EQ(candidateIds(in.manager, 5), Ids{});
  EXPECT_EQ(candidateIds(in.manager, 6), Ids{"c"});
  serve(200, R"({"InAppRuleList":"none"})");
  EXPECT_EQ(in.manager.arrInAppRules()->rules().size(), 0u);
}

// Whatever goes wrong with a download, the rules in force stay.
TEST_F(ServedRules, AFailedDownloadKeepsTheRules) {
  serveRules({ruleText("a", "5")});
  const std::string deep = R"({"InAppRuleList":)" + std::string(10000, '[') + std::string(10000, ']') + "}";
  const std::pair<int, std::string> failures[] = {
      {404, documentText({ruleText("b", "5")})},
      {500, documentText({ruleText("b", "5")})},
      {0, ""},
      {200, "<html>not json</html>"},
      {200, "5"},
      {200, ""},
      {200, R"({"InAppRuleList":[)"},
      {200, deep},
      {200, std::string("{\"InAppRuleList\":[{\"id\":\"\xff\"}]}")},
  };
  for (const auto& [status, body] : failures) {
    SCOPED_TRACE(std::to_string(status) + " " + body.substr(0, 40));
    LogLines log;
    serve(status, body);
    EXPECT_EQ(candidateIds(in.manager, 5), Ids{"a"});
    EXPECT_TRUE(log.contains("in-app rules not updated"));
  }
}

TEST_F(ServedRules, LargeDocumentsAreReadWhole) {
  const std::string huge(50u << 20, 'x');
  serveRules({ruleText("big", "5", R"("whatTo":")" + huge + "\"")});
  ASSERT_EQ(candidateIds(in.manager, 5), Ids{"big"});
  EXPECT_EQ(in.manager.checkInAppRuleForEventId(5)[0]->strWhatTo->size(), huge.size());

  // 100,000 rules, one per event: an event meets only its own.
  std::vector<std::string> many;
  for (int i = 0; i < 100000; ++i) {
    many.push_back(R"({"id":"r)" + std::to_string(i) + R"(","whomTo":{"eventList":")" + std::to_string(i) + "\"}}");
  }
  serveRules(many);
  EXPECT_EQ(in.manager.arrInAppRules()->rules().size(), 100000u);
  EXPECT_EQ(candidateIds(in.manager, 77777), Ids{"r77777"});
  in.manager.showPopup(99999, {});
  EXPECT_EQ(in.lastTrace().candidates.size(), 1u);
}

TEST(RulesDownloadTest, WithoutARulesServerNothingIsFetched) {
  LogLines log;
  InAppHarness in(0, "");
  in.getService = [](const std::string& url, OrvantaWebServiceHandler::GetBlock) { ADD_FAILURE() << url; };
  in.manager.getPopupConfigurationData();
  EXPECT_TRUE(log.contains("no rules server configured"));
}

// A launch event seen before the rules is evaluated once they arrive, with no
// products; one seen after is evaluated at once and replayed by the next
// download; after a replay no launch event waits again in this process.
TEST(RulesDownloadTest, TheLaunchEventWaitsForTheRules) {
  for (const bool rulesFirst : {false, true}) {
    SCOPED_TRACE(rulesFirst ? "rules first" : "launch first");
    InAppHarness in;
    const std::vector<std::string> rules = {ruleText("launch", "21")};
    if (rulesFirst) in.loadRules(rules);
    in.manager.showPopup(21, Array{Value(Map{{"s^a", "b"}})});
    EXPECT_EQ(in.popupEvent, 21);
    EXPECT_EQ(in.shown().size(), rulesFirst ? 1u : 0u);

    in.loadRules(rules);
    EXPECT_EQ(in.shown().size(), rulesFirst ? 2u : 1u);
    EXPECT_EQ(in.popupEvent, 0);
    EXPECT_EQ(in.manager.prouctsArray(), Array{});

    in.manager.showPopup(20, {});
    in.loadRules(rules);
    EXPECT_EQ(in.shown().size(), rulesFirst ? 2u : 1u);
    EXPECT_EQ(in.popupEvent, 0);
  }
}

TEST(RulesDownloadTest, ANewDownloadLeavesTheCountsOfUnchangedRules) {
  InAppHarness in;
  const std::vector<std::string> rules = {ruleText(
      "a", "5",
      R"("whenTo":{"frequency":3,"frequencyType":"day","modifiedDate":"2023-01-01 00:00:00","campaign":{"days":"Tuesday","from":"0","to":"2359"}})")};
  in.loadRules(rules);
  in.manager.showPopup(5, {});
  const std::optional<OrvantaFrequencyCapping> counted = in.record("a");
  EXPECT_EQ(counted->frequencyRemaining, 2);
  in.model.setStrSessionid("231114230000");
  in.loadRules(rules);
  EXPECT_EQ(in.record("a"), counted);
}

// Events evaluated on another thread while downloads swap lists see the old
// list or the new one, never a mix.
TEST(RulesDownloadTest, EventsSeeOneWholeListWhileDownloadsReplaceIt) {
  InAppHarness in;
  const auto list = [](const std::string& name) {
    return std::vector<std::string>{ruleText(name + "1", "5", R"("toDate":"2023-11-14T00:00:00")"),
                                    ruleText(name + "2", "5")};
  };
  in.loadRules(list("a"));
  constexpr std::size_t kEvents = 2000;
  std::atomic<bool> done{false};
  std::thread events([&] {
    for (std::size_t i = 0; i < kEvents; ++i) in.manager.showPopup(5, {});
    done = true;
  });
  for (int i = 0; !done; ++i) in.loadRules(list(i % 2 ? "a" : "b"));
  events.join();

  const std::vector<Ids> whole = {{"a1", "a2"}, {"b1", "b2"}};
  for (const PopupTrace& trace : in.traces()) {
    Ids ids;
    for (const RuleTrace& rule : trace.candidates) ids.push_back(*rule.ruleId);
    EXPECT_TRUE(ids == whole[0] || ids == whole[1]) << ::testing::PrintToString(ids);
  }
  EXPECT_EQ(in.traces().size(), kEvents);
}

}  // namespace
}  // namespace orvanta::testing
