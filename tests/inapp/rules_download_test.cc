#include <gtest/gtest.h>

#include <thread>

#include "support/log_lines.h"
#include "support/test_runtime.h"
#include "inapp_harness.h"

namespace orvanta::testing {
namespace {

// The app's document replaces the whole list with the rule maps of its
// "InAppRuleList", however large; whatever goes wrong with a download, the
// rules in force stay. The components are on the runtime's real request
// layer, answered by the scripted HTTP client.
TEST(RulesDownloadTest, ADownloadReplacesTheWholeListOrFailsAndKeepsIt) {
  InAppHarness in;
  TestRuntime app{in.platform};
  in.getService = [&](const std::string& url, auto answered) {
    app.webServiceHandler().callGetService(url, std::move(answered));
  };
  const auto serve = [&](int status, const std::string& body) {
    in.platform->http->setResponder([status, body](const HttpRequest&) { return HttpResponse{status, {}, body, {}}; });
    in.manager.getPopupConfigurationData();
  };
  const std::string deep = R"({"InAppRuleList":)" + std::string(10000, '[') + std::string(10000, ']') + "}";
  // 100,000 rules, one per event, the last one for event 5.
  std::vector<std::string> many;
  for (int i = 100004; i >= 5; --i) many.push_back(ruleText("r" + std::to_string(i), std::to_string(i)));
  const std::tuple<int, std::string, Ids> cases[] = {
      {200, documentText({ruleText("b", "6"), ruleText("c", "5")}), {"c"}},
      {200, documentText({"1", R"("a")", ruleText("c", "5"), "null", "[" + ruleText("x", "5") + "]", ruleText("d", "5"),
                          R"({"whomTo":{"eventList":"5"}})"}),
       {"-", "c", "d"}},
      {200, R"({"InAppRuleList":"none"})", {}},
      {200, R"({"InAppRuleList":{"id":"b","whomTo":{"eventList":"5"}}})", {}},
      {200, R"({"rules":[{"id":"b","whomTo":{"eventList":"5"}}]})", {}},
      {200, "[" + ruleText("b", "5") + "]", {}},
      {200, documentText({ruleText("big", "5", R"("whatTo":")" + std::string(50u << 20, 'x') + "\"")}), {"big"}},
      {200, documentText(many), {"r5"}},
      {404, documentText({ruleText("b", "5")}), {"a"}},
      {0, "", {"a"}},
      {200, "5", {"a"}},
      {200, "", {"a"}},
      {200, R"({"InAppRuleList":[)", {"a"}},
      {200, deep, {"a"}},
      {200, std::string("{\"InAppRuleList\":[{\"id\":\"\xff\"}]}"), {"a"}},
  };
  for (const auto& [status, body, ids] : cases) {
    SCOPED_TRACE(std::to_string(status) + " " + body.substr(0, 60));
    serve(200, documentText({ruleText("a", "5")}));
    LogLines log;
    serve(status, body);
    EXPECT_EQ(candidateIds(in.manager, 5), ids);
    EXPECT_EQ(log.contains("in-app rules not updated"), ids == Ids{"a"});
  }
  EXPECT_EQ(in.platform->http->requests()[0].method, "GET");
  EXPECT_EQ(in.platform->http->requests()[0].url, "https://rules.test/inappactivity/app.json");
}

TEST(RulesDownloadTest, WithoutARulesServerNothingIsFetched) {
  LogLines log;
  InAppHarness in(0, "");
  in.getService = [](const std::string& url, OrvantaWebServiceHandler::GetBlock) { ADD_FAILURE() << url; };
  in.manager.getPopupConfigurationData();
  EXPECT_TRUE(log.contains("no rules server configured"));
}

// Offline an event is not evaluated, counted, remembered or left waiting.
// A launch event seen before the rules is evaluated once they arrive, with no
// products; one seen after is evaluated at once and replayed by the next
// download; after a replay no launch event waits again in this process.
TEST(RulesDownloadTest, TheLaunchEventWaitsForTheRulesButNotOffline) {
  const std::vector<std::string> rules = {
      ruleText("21", "21", R"("whenTo":{"frequency":3,"frequencyType":"day","campaign":{"days":"tuesday","from":"0",)"
                           R"("to":"2359"}})")};
  const Array sale{Value(Map{{"s^a", "b"}})};
  for (const bool rulesFirst : {false, true}) {
    SCOPED_TRACE(rulesFirst ? "rules first" : "launch first");
    InAppHarness in;
    if (rulesFirst) in.loadRules(rules);
    in.reachable = false;
    in.manager.showPopup(21, sale);
    EXPECT_TRUE(in.traces().back().offline);
    EXPECT_EQ(in.popupEvent, kPopupEventNone);
    EXPECT_EQ(in.manager.prouctsArray(), Array{});

    in.reachable = true;
    in.manager.showPopup(21, sale);
    EXPECT_EQ(in.popupEvent, 21);
    EXPECT_EQ(in.shown().size(), rulesFirst ? 1u : 0u);
    EXPECT_EQ(in.manager.prouctsArray(), sale);

    in.loadRules(rules);
    EXPECT_EQ(in.shown().size(), rulesFirst ? 2u : 1u);
    EXPECT_EQ(in.record("21")->frequencyRemaining, rulesFirst ? 1 : 2);
    EXPECT_EQ(in.popupEvent, 0);
    EXPECT_EQ(in.manager.prouctsArray(), Array{});

    in.manager.showPopup(20, {});
    in.loadRules(rules);
    EXPECT_EQ(in.shown().size(), rulesFirst ? 2u : 1u);
    EXPECT_EQ(in.popupEvent, 0);
  }
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
  std::atomic<bool> done{false};
  std::thread events([&] {
    for (int i = 0; i < 2000; ++i) in.manager.showPopup(5, {});
    done = true;
  });
  for (int i = 0; !done; ++i) in.loadRules(list(i % 2 ? "a" : "b"));
  events.join();

  const std::vector<PopupTrace> traces = in.traces();
  EXPECT_EQ(traces.size(), 2000u);
  for (const PopupTrace& trace : traces) {
    Ids ids;
    for (const RuleTrace& rule : trace.candidates) ids.push_back(*rule.ruleId);
    EXPECT_TRUE((ids == Ids{"a1", "a2"} || ids == Ids{"b1", "b2"})) << ::testing::PrintToString(ids);
  }
}

}  // namespace
}  // namespace orvanta::testing
