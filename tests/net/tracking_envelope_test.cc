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
  OrvantaWebServiceHandler& handler() { return app.runtime().webServiceHandler(); }

  TestRuntime app;
};

TEST_F(EnvelopeTest, CommonFieldsComeInTableOrderThenTheEventThenAttributionAndAdid) {
  const Array payload{Map{{"s^name", "shoe"}, {"i^qty", 2}}};
  tracking().sendAppTrackingEventWithCustomPayload(7, Array{}, nullptr);  // no payload then
  EXPECT_FALSE(app.lastMessage().object.contains("payload"));

  app.runtime().sharedManager().setDeepLinkQueryParameters(Map{{"__ktm_source", "mail"}});
  tracking().sendAppTrackingEventWithCustomPayload(101, payload, nullptr);
  const SentMessage sent = app.lastMessage();
  EXPECT_EQ(sent.method, "app_activity");
  EXPECT_EQ(sent.object, (Map{{"identity", ""}, {"osversion", "16.4"}, {"sdkversion", "2.2.0"}, {"appversion", "3.1"},
                              {"pushid", app.runtime().dataModel().strPushId()}, {"appid", "app-7"},
                              {"ostype", "IOS"}, {"cts", 231114221320}, {"lat", Null{}}, {"lng", Null{}},
                              {"sessionid", "231114221320"}, {"tx", 231114221320}, {"make", "apple"},
                              {"model", "iphone x"}, {"payload", payload}, {"eventid", 101}, {"atcs", "mail"},
                              {"updated_date", "231114221320"}, {"adid", "00000000-0000-0000-0000-000000000000"}}));
}

TEST_F(EnvelopeTest, TheWireFormIsDataEqualsCompactJsonToTheBaseUrlPlusMethod) {
  tracking().sendAppTrackingEventWithCustomPayload(
      5, Array{Map{{"s^url", "https://x.io/a?b=1&c=%20"}, {"s^name", "caf\u00e9 \"A\""}, {"f^price", 89.9}}}, nullptr);
  const auto request = app.platform().http->requests().back();
  EXPECT_EQ(request.method, "POST");
  EXPECT_EQ(request.url, "https://track.test/app_activity");
  EXPECT_EQ(request.timeoutSeconds, 60);
  using Header = std::pair<std::string, std::string>;
  EXPECT_EQ(request.headers,
            (std::vector<Header>{{"Content-Length", std::to_string(request.body.size())}, {"User-Agent", ""}}));
  EXPECT_EQ(request.body, "data=" + dumpJson(app.lastMessage().object));  // compact, in build order
  // Neither form-encoded nor escaped beyond what JSON needs: slashes and
  // non-ASCII text go as they are.
  EXPECT_NE(request.body.find(R"("payload":[{"s^url":"https://x.io/a?b=1&c=%20","s^name":"café \"A\"",)"
                              R"("f^price":89.9}],"eventid":5,)"),
            std::string::npos)
      << request.body;
}

TEST_F(EnvelopeTest, AStoredUserAgentGoesOutAndMethodNamesArePercentEncoded) {
  app.platform().standardSettings->set("strUserAgent", "Host/1.0 (x) ");
  // The URL-fragment set: letters, digits and -._~!$&'()*+,;=:@/? stay.
  handler().postRequestDataToTheServer("odd method%#[]^{}|\"<>\\`\u00e9?/:@!$&'()*+,;=~-._", "data={}", nullptr);
  const auto request = app.platform().http->requests().back();
  EXPECT_EQ(request.url, "https://track.test/odd%20method%25%23%5B%5D%5E%7B%7D%7C%22%3C%3E%5C%60%C3%A9?/:@!$&'()*+,;=~-._");
  EXPECT_EQ(request.headers[1].second, "Host/1.0 (x) ");
  EXPECT_EQ(app.runtime().dataModel().strUserAgent(), "Host/1.0 (x) ");
}

TEST_F(EnvelopeTest, EventFieldsOverrideCommonOnesWhereTheyStand) {
  handler().callPostService("app_activity", Map{{"identity", "override"}, {"eventid", 9}}, nullptr);
  const Map o = app.lastMessage().object;
  EXPECT_EQ(o.begin()->first, "identity");
  EXPECT_EQ(o.begin()->second, Value("override"));
}

TEST_F(EnvelopeTest, GetAnswersParsedJsonOr500) {
  struct Case {
    int status;
    std::optional<std::string> body;
    std::optional<Value> result;  // answered with 200; none: 500
  };
  const Case cases[] = {{200, "[]", Value(Array{})}, {200, "{\"a\":1}", Value(Map{{"a", 1}})}, {404, "[]", {}},
                        {200, "not json", {}},     {200, std::nullopt, {}},                  {0, std::nullopt, {}},
                        {200, "5", {}},            {200, "null", {}}};
  for (const Case& c : cases) {
    app.platform().http->setResponder([&](const HttpRequest&) { return HttpResponse{c.status, {}, c.body, {}}; });
    int status = -1;
    std::optional<Value> result;
    handler().callGetService("https://rules.test/x.json", [&](int s, std::optional<Value> r) {
      status = s;
      result = std::move(r);
    });
    EXPECT_EQ(status, c.result ? 200 : 500) << c.status << " " << c.body.value_or("(none)");
    EXPECT_EQ(result, c.result) << c.status << " " << c.body.value_or("(none)");
  }
  const auto request = app.platform().http->requests().back();
  EXPECT_EQ(request.method, "GET");
  EXPECT_TRUE(request.headers.empty());
}

}  // namespace
}  // namespace orvanta::testing
