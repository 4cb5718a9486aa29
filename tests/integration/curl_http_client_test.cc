// The libcurl adapter against a real server on the loopback interface: what
// goes out on the wire, what comes back, and how requests end.
#include "platform/linux/curl_http_client.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "support/log_lines.h"
#include "support/loopback_server.h"

namespace orvanta {
namespace {

using testing::CapturedRequest;
using testing::LoopbackServer;
using testing::ScriptedAnswer;

// Collects the answers to a numbered set of requests, and how often each
// completion ran.
class Answers {
 public:
  explicit Answers(size_t count) : calls_(count, 0), responses_(count) {}

  HttpClient::Completion completionFor(size_t slot) {
    return [this, slot](HttpResponse response) {
      // Notified under the lock: the waiter may destroy this object as soon
      // as it sees the answer.
      std::lock_guard lock(mutex_);
      ++calls_[slot];
      responses_[slot] = std::move(response);
      arrived_.notify_all();
    };
  }
  // Guards against hanging; not a measurement.
  bool waitForAll() {
    std::unique_lock lock(mutex_);
    return arrived_.wait_for(lock, std::chrono::seconds(30),
                             [&] { return std::ranges::none_of(calls_, [](int calls) { return calls == 0; }); });
  }
  std::vector<int> calls() const {
    std::lock_guard lock(mutex_);
    return calls_;
  }
  HttpResponse response(size_t slot) const {
    std::lock_guard lock(mutex_);
    return responses_[slot];
  }

 private:
  mutable std::mutex mutex_;
  std::condition_variable arrived_;
  std::vector<int> calls_;
  std::vector<HttpResponse> responses_;
};

// A POST with the headers the library's request layer gives one.
HttpRequest post(std::string url, std::string body) {
  HttpRequest request;
  request.method = "POST";
  request.url = std::move(url);
  request.headers = {{"Content-Length", std::to_string(body.size())}, {"User-Agent", "TestHost/1.0 "}};
  request.body = std::move(body);
  return request;
}

class CurlHttpClientTest : public ::testing::Test {
 protected:
  // Sends one request and waits for its answer.
  HttpResponse exchange(HttpRequest request) {
    Answers answers(1);
    client_.send(std::move(request), answers.completionFor(0));
    if (!answers.waitForAll()) {
      ADD_FAILURE() << "no answer";
      client_.stop();  // runs the completion before answers goes
    }
    return answers.response(0);
  }

  LoopbackServer server_;
  CurlHttpClient client_;
};

TEST_F(CurlHttpClientTest, GetGoesOutAsGivenAndItsAnswerComesBackUnchangedAndUnfollowed) {
  const std::string target = "/rules/custom%20event/%C3%A9t%C3%A9/./raw?at=2024-01-01T00%3A00%3A00%2B01%3A00&x=a%2Fb";
  for (int status : {200, 302, 404, 500}) {
    SCOPED_TRACE(status);
    const std::string body = "answer " + std::to_string(status);
    server_.setResponder([&](const CapturedRequest&) {
      return ScriptedAnswer{status, {{"Location", "/elsewhere"}, {"X-Rules-Version", "7"}}, body};
    });
    HttpRequest get;
    get.url = server_.url(target);

    const HttpResponse response = exchange(get);

    EXPECT_EQ(response.status, status);
    EXPECT_EQ(response.body, body);
    EXPECT_EQ(response.error, "");
    EXPECT_THAT(response.headers, ::testing::Contains(HttpHeaders::value_type{"X-Rules-Version", "7"}));
  }
  const std::vector<CapturedRequest> requests = server_.requests();
  ASSERT_EQ(requests.size(), 4u) << "a redirect was followed";
  for (const CapturedRequest& request : requests) {
    EXPECT_EQ(request.method, "GET");
    EXPECT_EQ(request.target, target);
    EXPECT_EQ(request.headers, (HttpHeaders{{"Host", "127.0.0.1:" + std::to_string(server_.port())}}));
    EXPECT_EQ(request.body, "");
  }
}

TEST_F(CurlHttpClientTest, RefusedConnectionIsStatusZeroWithTheReasonLoggedWithoutPersonalData) {
  int closedPort = 0;
  {
    LoopbackServer gone;
    closedPort = gone.port();
  }
  testing::LogLines log;
  const std::string url = "http://127.0.0.1:" + std::to_string(closedPort) + "/track/login?email=someone%40example.org";

  const HttpResponse response = exchange(post(url, "password=secret-body"));

  EXPECT_EQ(response.status, 0);
  EXPECT_EQ(response.body, std::nullopt);
  EXPECT_NE(response.error, "");
  ASSERT_EQ(log.lines().size(), 1u);
  const std::string line = log.lines().front();
  EXPECT_NE(line.find("/track/login"), std::string::npos) << line;
  EXPECT_NE(line.find(response.error), std::string::npos) << line;
  EXPECT_EQ(line.find("someone"), std::string::npos) << line;
  EXPECT_EQ(line.find("secret-body"), std::string::npos) << line;
}

// Stalls the answers to /slow until the server's end.
ScriptedAnswer stallSlow(const CapturedRequest& request) { return {200, {}, "", request.target == "/slow"}; }

TEST_F(CurlHttpClientTest, TimeoutFailsTheStalledRequestButNotOneWaitingForTheConnection) {
  server_.setResponder(stallSlow);
  HttpRequest stalling = post(server_.url("/slow"), "a=1");
  stalling.timeoutSeconds = 2;
  // Its limit is shorter than its wait for the one connection, which must
  // not count against it.
  HttpRequest waiting = post(server_.url("/fast"), "a=2");
  waiting.timeoutSeconds = 1;
  Answers answers(2);

  client_.send(std::move(stalling), answers.completionFor(0));
  ASSERT_TRUE(server_.waitForRequests(1));
  client_.send(std::move(waiting), answers.completionFor(1));
  ASSERT_TRUE(answers.waitForAll());

  EXPECT_EQ(answers.response(0).status, 0);
  EXPECT_EQ(answers.response(0).body, std::nullopt);
  EXPECT_NE(answers.response(0).error, "");
  EXPECT_EQ(answers.response(1).status, 200) << answers.response(1).error;
}

TEST_F(CurlHttpClientTest, StopFailsEveryQueuedAndInFlightRequestExactlyOnceBeforeReturning) {
  constexpr size_t kCount = 5;
  server_.setResponder(stallSlow);
  Answers answers(kCount);
  client_.send(post(server_.url("/slow"), "first"), answers.completionFor(0));
  ASSERT_TRUE(server_.waitForRequests(1));
  for (size_t i = 1; i < kCount; ++i) client_.send(post(server_.url("/slow"), "more"), answers.completionFor(i));

  client_.stop();

  EXPECT_EQ(answers.calls(), std::vector<int>(kCount, 1));
  for (size_t i = 0; i < kCount; ++i) {
    EXPECT_EQ(answers.response(i).status, 0) << i;
    EXPECT_NE(answers.response(i).error, "") << i;
  }
  // After stop, a request fails at once; stopping again changes nothing.
  Answers late(1);
  client_.send(post(server_.url("/fast"), "late"), late.completionFor(0));
  EXPECT_EQ(late.calls(), std::vector<int>{1});
  EXPECT_EQ(late.response(0).status, 0);
  client_.stop();
  EXPECT_EQ(answers.calls(), std::vector<int>(kCount, 1));
  EXPECT_EQ(late.calls(), std::vector<int>{1});
}

TEST_F(CurlHttpClientTest, SendsFromManyThreadsEachGetTheirOwnAnswerOverOneConnection) {
  constexpr size_t kThreads = 8;
  constexpr size_t kPerThread = 10;
  server_.setResponder([](const CapturedRequest& request) { return ScriptedAnswer{200, {}, request.body}; });
  Answers answers(kThreads * kPerThread);
  auto bodyOf = [](size_t slot) { return "slot=" + std::to_string(slot); };

  std::vector<std::thread> senders;
  for (size_t t = 0; t < kThreads; ++t) {
    senders.emplace_back([&, t] {
      for (size_t slot = t * kPerThread; slot < (t + 1) * kPerThread; ++slot) {
        client_.send(post(server_.url("/track/event"), bodyOf(slot)), answers.completionFor(slot));
      }
    });
  }
  for (std::thread& sender : senders) sender.join();
  ASSERT_TRUE(answers.waitForAll());

  EXPECT_EQ(answers.calls(), std::vector<int>(kThreads * kPerThread, 1));
  for (size_t slot = 0; slot < kThreads * kPerThread; ++slot) {
    EXPECT_EQ(answers.response(slot).status, 200) << slot;
    EXPECT_EQ(answers.response(slot).body, bodyOf(slot)) << slot;
  }
  EXPECT_EQ(server_.requests().size(), kThreads * kPerThread);
  EXPECT_EQ(server_.connectionCount(), 1);
}

TEST_F(CurlHttpClientTest, RequestThatCannotGoOutAsGivenFailsWithoutReachingTheServer) {
  auto withHeader = [&](std::string name, std::string value) {
    HttpRequest request = post(server_.url("/track/event"), "a=1");
    request.headers = {{std::move(name), std::move(value)}};
    return request;
  };
  HttpRequest put = post(server_.url("/track/event"), "a=1");
  put.method = "PUT";
  std::vector<HttpRequest> unsendable = {withHeader("User-Agent", "TestHost\r\nX-Injected: 1"),
                                         withHeader("User Agent", "TestHost"), withHeader("", "TestHost"), put};
  for (HttpRequest& request : unsendable) {
    SCOPED_TRACE(request.method + " with header \"" + request.headers.front().first + "\"");
    const HttpResponse response = exchange(std::move(request));
    EXPECT_EQ(response.status, 0);
    EXPECT_NE(response.error, "");
  }
  // Only this one reaches the server.
  EXPECT_EQ(exchange(post(server_.url("/track/event"), "a=1")).status, 200);
  EXPECT_EQ(server_.requests().size(), 1u);
}

TEST(CurlHttpClient, ClientReleasedFromWithinItsOwnCompletionShutsDownCleanly) {
  LoopbackServer server;
  auto client = std::make_shared<CurlHttpClient>();
  std::shared_ptr<CurlHttpClient> lastOwner = client;
  Answers answers(1);
  HttpRequest get;
  get.url = server.url("/ping");
  client->send(get, [&lastOwner, done = answers.completionFor(0)](HttpResponse response) {
    lastOwner.reset();  // destroys the client on its own network thread
    done(std::move(response));
  });
  client.reset();

  ASSERT_TRUE(answers.waitForAll());
  EXPECT_EQ(answers.response(0).status, 200);
}

}  // namespace
}  // namespace orvanta
