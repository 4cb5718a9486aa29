// The notification inbox on a real SQLite file: delivery once, the 10-row
// window, the prefix match of opening, and values holding quotes.
#include <gtest/gtest.h>

#include "support/database_probe.h"
#include "storage/database_source.h"
#include "support/test_runtime.h"

namespace orvanta {
namespace {

Map notification(const std::string& trid) {
  return Map{{"aps", Map{{"alert", Map{{"title", "Sale"}, {"body", "Today only"}}}, {"badge", 3}}},
             {"payload", Map{{"trid", trid}, {"deeplink", "shop://offers?atcm=spring"}}}};
}

class NotificationInboxTest : public ::testing::Test {
 protected:
  void SetUp() override { inbox().createDatabase(); }

  DatabaseSource& inbox() { return runtime_.runtime().databaseSource(); }
  // Every stored row, oldest first, as (ID, Status), straight from the file.
  std::vector<std::vector<std::string>> storedRows() {
    return testing::DatabaseProbe(testing::databasePathIn(runtime_.platform().paths->documentsDirectory()))
        .rows("SELECT ID, Status FROM trv_notifications ORDER BY rowid");
  }
  std::vector<std::string> listedIds() {
    std::vector<std::string> ids;
    for (const Value& record : inbox().GetAllReceivedNotifications())
      ids.push_back(*record.asMap()->find("ID")->asString());
    return ids;
  }
  // Each delivery one second after the one before, so the order is defined.
  void deliver(const std::string& trid) {
    runtime_.platform().clock->advance(1);
    inbox().NotificationReceived(notification(trid), "unread");
  }

  testing::TestRuntime runtime_;
};

TEST_F(NotificationInboxTest, DeliveryStoresTheWholeNotificationUnreadWithItsTime) {
  Map rich = notification("t-1");
  rich.set("extra", Map{{"list", Array{1, 2.5, "x", Value(Null{})}}, {"raw", Bytes{0, 255}}, {"flag", true}});
  inbox().NotificationReceived(rich, "unread");

  const Array records = inbox().GetAllReceivedNotifications();
  ASSERT_EQ(records.size(), 1u);
  const Map& record = *records[0].asMap();
  EXPECT_EQ(*record.find("ID"), Value("t-1"));
  EXPECT_EQ(*record.find("MessageData"), Value(rich));
  EXPECT_EQ(*record.find("DeliverTime"), Value("231114221320")) << "the test clock's local time, yyMMddHHmmss";
  EXPECT_EQ(*record.find("Status"), Value("unread"));
  EXPECT_TRUE(inbox().isTRIDPresent("t-1"));
  EXPECT_FALSE(inbox().isTRIDOpened("t-1"));
}

TEST_F(NotificationInboxTest, ASecondDeliveryLeavesOneRowMarkedRead) {
  deliver("t-1");
  deliver("t-1");
  EXPECT_EQ(storedRows(), (std::vector<std::vector<std::string>>{{"t-1", "read"}}));
  EXPECT_TRUE(inbox().isTRIDOpened("t-1"));
}

TEST_F(NotificationInboxTest, ANotificationWithoutTextTridIsNotStored) {
  inbox().NotificationReceived(Map{{"aps", Map{}}}, "unread");
  inbox().NotificationReceived(Map{{"payload", Map{{"deeplink", "shop://x"}}}}, "unread");
  inbox().NotificationReceived(Map{{"payload", Map{{"trid", 42}}}}, "unread");
  EXPECT_TRUE(storedRows().empty());
}

TEST_F(NotificationInboxTest, OpeningMarksEveryRowWhoseIdBeginsWithTheTrid) {
  deliver("abc");
  deliver("abcdef");
  deliver("xabc");
  inbox().NotificationOpened(notification("abc"), "read");
  EXPECT_EQ(storedRows(),
            (std::vector<std::vector<std::string>>{{"abc", "read"}, {"abcdef", "read"}, {"xabc", "unread"}}));
  EXPECT_TRUE(inbox().isTRIDOpened("abcdef"));
  EXPECT_FALSE(inbox().isTRIDOpened("xabc"));
  EXPECT_FALSE(inbox().isTRIDOpened("ab")) << "lookups match whole ids";
}

TEST_F(NotificationInboxTest, QuotesInTridAndStatusAreStoredAndMatched) {
  deliver("o'brien");
  deliver("o'brien-2");
  deliver("o");
  EXPECT_TRUE(inbox().isTRIDPresent("o'brien"));
  inbox().NotificationOpened(notification("o'brien"), "read by 'me'");
  EXPECT_EQ(storedRows(), (std::vector<std::vector<std::string>>{
                              {"o'brien", "read by 'me'"}, {"o'brien-2", "read by 'me'"}, {"o", "unread"}}));
  // A quote cannot end the text early and widen the match to every row.
  inbox().NotificationOpened(notification("' OR 1=1 --"), "read");
  EXPECT_EQ(storedRows()[2][1], "unread");
}

TEST_F(NotificationInboxTest, OnlyTheTenNewestRowsAreListedOrConsulted) {
  for (int i = 1; i <= 11; ++i) deliver("t" + std::to_string(i));
  EXPECT_EQ(listedIds(), (std::vector<std::string>{"t11", "t10", "t9", "t8", "t7", "t6", "t5", "t4", "t3", "t2"}));

  inbox().NotificationOpened(notification("t1"), "read");
  EXPECT_EQ(storedRows()[0], (std::vector<std::string>{"t1", "read"})) << "the update itself sees every row";
  EXPECT_FALSE(inbox().isTRIDPresent("t1"));
  EXPECT_FALSE(inbox().isTRIDOpened("t1"));
  // So the oldest one, delivered again, is stored again.
  deliver("t1");
  EXPECT_EQ(storedRows().size(), 12u);
  EXPECT_EQ(listedIds().front(), "t1");
}

TEST_F(NotificationInboxTest, DeleteAllEmptiesTheInbox) {
  deliver("t1");
  deliver("t2");
  EXPECT_TRUE(inbox().DeleteAllReceivedNotifications());
  EXPECT_TRUE(inbox().GetAllReceivedNotifications().empty());
  EXPECT_FALSE(inbox().isTRIDPresent("t1"));
}

}  // namespace
}  // namespace orvanta
