#include <gtest/gtest.h>

#include <cstdint>
#include <thread>

#include "inapp_harness.h"
#include "support/test_runtime.h"

namespace orvanta::testing {
namespace {

const Rect kPortrait{0, 0, 320, 568};
const Rect kLandscape{0, 0, 568, 320};

// The popups of this file, shown straight through showView.
class PopupTest : public ::testing::Test {
 protected:
  PopupTest() { views().setScreen(kPortrait, Orientation::Portrait); }

  RecordingViews& views() { return *in.platform->views; }
  // A rule parsed from its JSON members.
  std::shared_ptr<const OrvantaInAppRules> rule(const std::string& members) {
    const std::vector<OrvantaInAppRules> rules =
        in.parser.parserInAppRules(json(R"({"InAppRuleList":[{)" + members + "}]}"));
    EXPECT_EQ(rules.size(), 1u) << members;
    return rules.empty() ? nullptr : std::make_shared<const OrvantaInAppRules>(rules.front());
  }
  // Shows it, runs the main queue and finishes loading its page.
  HeadlessScreen::Page show(std::shared_ptr<const OrvantaInAppRules> shown) {
    in.manager.showView(std::move(shown));
    run();
    views().finishLoading();
    run();
    return views().currentPage().value_or(HeadlessScreen::Page{});
  }
  void run() { in.platform->mainQueue->runUntilIdle(); }
  // The event ids reported so far, with "app_activity" as their method.
  std::vector<std::int64_t> reportedEvents() {
    std::vector<std::int64_t> ids;
    for (const auto& report : in.reports()) {
      EXPECT_EQ(report.method, "app_activity");
      ids.push_back(*report.info.find("eventid")->asInteger());
    }
    return ids;
  }
  static Map report(std::int64_t eventId, Value mid, const std::string& value = "") {
    Map item{{"i^mid", std::move(mid)}};
    if (!value.empty()) item.set("s^trv-c2a", value);
    return Map{{"eventid", eventId}, {"payload", Array{item}}, {"make", "apple"}, {"model", "iphone x"}};
  }

  InAppHarness in;
};

// The page's frame by "whereTo", as the screen turns. Fractions of the
// screen are exact: 0.8 × 568 is 454.4.
TEST_F(PopupTest, FiveLayoutsInPortraitAndLandscape) {
  struct Case {
    const char* whereTo;  // JSON value of "whereTo", nullptr: none
    std::int64_t popupType;
    Rect portrait;
    Rect landscape;
  };
  const Rect fullPortrait{0, 20, 320, 548};
  const Rect fullLandscape{0, 0, 568, 300};
  const Case cases[] = {
      {R"("1")", 1, {0, 20, 320, 113.6}, {0, 0, 568, 64}},
      {R"("2")", 2, {0, 454.4, 320, 113.6}, {0, 256, 568, 64}},
      {R"("3")", 3, {16, 56.8, 288, 454.4}, {28.4, 32, 511.2, 256}},
      {R"("4")", 4, {16, 142, 288, 255.6}, {28.4, 80, 511.2, 144}},
      {R"("5")", 5, fullPortrait, fullLandscape},
      {"2", 2, {0, 454.4, 320, 113.6}, {0, 256, 568, 64}},
      {R"(" 4.9xyz")", 4, {16, 142, 288, 255.6}, {28.4, 80, 511.2, 144}},
      {"true", 1, {0, 20, 320, 113.6}, {0, 0, 568, 64}},
      {R"("7")", 7, fullPortrait, fullLandscape},
      {R"("-2")", -2, fullPortrait, fullLandscape},
      {R"("99999999999999999999")", INT64_MAX, fullPortrait, fullLandscape},
      {R"("top")", 0, fullPortrait, fullLandscape},
      {"[2]", 0, fullPortrait, fullLandscape},
      {R"({"at":2})", 0, fullPortrait, fullLandscape},
      {"null", 0, fullPortrait, fullLandscape},
      {nullptr, 0, fullPortrait, fullLandscape},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.whereTo ? c.whereTo : "no whereTo");
    const std::string whereTo = c.whereTo ? R"(,"whereTo":)" + std::string(c.whereTo) : "";
    for (const auto& [screen, orientation, frame] :
         {std::tuple{kPortrait, Orientation::Portrait, c.portrait},
          std::tuple{kPortrait, Orientation::PortraitUpsideDown, c.portrait},
          std::tuple{kLandscape, Orientation::LandscapeLeft, c.landscape},
          std::tuple{kLandscape, Orientation::LandscapeRight, c.landscape}}) {
      views().setScreen(screen, orientation);
      const HeadlessScreen::Page page = show(rule(R"("id":"8")" + whereTo));
      EXPECT_EQ(in.manager.popupType(), c.popupType);
      EXPECT_EQ(page.popupType, c.popupType);
      EXPECT_EQ(page.frame, frame) << static_cast<int>(orientation);
    }
  }
  // Without a rule: layout 5, full screen, the page without a query.
  views().setScreen(kPortrait, Orientation::Portrait);
  const HeadlessScreen::Page page = show(nullptr);
  EXPECT_EQ(in.manager.popupType(), 5);
  EXPECT_EQ(page.frame, fullPortrait);
  EXPECT_EQ(page.url, "https://rules.test/inapp?");
  EXPECT_EQ(page.ruleId, "");
}

// Each download listens to the turns again; a turn lays the page out anew,
// and the bounds swap as the screen turns.
TEST_F(PopupTest, TurningTheScreenLaysThePageOutAgain) {
  show(rule(R"("id":"8","whereTo":"2")"));
  views().rotate(Orientation::LandscapeLeft);
  run();
  EXPECT_EQ(views().currentPage()->frame, (Rect{0, 454.4, 320, 113.6})) << "nobody listens before a download";

  in.loadRules({});
  in.loadRules({});
  run();
  const std::pair<Orientation, Rect> turns[] = {
      {Orientation::Portrait, {0, 454.4, 320, 113.6}},
      {Orientation::LandscapeRight, {0, 256, 568, 64}},
      {Orientation::LandscapeLeft, {0, 256, 568, 64}},
      {Orientation::PortraitUpsideDown, {0, 454.4, 320, 113.6}},
  };
  for (const auto& [orientation, frame] : turns) {
    views().rotate(orientation);
    run();
    EXPECT_EQ(views().currentPage()->frame, frame) << static_cast<int>(orientation);
  }
  // With no popup up a turn changes nothing.
  in.manager.close();
  views().rotate(Orientation::LandscapeLeft);
  run();
  EXPECT_TRUE(views().layers().empty());
  EXPECT_EQ(reportedEvents(), (std::vector<std::int64_t>{41}));
}

// The page loads from the rules server with "whatTo" as it is, however odd;
// 41 is reported as it starts loading, before it has loaded.
TEST_F(PopupTest, ThePageIsTheRulesServersWithWhatToAsItIs) {
  const std::string big(10 * 1024, 'q');
  const std::pair<std::string, std::string> cases[] = {
      {R"("whatTo":"popup=8&lang=en")", "popup=8&lang=en"},
      {R"("whatTo":"a b \"c\" #d %20 'e'")", "a b \"c\" #d %20 'e'"},
      {R"("whatTo":")" + big + "\"", big},
      {R"("whatTo":7)", "7"},
      {R"("whatTo":["x"])", ""},
      {"", ""},
  };
  for (const auto& [members, query] : cases) {
    SCOPED_TRACE(members.substr(0, 40));
    in.manager.showView(rule(R"("id":"8")" + (members.empty() ? "" : "," + members)));
    run();
    const HeadlessScreen::Page page = views().currentPage().value();
    EXPECT_EQ(page.url, "https://rules.test/inapp?" + query);
    EXPECT_EQ(page.loads, 0);
    EXPECT_EQ(in.reports().back().info, report(41, 8));
  }
}

// A new popup takes the place of the one up, and a tap outside the page
// closes it: neither reports anything. A tap that comes after another popup
// has been asked for closes only the one it was made on.
TEST_F(PopupTest, ReplacingAndTappingOutsideCloseWithoutAReport) {
  show(rule(R"("id":"1")"));
  show(rule(R"("id":"2")"));
  EXPECT_EQ(views().pages().size(), 1u);
  EXPECT_EQ(views().layers().size(), 1u);
  EXPECT_EQ(views().currentPage()->ruleId, "2");

  ASSERT_TRUE(views().tapOutside());
  run();
  EXPECT_FALSE(views().currentPage());
  EXPECT_TRUE(views().layers().empty());
  EXPECT_EQ(in.manager.bgView(), 0);
  EXPECT_EQ(in.manager.adView(), nullptr);

  show(rule(R"("id":"3")"));
  in.manager.showView(rule(R"("id":"4")"));  // from this thread: waits for the main queue
  views().tapOutside();                       // on popup 3
  run();
  EXPECT_EQ(views().currentPage()->ruleId, "4");
  EXPECT_EQ(reportedEvents(), (std::vector<std::int64_t>{41, 41, 41, 41}));
  EXPECT_TRUE(in.platform->appHost->openedURLs().empty());
}

// What the page's script calls, and what each reports and opens. The clicked
// value is converted as a script writes it, reported as it is and opened
// percent-encoded for a URL query.
TEST_F(PopupTest, TheScriptsCallsReportAndOpen) {
  struct Case {
    const char* function;
    std::vector<Value> arguments;
    std::string reported;  // "s^trv-c2a"; "" for none
    std::string opened;    // "" for nothing
  };
  const std::string huge(1 << 20, 'z');
  const Case cases[] = {
      {"closeAction", {}, "", ""},
      {"closeAction", {Value("ignored")}, "", ""},
      {"intentAction", {Value("https://shop.test/p?id=1&x=a b")}, "https://shop.test/p?id=1&x=a b",
       "https://shop.test/p?id=1&x=a%20b"},
      {"intentAction", {Value(5)}, "5", "5"},
      {"intentAction", {Value(2.5)}, "2.5", "2.5"},
      {"intentAction", {Value("")}, "", ""},
      {"intentAction", {Value(Null{})}, "null", "null"},
      {"intentAction", {}, "undefined", "undefined"},
      {"intentAction", {Value(true), Value("second")}, "true", "true"},
      {"intentAction", {Value(Map{{"a", 1}})}, "[object Object]", "%5Bobject%20Object%5D"},
      {"intentAction", {Value(Array{1, Null{}, "a", Array{2, 3}})}, "1,,a,2,3", "1,,a,2,3"},
      {"intentAction", {Value("say \"hi\" #top|%20 caf\u00e9")}, "say \"hi\" #top|%20 caf\u00e9",
       "say%20%22hi%22%20%23top%7C%2520%20caf%C3%A9"},
      {"intentAction", {Value(huge)}, huge, huge},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.function) + " " + c.reported.substr(0, 40));
    show(rule(R"("id":"17")"));
    const std::size_t opened = in.platform->appHost->openedURLs().size();
    ASSERT_TRUE(views().callScript(c.function, c.arguments));
    run();
    const bool click = std::string(c.function) == "intentAction";
    EXPECT_EQ(in.reports().back().info, report(click ? 42 : 43, 17, c.reported));
    EXPECT_FALSE(views().currentPage()) << "closed";
    const std::vector<std::string> urls = in.platform->appHost->openedURLs();
    EXPECT_EQ(std::vector<std::string>(urls.begin() + static_cast<std::ptrdiff_t>(opened), urls.end()),
              c.opened.empty() ? std::vector<std::string>{} : std::vector<std::string>{c.opened});
  }
}

// "i^mid" is the rule id's leading integer; without an id it is "".
TEST_F(PopupTest, TheReportNamesTheRuleByItsNumber) {
  const std::pair<std::string, Value> cases[] = {
      {R"("id":"17")", 17}, {R"("id":"abc")", 0}, {R"("id":" 12x")", 12}, {R"("id":"")", 0}, {R"("whereTo":"1")", ""}};
  for (const auto& [members, mid] : cases) {
    show(rule(members));
    views().callScript("closeAction", {});
    run();
    EXPECT_EQ(in.reports().back().info, report(43, mid)) << members;
  }
  show(nullptr);
  EXPECT_EQ(in.reports().back().info, report(41, ""));
}

// The page's functions exist once it has loaded, again after each load; a
// call that arrives once the popup is closed finds nobody and does nothing.
TEST_F(PopupTest, LateAndEarlyScriptCallsDoNothing) {
  in.manager.showView(rule(R"("id":"9")"));
  run();
  EXPECT_FALSE(views().callScript("closeAction", {})) << "not loaded yet";
  views().finishLoading();
  run();
  views().finishLoading();
  run();
  EXPECT_EQ(views().currentPage()->functions, (std::vector<std::string>{"closeAction", "intentAction"}));
  EXPECT_EQ(views().currentPage()->loads, 2);

  // Both calls are made before the main queue runs the first.
  views().callScript("intentAction", {Value("https://a.test/")});
  views().callScript("intentAction", {Value("https://b.test/")});
  views().callScript("closeAction", {});
  views().tapOutside();
  run();
  EXPECT_EQ(reportedEvents(), (std::vector<std::int64_t>{41, 42}));
  EXPECT_EQ(in.platform->appHost->openedURLs(), (std::vector<std::string>{"https://a.test/"}));
  EXPECT_FALSE(views().callScript("closeAction", {}));
  EXPECT_FALSE(views().tapOutside());
}

// Showing from another thread waits for the main queue; so do the popups
// of events tracked there.
TEST_F(PopupTest, ShowingFromAnotherThreadHopsToTheMainQueue) {
  std::thread other([this] { in.manager.showView(rule(R"("id":"5","whereTo":"2")")); });
  other.join();
  EXPECT_FALSE(views().currentPage()) << "nothing before the main queue runs";
  run();
  EXPECT_EQ(views().currentPage()->ruleId, "5");
  EXPECT_EQ(views().currentPage()->frame, (Rect{0, 454.4, 320, 113.6}));
}

// The reports go through the request layer as "app_activity" messages, the
// popup's fields after the common ones.
TEST_F(PopupTest, TheReportsOnTheWire) {
  TestRuntime app{in.platform};
  in.postService = [&](const std::string& method, const Map& info, StatusBlock block) {
    app.webServiceHandler().callPostService(method, info, std::move(block));
  };
  show(rule(R"("id":"17")"));
  views().callScript("intentAction", {Value(5)});
  run();
  const std::vector<SentMessage> sent = app.sentMessages();
  ASSERT_EQ(sent.size(), 2u);
  for (const SentMessage& message : sent) EXPECT_EQ(message.method, "app_activity");
  EXPECT_NE(sent[0].body.find(R"("make":"apple","model":"iphone x",)"), std::string::npos) << sent[0].body;
  EXPECT_NE(sent[0].body.find(R"("eventid":41,"payload":[{"i^mid":17}])"), std::string::npos) << sent[0].body;
  EXPECT_NE(sent[1].body.find(R"("eventid":42,"payload":[{"i^mid":17,"s^trv-c2a":"5"}])"), std::string::npos)
      << sent[1].body;
}

}  // namespace
}  // namespace orvanta::testing
