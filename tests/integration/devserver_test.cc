// The reference server (tools/devserver), run in-process and spoken to over real loopback HTTP.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <httplib.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include "devserver/command_line.h"
#include "devserver/dev_server.h"
#include "devserver/fault_controller.h"
#include "platform/testing/temporary_paths.h"

namespace orvanta::devserver {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

const std::string kLaunchBody =
    R"(data={"identity":"a&b=c%20","eventid":21,"sessionid":"S-1","pushid":"P-1","name":"Zoë"})";

std::vector<int> statusesOf(const Json& messages) {
  std::vector<int> statuses;
  for (const auto& message : messages) statuses.push_back(message["status"].get<int>());
  return statuses;
}

class DevServerTest : public ::testing::Test {
 protected:
  DevServerTest() : server_(std::make_unique<DevServer>(options())) {}

  DevServerOptions options() const {
    DevServerOptions options;
    options.db_path = folder() / "messages.sqlite";
    options.rules_dir = folder() / "rules";
    return options;
  }

  std::filesystem::path folder() const { return paths_.root(); }

  httplib::Client site() const { return httplib::Client("127.0.0.1", server_->port()); }

  // Answered status, or 0 when no answer came (connection refused or reset).
  int post(const std::string& method, const std::string& body) const {
    auto result = site().Post("/track/" + method, body, "");
    return result ? result->status : 0;
  }

  // The control API answer; fails the test unless it is 200.
  Json control(const std::string& document) const {
    httplib::Client client("127.0.0.1", server_->controlPort());
    auto result = client.Post("/control", document, "application/json");
    EXPECT_TRUE(result && result->status == 200) << document;
    return result ? Json::parse(result->body) : Json();
  }

  Json controlState() const {
    httplib::Client client("127.0.0.1", server_->controlPort());
    auto result = client.Get("/control");
    return result ? Json::parse(result->body) : Json();
  }

  Json getJson(const std::string& path) const {
    auto result = site().Get(path);
    EXPECT_TRUE(result && result->status == 200) << path;
    return result ? Json::parse(result->body) : Json();
  }

  Json messages(const std::string& query = "") const { return getJson("/api/messages" + query); }

  testing::TemporaryPaths paths_;
  std::unique_ptr<DevServer> server_;
};

TEST_F(DevServerTest, AddressesNameTheServersPortsAndEndInSlash) {
  Json addresses = server_->addresses();
  std::string site = "http://127.0.0.1:" + std::to_string(server_->port()) + "/";
  EXPECT_EQ(addresses["tracking"], site + "track/");
  EXPECT_EQ(addresses["rules"], site + "rules/");
  EXPECT_EQ(addresses["page"], site);
  EXPECT_EQ(addresses["control"],
            "http://127.0.0.1:" + std::to_string(server_->controlPort()) + "/control");
  EXPECT_NE(server_->port(), server_->controlPort());
}

// ---- Tracking ----

TEST_F(DevServerTest, RecordsTheRawBodyHeadersAndDecodedFields) {
  ASSERT_EQ(post("app_activity", kLaunchBody), 200);

  Json all = messages();
  ASSERT_EQ(all.size(), 1u);
  const Json& message = all[0];
  EXPECT_EQ(message["method"], "app_activity");
  EXPECT_EQ(message["status"], 200);
  EXPECT_EQ(message["body"], kLaunchBody);  // not form-decoded: "%20" and "&" stay
  EXPECT_EQ(message["malformed"], false);
  EXPECT_EQ(message["data"].dump(), kLaunchBody.substr(5));  // keys in the order sent
  EXPECT_EQ(message["eventid"], 21);
  EXPECT_EQ(message["event"], "launch");
  EXPECT_EQ(message["identity"], "a&b=c%20");
  EXPECT_EQ(message["sessionid"], "S-1");
  EXPECT_EQ(message["pushid"], "P-1");
  EXPECT_THAT(message["received_at"].get<std::string>(),
              ::testing::MatchesRegex(R"([0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}\.[0-9]{3}Z)"));

  std::vector<std::string> names;
  for (const auto& header : message["headers"]) {
    names.push_back(header["name"]);
    if (header["name"] == "Content-Length") {
      EXPECT_EQ(header["value"], std::to_string(kLaunchBody.size()));
    }
  }
  EXPECT_THAT(names, ::testing::Contains("Content-Length"));
  EXPECT_THAT(names, Not(::testing::Contains("REMOTE_ADDR")));
}

TEST_F(DevServerTest, MethodIsThePercentDecodedRestOfThePath) {
  ASSERT_EQ(post("my%20event", "data={}"), 200);
  EXPECT_EQ(messages()[0]["method"], "my event");
}

TEST_F(DevServerTest, MalformedBodiesAreAnswered400AndStillRecorded) {
  // Nested past any stack a recursive copy or dump could use.
  const std::string deep = "data={\"a\":" + std::string(100'000, '[') + std::string(100'000, ']') + "}";
  const std::vector<std::string> bodies = {"foo=bar", "data=not json", "data=[1,2]", "", deep};
  for (const auto& body : bodies) EXPECT_EQ(post("pn_login", body), 400) << body;

  Json all = messages();
  ASSERT_EQ(all.size(), bodies.size());
  for (std::size_t i = 0; i < bodies.size(); ++i) {
    EXPECT_EQ(all[i]["body"], bodies[i]);
    EXPECT_EQ(all[i]["malformed"], true);
    EXPECT_TRUE(all[i]["data"].is_null());
  }
}

TEST_F(DevServerTest, MessagesSurviveARestartOnTheSameFile) {
  ASSERT_EQ(post("pn_login", R"(data={"eventid":22})"), 200);
  server_.reset();
  server_ = std::make_unique<DevServer>(options());
  Json all = messages();
  ASSERT_EQ(all.size(), 1u);
  EXPECT_EQ(all[0]["eventid"], 22);
}

// ---- Message API and page ----

TEST_F(DevServerTest, CountedFailureIsUsedUpAndMessagesFilterBySinceAndStatus) {
  EXPECT_EQ(control(R"({"fail":{"status":503,"count":1}})")["rules"][0]["remaining"], 1);
  std::vector<int> answered;
  for (int id : {20, 21, 22}) answered.push_back(post("app_activity", "data={\"eventid\":" + std::to_string(id) + "}"));
  EXPECT_THAT(answered, ElementsAre(503, 200, 200));
  EXPECT_TRUE(controlState()["rules"].empty());

  Json all = messages();
  ASSERT_EQ(all.size(), 3u);
  EXPECT_THAT(statusesOf(all), ElementsAre(503, 200, 200));  // every attempt recorded

  Json later = messages("?since=" + std::to_string(all[0]["seq"].get<std::int64_t>()));
  ASSERT_EQ(later.size(), 2u);
  EXPECT_EQ(later[0]["eventid"], 21);  // oldest first
  EXPECT_EQ(later[1]["eventid"], 22);

  Json failed = messages("?status=503");
  ASSERT_EQ(failed.size(), 1u);
  EXPECT_EQ(failed[0]["eventid"], 20);

  EXPECT_EQ(site().Get("/api/messages?since=x")->status, 400);
}

TEST_F(DevServerTest, ClearEmptiesTheListButSequenceNumbersGoOn) {
  post("pn_login", "data={}");
  auto last = messages()[0]["seq"].get<std::int64_t>();
  EXPECT_EQ(site().Delete("/api/messages")->status, 204);
  EXPECT_TRUE(messages().empty());
  post("pn_login", "data={}");
  EXPECT_GT(messages()[0]["seq"].get<std::int64_t>(), last);
}

TEST_F(DevServerTest, CountsDeliveredMessagesPerEventId) {
  control(R"({"fail":{"status":500,"method":"pn_logout"}})");
  post("app_activity", R"(data={"eventid":21})");
  post("app_activity", R"(data={"eventid":21})");
  post("pn_login", R"(data={"eventid":22})");
  post("pn_logout", R"(data={"eventid":23})");  // failed: not delivered
  post("profilePush", R"(data={"name":"x"})");

  Json counts = getJson("/api/counts");
  EXPECT_EQ(counts["received"], 5);
  EXPECT_EQ(counts["delivered"], 4);
  EXPECT_EQ(counts["eventids"],
            Json::parse(R"([{"eventid":null,"event":"profile","count":1},
                            {"eventid":21,"event":"launch","count":2},
                            {"eventid":22,"event":"login","count":1}])"));
}

TEST_F(DevServerTest, LivePageIsServedAsHtmlThatReadsTheApi) {
  auto page = site().Get("/");
  ASSERT_TRUE(page);
  EXPECT_EQ(page->status, 200);
  EXPECT_THAT(page->get_header_value("Content-Type"), HasSubstr("text/html"));
  EXPECT_THAT(page->body, HasSubstr("/api/messages?since="));
  EXPECT_THAT(page->body, HasSubstr("/api/counts"));
}

// ---- Rules ----

TEST_F(DevServerTest, RuleDocumentsAreServedFromTheFolder) {
  std::filesystem::create_directories(folder() / "rules");
  const std::string document = R"({"rules":[{"id":"7","whatTo":"title=Hi"}]})";
  std::ofstream(folder() / "rules" / "app-1.json") << document;
  std::ofstream(folder() / "secret.json") << "{}";

  auto found = site().Get("/rules/inappactivity/app-1.json");
  ASSERT_TRUE(found);
  EXPECT_EQ(found->status, 200);
  EXPECT_EQ(found->body, document);
  EXPECT_EQ(found->get_header_value("Content-Type"), "application/json");

  EXPECT_EQ(site().Get("/rules/inappactivity/other.json")->status, 404);
  EXPECT_EQ(site().Get("/rules/inappactivity/..%2Fsecret.json")->status, 404);
  // Only documents ending in ".json", and only files.
  std::ofstream(folder() / "rules" / "notes.txt") << "private";
  std::filesystem::create_directories(folder() / "rules" / "folder.json");
  EXPECT_EQ(site().Get("/rules/inappactivity/notes.txt%00.json")->status, 404);
  EXPECT_EQ(site().Get("/rules/inappactivity/folder.json")->status, 404);
}

TEST_F(DevServerTest, PopupPageWiresItsButtonsToTheBridgeFunctions) {
  auto page = site().Get(
      "/rules/inapp?title=%3Cb%3ESale&link=https%3A%2F%2Fx.test%2F%3Fq%3D%22a%22%3C%2Fscript%3E");
  ASSERT_TRUE(page);
  EXPECT_EQ(page->status, 200);
  EXPECT_THAT(page->get_header_value("Content-Type"), HasSubstr("text/html"));
  EXPECT_THAT(page->body, HasSubstr(R"x(onclick="closeAction()")x"));
  EXPECT_THAT(page->body, HasSubstr(R"x(onclick="intentAction(orvantaLink)")x"));
  EXPECT_THAT(page->body,
              HasSubstr(R"(var orvantaLink = "https://x.test/?q=\"a\"\u003c/script>";)"));
  EXPECT_THAT(page->body, HasSubstr("<h1>&lt;b&gt;Sale</h1>"));
  EXPECT_THAT(page->body, Not(HasSubstr("<b>Sale")));
}

// ---- Fault modes ----

TEST_F(DevServerTest, ResetGivesTheClientATransportErrorAndIsRecorded) {
  control(R"({"reset":{"count":1}})");
  EXPECT_EQ(post("pn_login", "data={}"), 0);
  EXPECT_EQ(post("pn_login", "data={}"), 200);
  EXPECT_THAT(statusesOf(messages()), ElementsAre(0, 200));
}

TEST_F(DevServerTest, StalledRequestIsAnsweredOnceTheStallIsCleared) {
  control(R"({"stall_ms":600000})");
  auto answer = std::async(std::launch::async, [this] { return post("pn_login", "data={}"); });
  while (controlState()["stalled"] != 1) std::this_thread::sleep_for(std::chrono::milliseconds(5));

  control(R"({"clear":true})");
  EXPECT_EQ(answer.get(), 200);
  EXPECT_EQ(controlState()["stall_ms"], 0);
}

TEST_F(DevServerTest, DownRefusesConnectionsAndUpServesOnTheSamePort) {
  int port = server_->port();
  EXPECT_EQ(control(R"({"down":true})")["down"], true);

  auto refused = site().Post("/track/pn_login", "data={}", "");
  EXPECT_FALSE(refused);
  EXPECT_EQ(refused.error(), httplib::Error::Connection);
  EXPECT_FALSE(site().Get("/api/messages"));  // the whole site port is down
  EXPECT_EQ(controlState()["down"], true);    // the control port is not

  EXPECT_EQ(control(R"({"up":true})")["down"], false);
  EXPECT_EQ(server_->port(), port);
  EXPECT_EQ(post("pn_login", "data={}"), 200);
  EXPECT_EQ(messages().size(), 1u);  // the refused attempt never reached the server
}

TEST_F(DevServerTest, TimedOutageRefusesUntilItEndsOrIsCleared) {
  Json state = control(R"({"down_ms":600000})");
  EXPECT_EQ(state["down"], true);
  EXPECT_GT(state["up_in_ms"].get<int>(), 0);
  EXPECT_EQ(post("pn_login", "data={}"), 0);

  state = control(R"({"clear":true})");
  EXPECT_EQ(state["down"], false);
  EXPECT_TRUE(state["up_in_ms"].is_null());
  EXPECT_EQ(post("pn_login", "data={}"), 200);
}

TEST_F(DevServerTest, ControlRejectsDocumentsItDoesNotUnderstandAndAppliesNothing) {
  httplib::Client client("127.0.0.1", server_->controlPort());
  for (const char* document : {
           "not json",
           "[]",
           R"({"fail":{"status":"500"}})",
           R"({"fail":{"status":200}})",
           R"({"fail":{"count":2}})",
           R"({"reset":{"count":0}})",
           R"({"stall_ms":-1})",
           R"({"up":true,"down":true})",
           R"({"fail":{"status":500,"count":1},"bogus":1})",
       }) {
    auto result = client.Post("/control", document, "application/json");
    ASSERT_TRUE(result);
    EXPECT_EQ(result->status, 400) << document;
    EXPECT_TRUE(Json::parse(result->body).contains("error")) << document;
  }
  EXPECT_TRUE(controlState()["rules"].empty());
  EXPECT_EQ(post("pn_login", "data={}"), 200);
}

// ---- Fault controller ----

TEST(FaultControllerTest, FirstMatchingRuleInOrderAddedDecidesAndUsesUpItsCount) {
  FaultController faults;
  faults.apply({.rules = {{.status = 503, .method = "pn_login"}, {.status = 500, .count = 1}, {}}});

  auto answer = [&](const char* method) {
    FaultDecision d = faults.decide(method);
    return d.reset ? std::string("reset") : std::to_string(d.status);
  };
  EXPECT_EQ(answer("pn_login"), "503");
  EXPECT_EQ(answer("app_activity"), "500");  // the count of 1 is used up here...
  EXPECT_EQ(answer("app_activity"), "reset");  // ...so the reset rule is next
  EXPECT_EQ(answer("pn_login"), "503");

  faults.apply({.clear = true});
  EXPECT_EQ(answer("pn_login"), "200");
}

// ---- Command line ----

TEST(DevServerCommandLineTest, FlagsBecomeOptionsAndStartingFaults) {
  CommandLine line = parseCommandLine({"--port", "8080", "--control-port", "8081", "--db", "/x/m.db",
                                       "--rules-dir", "/r", "--fail-status", "503", "--fail-count",
                                       "2", "--fail-method", "pn_login", "--reset-count", "1",
                                       "--stall-ms", "250", "--print-json"});
  EXPECT_EQ(line.options.port, 8080);
  EXPECT_EQ(line.options.control_port, 8081);
  EXPECT_EQ(line.options.db_path, "/x/m.db");
  EXPECT_EQ(line.options.rules_dir, "/r");
  EXPECT_TRUE(line.print_json);
  EXPECT_THAT(line.options.initial_faults.rules,
              ElementsAre(FaultRule{.status = 503, .method = "pn_login", .count = 2},
                          FaultRule{.count = 1}));
  EXPECT_EQ(line.options.initial_faults.stall, std::chrono::milliseconds(250));
}

TEST(DevServerCommandLineTest, FailStatusAloneFailsEveryRequestAndBadFlagsAreRejected) {
  EXPECT_THAT(parseCommandLine({"--fail-status", "502"}).options.initial_faults.rules,
              ElementsAre(FaultRule{.status = 502}));
  EXPECT_TRUE(parseCommandLine({}).options.initial_faults.rules.empty());

  for (const std::vector<std::string>& bad : std::vector<std::vector<std::string>>{
           {"--port"}, {"--port", "70000"}, {"--port", "12ab"}, {"--fail-status", "200"},
           {"--fail-count", "0"}, {"--verbose"}}) {
    EXPECT_THROW(parseCommandLine(bad), std::invalid_argument) << bad[0];
  }
}

}  // namespace
}  // namespace orvanta::devserver
