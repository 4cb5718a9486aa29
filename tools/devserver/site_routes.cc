#include "devserver/site_routes.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>
#include <optional>
#include <string_view>

#include "devserver/connection_reset.h"
#include "devserver/pages.h"
#include "devserver/tracking_message.h"

namespace orvanta::devserver {
namespace {

constexpr const char* kJson = "application/json";

// "YYYY-MM-DDTHH:MM:SS.mmmZ"
std::string utcNow() {
  auto now = std::chrono::system_clock::now();
  auto seconds = std::chrono::floor<std::chrono::seconds>(now);
  auto millis = std::chrono::duration_cast<std::chrono::milliseconds>(now - seconds).count();
  std::time_t t = std::chrono::system_clock::to_time_t(seconds);
  std::tm utc{};
  gmtime_r(&t, &utc);
  std::array<char, 32> text{};
  std::size_t n = std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &utc);
  std::snprintf(text.data() + n, text.size() - n, ".%03dZ", static_cast<int>(millis));
  return text.data();
}

// The headers the client sent; cpp-httplib adds the connection's addresses as pseudo-headers.
std::vector<std::pair<std::string, std::string>> clientHeaders(const httplib::Request& request) {
  static constexpr std::array<std::string_view, 4> kAdded{"REMOTE_ADDR", "REMOTE_PORT",
                                                          "LOCAL_ADDR", "LOCAL_PORT"};
  std::vector<std::pair<std::string, std::string>> headers;
  for (const auto& [name, value] : request.headers) {
    if (std::find(kAdded.begin(), kAdded.end(), name) == kAdded.end()) {
      headers.emplace_back(name, value);
    }
  }
  return headers;
}

template <typename T>
std::optional<T> integerParam(const httplib::Request& request, const char* key) {
  std::string text = request.get_param_value(key);
  T value{};
  auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (ec != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

void answerJson(httplib::Response& response, const Json& value) {
  response.set_content(dumpJson(value), kJson);
}

void receiveTracking(const SiteContext& context, const httplib::Request& request,
                     httplib::Response& response) {
  ReceivedMessage message{.received_at = utcNow(),
                          .method = request.matches[1],  // cpp-httplib matches the decoded path
                          .headers = clientHeaders(request),
                          .body = request.body};
  DecodedBody decoded = decodeTrackingBody(message.body);
  context.faults.stall();
  FaultDecision decision = context.faults.decide(message.method);
  if (decision.reset) {
    message.status = 0;
  } else if (decision.status != 200) {
    message.status = decision.status;
  } else {
    message.status = decoded.data ? 200 : 400;
  }
  context.store.record(message, decoded);

  if (decision.reset && resetConnection(request)) return;
  // A reset that found no socket still must not look like a delivery.
  response.status = message.status == 0 ? 500 : message.status;
  response.set_content(decoded.data ? "" : "expected data=<JSON object>\n", "text/plain");
}

void serveRules(const SiteContext& context, const httplib::Request& request,
                httplib::Response& response) {
  std::string appid = request.matches[1];
  response.status = 404;
  // The route admits no "/" in the id (cpp-httplib matches the decoded path), so the name
  // cannot leave the folder; a NUL would end the name early, before its ".json".
  if (context.rules_dir.empty() || appid.find('\0') != std::string::npos) return;
  const std::filesystem::path document = context.rules_dir / (appid + ".json");
  std::error_code error;
  if (!std::filesystem::is_regular_file(document, error)) return;
  std::ifstream file(document, std::ios::binary);
  if (!file) return;
  std::this_thread::sleep_for(context.rules_delay);
  response.status = 200;
  response.set_content(std::string(std::istreambuf_iterator<char>(file), {}), kJson);
}

void listMessages(const SiteContext& context, const httplib::Request& request,
                  httplib::Response& response) {
  std::optional<std::int64_t> since =
      request.has_param("since") ? integerParam<std::int64_t>(request, "since") : 0;
  std::optional<int> status;
  bool valid = since.has_value();
  if (request.has_param("status")) {
    status = integerParam<int>(request, "status");
    valid = valid && status.has_value();
  }
  if (!valid) {
    response.status = 400;
    answerJson(response, {{"error", "since and status must be integers"}});
    return;
  }
  answerJson(response, context.store.messages(*since, status));
}

}  // namespace

std::unique_ptr<httplib::Server> makeSiteServer(const SiteContext& context) {
  auto server = std::make_unique<httplib::Server>();
  server->set_pre_routing_handler([&context](const httplib::Request& request, httplib::Response&) {
    // Down: the port refuses new connections; requests on connections opened before fail too.
    if (context.down && resetConnection(request)) return httplib::Server::HandlerResponse::Handled;
    return httplib::Server::HandlerResponse::Unhandled;
  });
  server->Post(R"(/track/(.+))", [&context](const httplib::Request& req, httplib::Response& res) {
    receiveTracking(context, req, res);
  });
  server->Get(R"(/rules/inappactivity/([^/]+)\.json)",
              [&context](const httplib::Request& req, httplib::Response& res) {
                serveRules(context, req, res);
              });
  server->Get("/rules/inapp", [](const httplib::Request& req, httplib::Response& res) {
    res.set_content(popupPageHtml(req.params), "text/html; charset=utf-8");
  });
  server->Get("/", [](const httplib::Request&, httplib::Response& res) {
    res.set_content(livePageHtml(), "text/html; charset=utf-8");
  });
  server->Get("/api/messages", [&context](const httplib::Request& req, httplib::Response& res) {
    listMessages(context, req, res);
  });
  server->Delete("/api/messages", [&context](const httplib::Request&, httplib::Response& res) {
    context.store.clear();
    res.status = 204;
  });
  server->Get("/api/counts", [&context](const httplib::Request&, httplib::Response& res) {
    answerJson(res, context.store.counts());
  });
  return server;
}

}  // namespace orvanta::devserver
