// The reference server (tools/devserver), run in-process and spoken to over real loopback HTTP,
// and its message store on its own.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <httplib.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>
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

  // A JSON answer of the site; fails the test unless it is 200.
  Json get(const std::string& path) const {
    auto result = site().Get(path);
    EXPECT_TRUE(result && result->status == 200) << path;
    return result ? Json::parse(result->body) : Json();
  }

  Json messages(const std::string& query = "") const { return get("/api/messages" + query); }

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

TEST_F(DevServerTest, MessagesFilterBySequenceAndStatusAndCountsGroupDeliveredEvents) {
  const std::string binary("x\0y", 3);  // raw bytes, not text: kept whole past the NUL
  const std::vector<std::pair<std::string, std::string>> posts = {
      {"app_activity", R"(data={"eventid":21})"},   // seq 1
      {"app_activity", R"(data={"eventid":21})"},   // seq 2
      {"profilePush", R"(data={"identity":"u"})"},  // seq 3, no event id
      {"pn_login", binary},                         // seq 4, malformed: 400
      {"custom", R"(data={"eventid":101})"}};       // seq 5
  for (const auto& [method, body] : posts) post(method, body);

  const std::vector<std::pair<std::string, std::vector<int>>> queries = {
      {"", {1, 2, 3, 4, 5}},      {"?since=2", {3, 4, 5}}, {"?status=400", {4}},
      {"?since=1&status=200", {2, 3, 5}}, {"?since=5", {}},        {"?status=503", {}}};
  for (const auto& [query, expected] : queries) {
    std::vector<int> seqs;
    for (const Json& message : messages(query)) seqs.push_back(message["seq"].get<int>());
    EXPECT_EQ(seqs, expected) << query;
  }

  const Json all = messages();
  const Json profile = {{"eventid", nullptr}, {"event", "profile"}, {"identity", "u"},
                        {"sessionid", nullptr}, {"status", 200}};
  for (const auto& [key, value] : profile.items()) EXPECT_EQ(all[2][key], value) << key;
  const Json malformed = {{"eventid", nullptr}, {"event", ""},      {"identity", nullptr},
                          {"status", 400},      {"data", nullptr}, {"malformed", true}};
  for (const auto& [key, value] : malformed.items()) EXPECT_EQ(all[3][key], value) << key;
  EXPECT_EQ(all[3]["body"], binary);

  EXPECT_EQ(get("/api/counts"), Json::parse(R"({"received":5,"delivered":4,"first_seq":1,
      "eventids":[{"eventid":null,"event":"profile","count":1},
                  {"eventid":21,"event":"launch","count":2},
                  {"eventid":101,"event":"custom","count":1}]})"));

  EXPECT_EQ(site().Delete("/api/messages")->status, 204);
  EXPECT_EQ(get("/api/counts"),
            Json::parse(R"({"received":0,"delivered":0,"first_seq":null,"eventids":[]})"));
  post("app_activity", R"(data={"eventid":21})");
  EXPECT_EQ(messages()[0]["seq"], 6) << "a sequence number is never reused";
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

TEST(MessageStoreTest, AReopenedFileKeepsItsMessagesAndNeverReusesASequenceNumber) {
  testing::TemporaryPaths paths;
  const std::filesystem::path file = std::filesystem::path(paths.root()) / "messages.sqlite";
  const ReceivedMessage message{.received_at = "2024-01-02T03:04:05.678Z",
                                .method = "app_activity",
                                .headers = {{"X-A", "1"}, {"X-A", "2"}},
                                .body = R"(data={"eventid":21})",
                                .status = 200};
  const DecodedBody decoded = decodeTrackingBody(message.body);
  {
    MessageStore store(file);
    store.record(message, decoded);
    store.record(message, decoded);
    store.clear();
    EXPECT_EQ(store.record(message, decoded), 3);
  }
  MessageStore reopened(file);
  EXPECT_EQ(reopened.record(message, decoded), 4);

  const Json all = reopened.messages(0, std::nullopt);
  ASSERT_EQ(all.size(), 2u);
  EXPECT_EQ(all[0], Json::parse(R"({"seq":3,"received_at":"2024-01-02T03:04:05.678Z",
      "method":"app_activity","status":200,"eventid":21,"event":"launch","identity":null,
      "sessionid":null,"pushid":null,"malformed":false,"body":"data={\"eventid\":21}",
      "data":{"eventid":21},"headers":[{"name":"X-A","value":"1"},{"name":"X-A","value":"2"}]})"));
  EXPECT_EQ(all[1]["seq"], 4);
}

TEST(MessageStoreTest, AFileThatCannotBeOpenedIsNamedInTheError) {
  testing::TemporaryPaths paths;
  const std::filesystem::path root(paths.root());
  for (const std::filesystem::path& file : {root / "missing" / "messages.sqlite", root}) {
    try {
      MessageStore store(file);
      ADD_FAILURE() << file << " opened";
    } catch (const std::runtime_error& error) {
      EXPECT_THAT(error.what(), HasSubstr("cannot open " + file.string())) << file;
    }
  }
}

}  // namespace
}  // namespace orvanta::devserver
