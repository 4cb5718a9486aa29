#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace orvanta {

using HttpHeaders = std::vector<std::pair<std::string, std::string>>;

struct HttpRequest {
  std::string method = "GET";  // "GET" or "POST"
  std::string url;             // complete, already percent-encoded
  HttpHeaders headers;         // exactly these; the adapter adds none of its own
  std::string body;
  double timeoutSeconds = 60;
};

// The answer to one request. Transport failure is not a status: status is 0
// and error says why; no body then.
struct HttpResponse {
  int status = 0;
  HttpHeaders headers;
  std::optional<std::string> body;
  std::string error;
};

// Sends requests; never caches. Each completion is called exactly once, on a
// network thread (never the caller's, never the main queue). Thread-safe.
class HttpClient {
 public:
  using Completion = std::function<void(HttpResponse)>;
  virtual ~HttpClient() = default;
  virtual void send(HttpRequest request, Completion completion) = 0;
  // Fails every request still in flight (status 0) and stops the network
  // thread; the completions have run when this returns. Later sends complete
  // at once with status 0. Idempotent.
  virtual void stop() = 0;
  // A clean end: accepts no new request (a send from now on completes at
  // once, with status 0, on the calling thread), lets the requests already
  // sent run on for up to graceSeconds, then stops as stop() does, failing
  // whatever is still unanswered. Returns as soon as nothing is in flight;
  // the completions have run by then. Completions running meanwhile may send
  // (and are refused). A client that cannot wait, like this default, just
  // stops.
  virtual void drain(double graceSeconds) {
    static_cast<void>(graceSeconds);
    stop();
  }
};

}  // namespace orvanta
