// The reference server (tools/devserver), run in-process and spoken to over real loopback HTTP.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <httplib.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "devserver/dev_server.h"
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

  Json messages(const std::string& query = "") const {
    auto result = site().Get("/api/messages" + query);
    EXPECT_TRUE(result && result->status == 200) << query;
    return result ? Json::parse(result->body) : Json();
  }

  testing::TemporaryPaths paths_;
  std::unique_ptr<DevServer> server_;
};

// ---- Tracking and the message API ----

TEST_F(DevServerTest, RecordsEveryPostRawWithItsDecodedFieldsAndAnswersMalformedOnes400) {
  ASSERT_EQ(post("app_activity", kLaunchBody), 200);
  ASSERT_EQ(post("my%20event", "data={}"), 200);
  // Nested past any stack a recursive copy or dump could use.
  const std::string deep = "data={\"a\":" + std::string(100'000, '[') + std::string(100'000, ']') + "}";
  const std::vector<std::string> malformed = {"foo=bar", "data=not json", "data=[1,2]", "", deep};
  for (const auto& body : malformed) EXPECT_EQ(post("pn_login", body), 400) << body;

  Json all = messages();
  ASSERT_EQ(all.size(), 2 + malformed.size());
  const Json& launch = all[0];
  EXPECT_EQ(launch["method"], "app_activity");
  EXPECT_EQ(launch["status"], 200);
  EXPECT_EQ(launch["body"], kLaunchBody);  // not form-decoded: "%20" and "&" stay
  EXPECT_EQ(launch["malformed"], false);
  EXPECT_EQ(launch["data"].dump(), kLaunchBody.substr(5));  // keys in the order sent
  EXPECT_EQ(launch["eventid"], 21);
  EXPECT_EQ(launch["event"], "launch");
  EXPECT_EQ(launch["identity"], "a&b=c%20");
  EXPECT_THAT(launch["headers"], ::testing::Contains(Json{{"name", "Content-Length"},
                                                          {"value", std::to_string(kLaunchBody.size())}}));
  EXPECT_EQ(all[1]["method"], "my event") << "the percent-decoded rest of the path";
  for (std::size_t i = 0; i < malformed.size(); ++i) {
    EXPECT_EQ(all[2 + i]["body"], malformed[i]);
    EXPECT_EQ(all[2 + i]["malformed"], true);
    EXPECT_TRUE(all[2 + i]["data"].is_null());
  }
}

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

// ---- Rules and pages ----

TEST_F(DevServerTest, RuleDocumentsComeFromTheFolderOnlyAndThePopupPageEscapesWhatItShows) {
  std::filesystem::create_directories(folder() / "rules" / "folder.json");
  const std::string document = R"({"rules":[{"id":"7","whatTo":"title=Hi"}]})";
  std::ofstream(folder() / "rules" / "app-1.json") << document;
  std::ofstream(folder() / "rules" / "notes.txt") << "private";
  std::ofstream(folder() / "secret.json") << "{}";
  auto found = site().Get("/rules/inappactivity/app-1.json");
  ASSERT_TRUE(found);
  EXPECT_EQ(found->status, 200);
  EXPECT_EQ(found->body, document);
  EXPECT_EQ(found->get_header_value("Content-Type"), "application/json");
  for (const char* missing : {"other.json", "..%2Fsecret.json", "notes.txt%00.json", "folder.json"}) {
    EXPECT_EQ(site().Get(std::string("/rules/inappactivity/") + missing)->status, 404) << missing;
  }

  auto page = site().Get("/rules/inapp?title=%3Cb%3ESale&link=https%3A%2F%2Fx.test%2F%3Fq%3D%22a%22%3C%2Fscript%3E");
  ASSERT_TRUE(page);
  EXPECT_EQ(page->status, 200);
  EXPECT_THAT(page->get_header_value("Content-Type"), HasSubstr("text/html"));
  EXPECT_THAT(page->body, HasSubstr(R"x(onclick="closeAction()")x"));
  EXPECT_THAT(page->body, HasSubstr(R"x(onclick="intentAction(orvantaLink)")x"));
  EXPECT_THAT(page->body, HasSubstr(R"(var orvantaLink = "https://x.test/?q=\"a\"\u003c/script>";)"));
  EXPECT_THAT(page->body, HasSubstr("<h1>&lt;b&gt;Sale</h1>"));
  EXPECT_THAT(page->body, Not(HasSubstr("<b>Sale")));
}

// ---- Fault modes ----

TEST_F(DevServerTest, ResetStallAndDownHoldBackOrRefuseTheAnswerUntilCleared) {
  control(R"({"reset":{"count":1}})");
  EXPECT_EQ(post("pn_login", "data={}"), 0) << "a transport error";
  EXPECT_EQ(post("pn_login", "data={}"), 200);

  control(R"({"stall_ms":600000})");
  auto stalled = std::async(std::launch::async, [this] { return post("pn_login", "data={}"); });
  while (controlState()["stalled"] != 1) std::this_thread::sleep_for(std::chrono::milliseconds(5));
  control(R"({"clear":true})");
  EXPECT_EQ(stalled.get(), 200) << "answered once the stall is cleared";

  const int port = server_->port();
  EXPECT_EQ(control(R"({"down":true})")["down"], true);
  auto refused = site().Post("/track/pn_login", "data={}", "");
  EXPECT_FALSE(refused);
  EXPECT_EQ(refused.error(), httplib::Error::Connection);
  EXPECT_FALSE(site().Get("/api/messages"));  // the whole site port is down
  EXPECT_EQ(controlState()["down"], true);    // the control port is not
  EXPECT_EQ(control(R"({"up":true})")["down"], false);
  EXPECT_EQ(server_->port(), port);
  EXPECT_EQ(post("pn_login", "data={}"), 200);
  // Every answered attempt is recorded; the refused one never reached the server.
  EXPECT_THAT(statusesOf(messages()), ElementsAre(0, 200, 200, 200));
}

}  // namespace
}  // namespace orvanta::devserver
