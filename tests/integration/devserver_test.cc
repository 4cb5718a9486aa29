// The reference server (tools/devserver), run in-process and spoken to over real loopback HTTP.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <httplib.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <tuple>
#include <vector>

#include "devserver/dev_server.h"
#include "orvanta/testing/temporary_paths.h"

namespace orvanta::devserver {
namespace {

using ::testing::HasSubstr;

class DevServerTest : public ::testing::Test {
 protected:
  DevServerTest()
      : server_({.db_path = folder() / "messages.sqlite",
                 .rules_dir = folder() / "rules",
                 .initial_faults = {}}) {}

  std::filesystem::path folder() const { return paths_.root(); }
  httplib::Client site() const { return httplib::Client("127.0.0.1", server_.port()); }

  // Answered status, or 0 when no answer came (connection refused or reset).
  int post(const std::string& method, const std::string& body) const {
    auto result = site().Post("/track/" + method, body, "");
    return result ? result->status : 0;
  }

  // The control API's answer; fails the test unless it is 200.
  Json control(const std::string& document) const {
    httplib::Client client("127.0.0.1", server_.controlPort());
    auto result = client.Post("/control", document, "application/json");
    EXPECT_TRUE(result && result->status == 200) << document;
    return result ? Json::parse(result->body) : Json();
  }

  Json messages() const {
    auto result = site().Get("/api/messages");
    EXPECT_TRUE(result && result->status == 200);
    return result ? Json::parse(result->body) : Json();
  }

  testing::TemporaryPaths paths_;
  DevServer server_;
};

TEST_F(DevServerTest, RecordsEveryPostRawWithItsDecodedFieldsAndAnswersMalformedOnes400) {
  const std::string launchBody =
      R"(data={"identity":"a&b=c%20","eventid":21,"sessionid":"S-1","pushid":"P-1","name":"Zoë"})";
  ASSERT_EQ(post("app_activity", launchBody), 200);
  // Nested past any stack a recursive copy or dump could use.
  const std::string deep =
      "data={\"a\":" + std::string(100'000, '[') + std::string(100'000, ']') + "}";
  const std::vector<std::string> malformed = {"foo=bar", "data=not json", "data=[1,2]", "", deep};
  for (const auto& body : malformed) EXPECT_EQ(post("pn_login", body), 400) << body;

  Json all = messages();
  ASSERT_EQ(all.size(), 1 + malformed.size());
  // The body is not form-decoded: "%20" and "&" stay.
  const Json launch = {{"method", "app_activity"}, {"status", 200},          {"eventid", 21},
                       {"event", "launch"},        {"identity", "a&b=c%20"}, {"malformed", false},
                       {"body", launchBody}};
  for (const auto& [key, value] : launch.items()) EXPECT_EQ(all[0][key], value) << key;
  EXPECT_EQ(all[0]["data"].dump(), launchBody.substr(5));  // keys in the order sent
  EXPECT_THAT(all[0]["headers"],
              ::testing::Contains(
                  Json{{"name", "Content-Length"}, {"value", std::to_string(launchBody.size())}}));
  for (std::size_t i = 0; i < malformed.size(); ++i) {
    const Json fields = {{"body", malformed[i]}, {"malformed", true}, {"data", nullptr}};
    for (const auto& [key, value] : fields.items()) EXPECT_EQ(all[1 + i][key], value) << key << i;
  }
}

TEST_F(DevServerTest, RuleDocumentsComeFromTheFolderOnlyAndThePopupPageEscapesWhatItShows) {
  std::filesystem::create_directories(folder() / "rules" / "folder.json");
  const std::string document = R"({"rules":[{"id":"7","whatTo":"title=Hi"}]})";
  std::ofstream(folder() / "rules" / "app-1.json") << document;
  std::ofstream(folder() / "rules" / "notes.txt") << "private";
  std::ofstream(folder() / "secret.json") << "{}";
  auto found = site().Get("/rules/inappactivity/app-1.json");
  ASSERT_TRUE(found);
  EXPECT_EQ(std::tuple(found->status, found->body, found->get_header_value("Content-Type")),
            std::tuple(200, document, "application/json"));
  for (const char* missing :
       {"other.json", "..%2Fsecret.json", "notes.txt%00.json", "folder.json"}) {
    EXPECT_EQ(site().Get(std::string("/rules/inappactivity/") + missing)->status, 404) << missing;
  }

  auto page = site().Get(
      "/rules/inapp?title=%3Cb%3ESale&link=https%3A%2F%2Fx.test%2F%3Fq%3D%22a%22%3C%2Fscript%3E");
  ASSERT_TRUE(page);
  EXPECT_EQ(page->status, 200);
  EXPECT_THAT(page->get_header_value("Content-Type"), HasSubstr("text/html"));
  for (const char* fragment :
       {R"x(onclick="closeAction()")x", R"x(onclick="intentAction(orvantaLink)")x",
        R"(var orvantaLink = "https://x.test/?q=\"a\"\u003c/script>";)",
        "<h1>&lt;b&gt;Sale</h1>"}) {
    EXPECT_THAT(page->body, HasSubstr(fragment));
  }
  EXPECT_THAT(page->body, ::testing::Not(HasSubstr("<b>Sale")));
}

TEST_F(DevServerTest, DownRefusesConnectionsOnTheSitePortOnlyUntilUp) {
  const int port = server_.port();
  EXPECT_EQ(control(R"({"down":true})")["down"], true);
  auto refused = site().Post("/track/pn_login", "data={}", "");
  EXPECT_EQ(refused.error(), httplib::Error::Connection);
  EXPECT_FALSE(site().Get("/api/messages"));            // the whole site port is down
  EXPECT_EQ(control(R"({"up":true})")["down"], false);  // the control port stays up
  EXPECT_EQ(server_.port(), port);
  EXPECT_EQ(post("pn_login", "data={}"), 200);
  EXPECT_EQ(messages().size(), 1u) << "the refused attempt never reached the server";
}

}  // namespace
}  // namespace orvanta::devserver
