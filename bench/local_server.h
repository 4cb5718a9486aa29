// A tracking and rules server on loopback for the benchmarks: every tracking
// message answered 200 at once, and one rules document for every app.
#pragma once

#include <httplib.h>

#include <string>
#include <thread>

namespace orvanta::bench {

class LocalServer {
 public:
  explicit LocalServer(std::string rulesDocument = R"({"InAppRuleList":[]})") : rules_(std::move(rulesDocument)) {
    server_.Post(R"(/track/.*)", [](const httplib::Request&, httplib::Response& response) { response.status = 200; });
    server_.Get(R"(/rules/inappactivity/.*)", [this](const httplib::Request&, httplib::Response& response) {
      response.set_content(rules_, "application/json");
    });
    port_ = server_.bind_to_any_port("127.0.0.1");
    // The socket already listens once bound: connections wait in its backlog.
    thread_ = std::thread([this] { server_.listen_after_bind(); });
  }
  ~LocalServer() {
    server_.stop();
    thread_.join();
  }
  LocalServer(const LocalServer&) = delete;
  LocalServer& operator=(const LocalServer&) = delete;

  std::string trackingUrl() const { return base() + "track/"; }
  std::string rulesUrl() const { return base() + "rules/"; }

 private:
  std::string base() const { return "http://127.0.0.1:" + std::to_string(port_) + "/"; }

  const std::string rules_;
  httplib::Server server_;
  int port_ = 0;
  std::thread thread_;
};

}  // namespace orvanta::bench
