#include <gtest/gtest.h>

#include "core/data_model.h"
#include "net/web_service_handler.h"
#include "orvanta/app_tracking.h"
#include "orvanta/json.h"
#include "orvanta/shared_manager.h"
#include "support/test_runtime.h"

namespace orvanta::testing {
namespace {

class EnvelopeTest : public ::testing::Test {
 protected:
  void SetUp() override { app.runtime().sharedManager().setUpApplicationId("app-7"); }
  OrvantaAppTracking& tracking() { return app.runtime().appTracking(); }
  OrvantaWebServiceHandler& handler() { return app.webServiceHandler(); }

  TestRuntime app;
};

// The common fields in table order, then the event, then attribution and the
// advertising id, as "data=" and compact JSON (slashes and non-ASCII text as
// they are) to the base URL plus the method.
TEST_F(EnvelopeTest, TheWireFormIsDataEqualsCompactJsonOfTheCommonFieldsInOrder) {
  tracking().sendAppTrackingEventWithCustomPayload(7, Array{}, nullptr);  // no payload then
  EXPECT_FALSE(app.lastMessage().object.contains("payload"));

  app.platform().standardSettings->set("strUserAgent", "Host/1.0 (x) ");
  app.runtime().sharedManager().setDeepLinkQueryParameters(Map{{"__ktm_source", "mail"}});
  const Array payload{Map{{"s^url", "https://x.io/a?b=1&c=%20"}, {"s^name", "caf\u00e9 \"A\""}}};
  tracking().sendAppTrackingEventWithCustomPayload(101, payload, nullptr);
  const auto request = app.platform().http->requests().back();
  EXPECT_EQ(request.method, "POST");
  EXPECT_EQ(request.url, "https://track.test/app_activity");
  EXPECT_EQ(request.timeoutSeconds, 60);
  using Header = std::pair<std::string, std::string>;
  EXPECT_EQ(request.headers,
            (std::vector<Header>{{"Content-Length", std::to_string(request.body.size())},
                                 {"User-Agent", "Host/1.0 (x) "}}));
  std::string expected =
      R"(data={"identity":"","osversion":"16.4","sdkversion":"2.2.0","appversion":"3.1",)"
      R"("pushid":"PUSHID","appid":"app-7","ostype":"IOS","cts":231114221320,)"
      R"("lat":null,"lng":null,"sessionid":"231114221320","tx":231114221320,"make":"apple",)"
      R"("model":"iphone x","payload":[{"s^url":"https://x.io/a?b=1&c=%20",)"
      R"("s^name":"café \"A\""}],"eventid":101,"atcs":"mail","updated_date":"231114221320",)"
      R"("adid":"00000000-0000-0000-0000-000000000000"})";
  expected.replace(expected.find("PUSHID"), 6, app.dataModel().strPushId());
  EXPECT_EQ(request.body, expected);
}

// "lat" and "lng" are the position kept, full precision, once the tracker
// has started (3 seconds after start-up) and accepted a fix; null before.
TEST_F(EnvelopeTest, LatitudeAndLongitudeAreThePositionKept) {
  auto& location = *app.platform().location;
  location.setAuthorization(LocationAuthorization::WhenInUse);
  const auto sent = [&] {
    handler().callPostService("app_activity", Map{{"eventid", 9}}, nullptr);
    return app.lastMessage();
  };
  app.platform().mainQueue->advance(2.9);
  EXPECT_FALSE(location.updating());
  app.platform().mainQueue->advance(0.1);
  ASSERT_TRUE(location.updating());
  EXPECT_NE(sent().body.find(R"("lat":null,"lng":null,)"), std::string::npos);

  const double now = app.platform().clock->now().secondsSince1970;
  location.deliverFix(LocationFix{48.858370123456789, -2.2944810000000001, 10, now - 1});
  const SentMessage message = sent();
  EXPECT_EQ(*message.object.find("lat"), Value(48.858370123456789));
  EXPECT_EQ(*message.object.find("lng"), Value(-2.2944810000000001));
  EXPECT_NE(message.body.find(R"("lat":48.85837012345679,"lng":-2.294481,)"), std::string::npos) << message.body;
}

TEST_F(EnvelopeTest, EventFieldsOverrideCommonOnesWhereTheyStand) {
  handler().callPostService("app_activity", Map{{"identity", "override"}, {"eventid", 9}}, nullptr);
  EXPECT_EQ(*app.lastMessage().object.begin(),
            (std::pair<std::string, Value>("identity", "override")));
}

TEST_F(EnvelopeTest, GetAnswersParsedJsonOr500) {
  const auto get = [&](int status, std::optional<std::string> body) {
    app.platform().http->setResponder([&](const HttpRequest&) {
      return HttpResponse{status, {}, body, {}};
    });
    std::pair<int, std::optional<Value>> answer{-1, std::nullopt};
    handler().callGetService("https://rules.test/x.json", [&](int s, std::optional<Value> r) {
      answer = {s, std::move(r)};
    });
    return answer;
  };
  EXPECT_EQ(get(200, "[]"), std::pair(200, std::optional<Value>(Array{})));
  EXPECT_EQ(get(200, "{\"a\":1}"), std::pair(200, std::optional<Value>(Map{{"a", 1}})));
  const std::pair<int, std::optional<std::string>> failures[] = {
      {404, "[]"}, {200, "not json"}, {200, std::nullopt}, {0, std::nullopt},
      {200, "5"},  {200, "null"},     {200, "{} {}"}};
  for (const auto& [status, body] : failures) {
    EXPECT_EQ(get(status, body), std::pair(500, std::optional<Value>()))
        << status << " " << body.value_or("(none)");
  }
  EXPECT_EQ(app.platform().http->requests().back().method, "GET");
}

}  // namespace
}  // namespace orvanta::testing
