// The category registered for a notification the service extension
// prepared: its action buttons, the carousel's buttons, or none; each
// registration replaces every category.
#include <gtest/gtest.h>

#include "notifications/notification_fixture.h"
#include "orvanta/platform/notification_center.h"

namespace orvanta::testing {
namespace {

constexpr int kForeground = kNotificationActionOptionForeground;
constexpr int kAuthenticate = kNotificationActionOptionAuthenticationRequired;

// "identifier:title:options" for each action.
std::string describe(const NotificationCategory& category) {
  std::string text = category.identifier;
  for (const NotificationAction& action : category.actions) {
    text += " " + action.identifier + ":" + action.title + ":" + std::to_string(action.options);
  }
  return text;
}

TEST_F(NotificationTest, EachPreparedNotificationRegistersTheAppsOneCategory) {
  const Array carousel{Map{{"imgUrl", "https://img.example/1.png"}}};
  struct Case {
    const char* what;
    Map payload;
    const char* category;
    std::string registered;
    int logLines;
  };
  const std::vector<Case> cases{
      {"buttons", Map{{"actionButton", Array{Map{{"actionDeeplink", " myapp://a\n"}, {"actionName", "\tOpen "}},
                                              Map{{"actionDeeplink", 7}, {"actionName", "Seven"}}}}},
       "", "trevanicPush myapp://a:Open:" + std::to_string(kForeground) + " 7:Seven:" + std::to_string(kForeground), 0},
      {"buttons win over the carousel",
       Map{{"actionButton", Array{Map{{"actionDeeplink", "l"}, {"actionName", "n"}}}}, {"carousel", carousel}},
       "trevanicPush", "trevanicPush l:n:" + std::to_string(kForeground), 0},
      {"carousel", Map{{"actionButton", Array{}}, {"carousel", carousel}}, "trevanicPush",
       "trevanicPushCategory Next:Next:" + std::to_string(kAuthenticate) + " Previous:Previous:" +
           std::to_string(kAuthenticate),
       0},
      {"carousel in another category", Map{{"carousel", carousel}}, "trevanicPushCategory", "trevanicPush", 0},
      {"nothing", Map{}, "", "trevanicPush", 0},
      {"buttons not an array", Map{{"actionButton", Map{{"actionDeeplink", "l"}}}}, "", "trevanicPush", 1},
      {"entries without their keys",
       Map{{"actionButton", Array{Map{{"actionName", "no link"}}, "text", Map{{"actionDeeplink", "l"}, {"actionName", "n"}},
                                  Map{{"actionDeeplink", Array{}}, {"actionName", "n"}}}}},
       "", "trevanicPush l:n:" + std::to_string(kForeground), 1},
  };
  int trid = 0;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    Map payload = c.payload;
    payload.set("trid", "c" + std::to_string(++trid));
    const std::size_t lines = log.lines().size();
    manager().didReceiveNotificationRequest({"request", Map{{"payload", payload}}, c.category});
    const auto registrations = platform().notificationCenter->categoryRegistrations();
    ASSERT_EQ(registrations.size(), static_cast<std::size_t>(trid));
    ASSERT_EQ(registrations.back().size(), 1u) << "one category replaces all";
    EXPECT_EQ(describe(registrations.back().front()), c.registered);
    EXPECT_EQ(log.lines().size() - lines, static_cast<std::size_t>(c.logLines));
  }
  // Each was received as a remote notification is.
  EXPECT_EQ(inbox().size(), cases.size());
}

}  // namespace
}  // namespace orvanta::testing
