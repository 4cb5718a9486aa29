// Following links: the app's own schemes go to the host's delegate with
// their attribution, everything else (and anything holding "http") to the
// system; action buttons; the delegate held weakly; the web page screen.
#include <gtest/gtest.h>

#include "notifications/notification_fixture.h"
#include "orvanta/open_in_service.h"
#include "orvanta/web_view_controller.h"

namespace orvanta::testing {
namespace {

using Texts = std::vector<std::string>;

TEST_F(NotificationTest, TheSchemeTestFindsADeclaredSchemeAnywhereInTheLinkIgnoringCase) {
  const std::vector<std::pair<const char*, bool>> cases{
      {"myapp://offer", true},      {"MyApp://offer", true},        {"x://go?to=myapp", true},
      {"notmyapp://x", true},       {"my-app://offer", false},      {"https://shop.example/", false},
      {"", false},
  };
  for (const auto& [link, matches] : cases) EXPECT_EQ(manager().doesMatchURLScheme(link), matches) << link;
}

TEST_F(NotificationTest, OwnLinksGoToTheDelegateAndAllOthersToTheSystem) {
  struct Case {
    const char* link;
    bool toHost;
  };
  const std::vector<Case> cases{
      {"myapp://offer?__ktm_source=mail&k=v", true},
      {"myapp://offer?u=http%3A", false},  // holds "http": the system opens it
      {"HTTPS://shop.example/a|b", false},
      {"other://x", false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.link);
    const std::size_t opened = platform().appHost->openedURLs().size();
    const std::size_t handed = hostLinks.size();
    manager().handleDeepLink(c.link, notification("t"));
    EXPECT_EQ(hostLinks.size() - handed, c.toHost ? 1u : 0u);
    EXPECT_EQ(platform().appHost->openedURLs().size() - opened, c.toHost ? 0u : 1u);
  }
  EXPECT_EQ(hostLinks, Texts{"myapp://offer?__ktm_source=mail&k=v"});
  EXPECT_EQ(platform().appHost->openedURLs(),
            (Texts{"myapp://offer?u=http%3A", "HTTPS://shop.example/a%7Cb", "other://x"}));
  // No link: the delegate hears of the opening all the same.
  manager().handleDeepLink(std::nullopt, notification("t"));
  EXPECT_EQ(hostLinks.back(), "-");
}

// The link's query parameters are the attribution from the moment the host
// gets it, so the opening's own report carries them.
TEST_F(NotificationTest, AnOwnLinkBecomesTheAttributionOfTheOpeningReportAndLaterMessages) {
  manager().handleOpenAction(notification("t-1", "myapp://offer?__ktm_source=mail&__ktm_medium=push&__kta=x"));
  app.runtime().appTracking().sendAppTrackingEvent(101, nullptr);
  const auto sent = app.sentMessages();
  ASSERT_EQ(sent.size(), 2u);
  for (const SentMessage& message : sent) {
    SCOPED_TRACE(message.method);
    EXPECT_EQ(*message.object.find("atcs"), Value("mail"));
    EXPECT_EQ(*message.object.find("atcm"), Value("push"));
    EXPECT_FALSE(message.object.contains("__kta"));
  }
}

TEST_F(NotificationTest, WithoutADelegateThatTakesLinksOwnLinksAreDroppedAndOthersStillOpen) {
  const std::vector<std::pair<const char*, std::shared_ptr<OrvantaPushTaskManagerDelegate>>> hosts{
      {"no delegate", nullptr},
      {"a delegate without the operation", std::make_shared<OrvantaPushTaskManagerDelegate>()},
  };
  for (const auto& [what, delegate] : hosts) {
    SCOPED_TRACE(what);
    manager().setDelegate(delegate);
    manager().handleDeepLink("myapp://offer?__ktm_source=mail", notification("t"));
    manager().handleDeepLink("https://shop.example/", notification("t"));
    manager().handleDeepLink(std::nullopt, notification("t"));
  }
  EXPECT_TRUE(hostLinks.empty());
  EXPECT_EQ(platform().appHost->openedURLs(), (Texts{"https://shop.example/", "https://shop.example/"}));
  EXPECT_FALSE(platform().standardSettings->get("OrvantaAttribution")) << "a dropped link sets no attribution";
}

TEST_F(NotificationTest, TheDelegateIsHeldWeaklyAndNotCalledOnceTheHostLetsItGo) {
  EXPECT_EQ(manager().delegate(), host);
  host.reset();
  EXPECT_EQ(manager().delegate(), nullptr);
  manager().handleDeepLink("myapp://offer", notification("t"));
  EXPECT_TRUE(hostLinks.empty());
}

// The button's link once, one "pn_open", the notification's own link not
// followed; the flag stays until the next remote notification.
TEST_F(NotificationTest, AnActionButtonFollowsItsLinkOnceAndReportsOneOpening) {
  const Map userInfo = notification("t-1", "myapp://own");
  manager().didReceiveRemoteNotification(userInfo);
  manager().handleActionWithIdentifier("myapp://button", userInfo, Map{});
  EXPECT_TRUE(manager().isFromActionButton());
  manager().handleActionWithIdentifier("https://shop.example/button", userInfo, Map{});
  manager().handleActionWithIdentifier(std::nullopt, userInfo, Map{});
  EXPECT_EQ(hostLinks, Texts{"myapp://button"});
  EXPECT_EQ(platform().appHost->openedURLs(), Texts{"https://shop.example/button"});
  EXPECT_EQ(reports(), (Texts{"pn_deliver t-1", "pn_open t-1"}));

  manager().handleOpenAction(notification("t-2", "myapp://own"));
  EXPECT_EQ(hostLinks, Texts{"myapp://button"}) << "while the flag is set, openings follow no link";
  manager().didReceiveRemoteNotification(Map{});
  EXPECT_FALSE(manager().isFromActionButton());
}

TEST_F(NotificationTest, OpenInReplacesEveryBarBeforeTheSystemOpensTheLink) {
  app.runtime().openInService().openIn("https://x.example/?a=1|2||3");
  app.runtime().openInService().openIn("|");
  EXPECT_EQ(platform().appHost->openedURLs(), (Texts{"https://x.example/?a=1%7C2%7C%7C3", "%7C"}));
}

TEST_F(NotificationTest, TheWebPageScreenShowsItsLinkAndHandsTappedLinksToTheSystem) {
  auto& views = *platform().views;
  auto controller = std::make_unique<WebViewController>(platform().views, app.runtime().openInService());
  controller->setStrLink("https://shop.example/page");
  controller->viewDidLoad();
  ASSERT_EQ(views.screens().size(), 1u);
  const auto [id, screen] = *views.screens().begin();
  EXPECT_EQ(controller->webView(), id);
  EXPECT_EQ(screen.url, "https://shop.example/page");
  EXPECT_EQ(screen.title, "WebPage");

  EXPECT_TRUE(screen.shouldStartLoad("https://shop.example/redirected", false));
  EXPECT_FALSE(screen.shouldStartLoad("https://elsewhere.example/a|b", true));
  EXPECT_EQ(platform().appHost->openedURLs(), Texts{"https://elsewhere.example/a%7Cb"});

  screen.cancelTapped();
  EXPECT_TRUE(views.screens().empty());
  EXPECT_EQ(controller->webView(), 0);
  EXPECT_FALSE(controller->strLink());

  // A screen still shown goes with its controller; its page reaches nothing after.
  controller->setStrLink("https://shop.example/again");
  controller->viewDidLoad();
  const WebScreenRequest again = views.screens().begin()->second;
  controller.reset();
  EXPECT_TRUE(views.screens().empty());
  EXPECT_FALSE(again.shouldStartLoad("https://elsewhere.example/late", true));
  again.cancelTapped();
  EXPECT_EQ(platform().appHost->openedURLs().size(), 1u);
}

}  // namespace
}  // namespace orvanta::testing
