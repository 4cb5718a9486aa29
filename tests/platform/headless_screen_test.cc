// The screen without a display: its bounds as it turns, what it keeps of
// the pages laid on it, and what its owner is told and can do.
#include "orvanta/platform/headless_screen.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace orvanta {
namespace {

TEST(HeadlessScreenTest, TheBoundsTurnWithTheScreen) {
  EXPECT_EQ(HeadlessScreen(320, 568, Orientation::LandscapeRight).screenBounds(), (Rect{0, 0, 568, 320}));
  HeadlessScreen screen(320, 568);
  int told = 0;
  screen.setOrientationListener([&] { ++told; });
  const std::pair<Orientation, Rect> turns[] = {
      {Orientation::Portrait, {0, 0, 320, 568}},       {Orientation::LandscapeLeft, {0, 0, 568, 320}},
      {Orientation::LandscapeRight, {0, 0, 568, 320}}, {Orientation::PortraitUpsideDown, {0, 0, 320, 568}}};
  for (const auto& [orientation, bounds] : turns) {
    screen.rotate(orientation);
    EXPECT_EQ(screen.orientation(), orientation);
    EXPECT_EQ(screen.screenBounds(), bounds) << static_cast<int>(orientation);
  }
  EXPECT_EQ(told, 4);
  screen.setOrientationListener({});
  screen.rotate(Orientation::LandscapeLeft);
  EXPECT_EQ(told, 4);
}

// The owner sees each page shown, laid out and removed (a layer takes its
// pages with it), plays the page's script after it has loaded, and taps
// outside the page on the layer above the others.
TEST(HeadlessScreenTest, TheOwnerWatchesThePagesAndPlaysTheUser) {
  HeadlessScreen screen(320, 568);
  std::vector<std::string> told;
  const auto tell = [&](const char* what) {
    return [&told, what](const HeadlessScreen::Page& page) {
      told.push_back(std::string(what) + " " + page.ruleId + " " + std::to_string(page.frame.y));
    };
  };
  screen.setObserver({.shown = tell("shown"), .laidOut = tell("laidOut"), .dismissed = tell("dismissed")});
  std::vector<std::string> events;
  const auto request = [&](const std::string& ruleId, Rect frame) {
    return WebPageRequest{.url = "https://x.test/" + ruleId,
                          .frame = frame,
                          .ruleId = ruleId,
                          .popupType = 5,
                          .loaded = [&events, ruleId] { events.push_back("loaded " + ruleId); }};
  };
  EXPECT_EQ(screen.presentWebPage(99, request("z", {})), 0) << "no such layer";
  EXPECT_FALSE(screen.tapOutside());
  EXPECT_FALSE(screen.finishLoading());

  const int lower = screen.presentDimmingLayer({.outsideTapped = [&] { events.push_back("tap lower"); }});
  const int upper = screen.presentDimmingLayer({.outsideTapped = [&] { events.push_back("tap upper"); }});
  screen.presentWebPage(lower, request("a", {0, 1, 2, 3}));
  const int page = screen.presentWebPage(upper, request("b", {0, 20, 320, 548}));
  screen.setWebPageFrame(page, {0, 454.4, 320, 113.6});

  EXPECT_FALSE(screen.callScript("closeAction", {})) << "nothing installed yet";
  screen.installScriptFunction(page, "closeAction", [&](const std::vector<Value>& arguments) {
    events.push_back("close " + std::to_string(arguments.size()));
  });
  EXPECT_TRUE(screen.callScript("closeAction", {Value(1), Value(2)}));
  EXPECT_FALSE(screen.callScript("intentAction", {}));
  EXPECT_TRUE(screen.tapOutside());
  EXPECT_TRUE(screen.finishLoading());
  EXPECT_FALSE(screen.callScript("closeAction", {})) << "a new load starts without them";

  const HeadlessScreen::Page current = screen.currentPage().value();
  EXPECT_EQ(current.url, "https://x.test/b");
  EXPECT_EQ(current.popupType, 5);
  EXPECT_EQ(current.loads, 1);
  EXPECT_TRUE(current.functions.empty());

  screen.dismissDimmingLayer(upper);
  EXPECT_EQ(screen.currentPage()->ruleId, "a");
  screen.dismissWebPage(screen.currentPage()->id);
  screen.dismissDimmingLayer(lower);
  EXPECT_TRUE(screen.pages().empty());
  EXPECT_TRUE(screen.layers().empty());
  EXPECT_EQ(events, (std::vector<std::string>{"close 2", "tap upper", "loaded b"}));
  EXPECT_EQ(told, (std::vector<std::string>{"shown a 1.000000", "shown b 20.000000", "laidOut b 454.400000",
                                            "dismissed b 454.400000", "dismissed a 1.000000"}));
}

}  // namespace
}  // namespace orvanta
