#include <gtest/gtest.h>

#include "core/data_model.h"
#include "net/web_service_handler.h"
#include "orvanta/app_tracking.h"
#include "orvanta/json.h"
#include "orvanta/shared_manager.h"
#include "support/test_runtime.h"

namespace orvanta::testing {
namespace {

std::vector<std::string> keysOf(const Map& map) {
  std::vector<std::string> keys;
  for (const auto& entry : map) keys.push_back(entry.first);
  return keys;
}

class EnvelopeTest : public ::testing::Test {
 protected:
  void SetUp() override { app.runtime().sharedManager().setUpApplicationId("app-7"); }
  OrvantaAppTracking& tracking() { return app.runtime().appTracking(); }

  TestRuntime app;
};

TEST_F(EnvelopeTest, CommonFieldsComeInTableOrderThenTheEventThenSessionAndAdid) {
  tracking().sendAppTrackingEventWithCustomPayload(101, Array{Map{{"s^name", "shoe"}, {"i^qty", 2}}}, nullptr);
  const SentMessage sent = app.lastMessage();
  EXPECT_EQ(sent.method, "app_activity");
  EXPECT_EQ(keysOf(sent.object),
            (std::vector<std::string>{"identity", "osversion", "sdkversion", "appversion", "pushid", "appid", "ostype",
                                      "cts", "lat", "lng", "sessionid", "tx", "make", "model", "payload", "eventid",
                                      "adid"}));
  const Map& o = sent.object;
  EXPECT_EQ(*o.find("identity"), Value(""));
  EXPECT_EQ(*o.find("osversion"), Value("16.4"));
  EXPECT_EQ(*o.find("sdkversion"), Value("2.2.0"));
  EXPECT_EQ(*o.find("appversion"), Value("3.1"));
  EXPECT_EQ(*o.find("pushid"), Value(app.runtime().dataModel().strPushId()));
  EXPECT_EQ(*o.find("appid"), Value("app-7"));
  EXPECT_EQ(*o.find("ostype"), Value("IOS"));
  EXPECT_EQ(*o.find("cts"), Value(231114221320));
  EXPECT_EQ(*o.find("tx"), Value(231114221320));
  EXPECT_TRUE(o.find("lat")->isNull());
  EXPECT_TRUE(o.find("lng")->isNull());
  EXPECT_EQ(*o.find("sessionid"), Value("231114221320"));
  EXPECT_EQ(*o.find("make"), Value("apple"));
  EXPECT_EQ(*o.find("model"), Value("iphone x"));
  EXPECT_EQ(*o.find("payload"), Value(Array{Map{{"s^name", "shoe"}, {"i^qty", 2}}}));
  EXPECT_EQ(*o.find("eventid"), Value(101));
  EXPECT_EQ(*o.find("adid"), Value("00000000-0000-0000-0000-000000000000"));
}

TEST_F(EnvelopeTest, TheWireFormIsDataEqualsCompactJsonToTheBaseUrlPlusMethod) {
  tracking().sendAppTrackingEventWithCustomPayload(
      5, Array{Map{{"s^url", "https://x.io/a?b=1&c=%20"}, {"s^name", "caf\u00e9 \"A\""}, {"f^price", 89.9}}}, nullptr);
  const auto request = app.platform().http->requests().back();
  EXPECT_EQ(request.method, "POST");
  EXPECT_EQ(request.url, "https://track.test/app_activity");
  EXPECT_EQ(request.timeoutSeconds, 60);
  ASSERT_EQ(request.headers.size(), 2u);
  EXPECT_EQ(request.headers[0], (std::pair<std::string, std::string>{"Content-Length", std::to_string(request.body.size())}));
  EXPECT_EQ(request.headers[1], (std::pair<std::string, std::string>{"User-Agent", ""}));
  const Map object = app.lastMessage().object;
  EXPECT_EQ(request.body, "data=" + dumpJson(object));  // compact, in build order
  // Neither form-encoded nor escaped beyond what JSON needs: slashes and
  // non-ASCII text go as they are.
  EXPECT_NE(request.body.find(R"("payload":[{"s^url":"https://x.io/a?b=1&c=%20","s^name":"café \"A\"",)"
                              R"("f^price":89.9}],"eventid":5,)"),
            std::string::npos)
      << request.body;
}

TEST_F(EnvelopeTest, AStoredUserAgentGoesOutAndMethodNamesArePercentEncoded) {
  app.platform().standardSettings->set("strUserAgent", "Host/1.0 (x) ");
  app.runtime().webServiceHandler().postRequestDataToTheServer("odd method%", "data={}", nullptr);
  const auto request = app.platform().http->requests().back();
  EXPECT_EQ(request.url, "https://track.test/odd%20method%25");

  // The URL-fragment set: letters, digits and -._~!$&'()*+,;=:@/? stay.
  app.runtime().webServiceHandler().postRequestDataToTheServer("#[]^{}|\"<>\\`\u00e9?/:@!$&'()*+,;=~-._",
                                                               "data={}", nullptr);
  EXPECT_EQ(app.platform().http->requests().back().url,
            "https://track.test/%23%5B%5D%5E%7B%7D%7C%22%3C%3E%5C%60%C3%A9?/:@!$&'()*+,;=~-._");
  EXPECT_EQ(request.headers[1].second, "Host/1.0 (x) ");
  EXPECT_EQ(app.runtime().dataModel().strUserAgent(), "Host/1.0 (x) ");
}

TEST_F(EnvelopeTest, EventFieldsOverrideCommonOnes) {
  app.runtime().webServiceHandler().callPostService("app_activity", Map{{"identity", "override"}, {"eventid", 9}}, nullptr);
  const Map o = app.lastMessage().object;
  EXPECT_EQ(*o.find("identity"), Value("override"));
  EXPECT_EQ(keysOf(o).front(), "identity");  // replaced where it stood
}

TEST_F(EnvelopeTest, EmptyProductDataSendsNoPayload) {
  tracking().sendAppTrackingEventWithCustomPayload(7, Array{}, nullptr);
  EXPECT_FALSE(app.lastMessage().object.contains("payload"));
}

TEST_F(EnvelopeTest, GetAnswersParsedJsonOr500) {
  auto& http = *app.platform().http;
  auto& handler = app.runtime().webServiceHandler();
  struct Case {
    int status;
    std::optional<std::string> body;
    int expectStatus;
    std::optional<Value> expectResult;
  };
  const std::vector<Case> cases = {
      {200, "[]", 200, Value(Array{})},       {200, "{\"a\":1}", 200, Value(Map{{"a", 1}})},
      {404, "[]", 500, std::nullopt},         {200, "not json", 500, std::nullopt},
      {200, std::nullopt, 500, std::nullopt}, {0, std::nullopt, 500, std::nullopt},
      {200, "5", 500, std::nullopt},          {200, "null", 500, std::nullopt},
  };
  for (const auto& c : cases) {
    http.setResponder([&](const HttpRequest&) { return HttpResponse{c.status, {}, c.body, {}}; });
    int status = -1;
    std::optional<Value> result;
    handler.callGetService("https://rules.test/x.json", [&](int s, std::optional<Value> r) {
      status = s;
      result = std::move(r);
    });
    EXPECT_EQ(status, c.expectStatus) << c.body.value_or("(none)");
    EXPECT_EQ(result, c.expectResult) << c.body.value_or("(none)");
  }
  const auto request = http.requests().back();
  EXPECT_EQ(request.method, "GET");
  EXPECT_TRUE(request.headers.empty());
}

}  // namespace
}  // namespace orvanta::testing
