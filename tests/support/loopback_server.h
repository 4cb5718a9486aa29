// A real HTTP server on the loopback interface for integration tests.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "orvanta/platform/http_client.h"
#include "support/capturing_relay.h"
#include "support/server_thread.h"

namespace httplib {
class Server;
}

namespace orvanta::testing {

// How the server answers one request.
struct ScriptedAnswer {
  int status = 200;
  HttpHeaders headers;
  std::string body;
  // Hold the answer back, like a server that stopped responding, until the
  // server's end.
  bool stall = false;
};

// A cpp-httplib server on 127.0.0.1 (a free port). It records every request
// exactly as its bytes arrived (see CapturingRelay) and answers as the test
// scripts it: by default 200 with an empty body. Connections stay open for as
// long as the client keeps them. All members are thread-safe.
class LoopbackServer {
 public:
  using Responder = std::function<ScriptedAnswer(const CapturedRequest&)>;

  // Listening when the constructor returns; throws std::runtime_error when it
  // cannot listen.
  LoopbackServer();
  // Lets stalled answers go, closes every connection and stops the server.
  ~LoopbackServer();
  LoopbackServer(const LoopbackServer&) = delete;
  LoopbackServer& operator=(const LoopbackServer&) = delete;

  int port() const { return relay_->port(); }
  // "http://127.0.0.1:<port>" followed by target, which starts with "/".
  std::string url(std::string_view target) const;

  // Answers every request whose path (target without query) is path.
  // Takes precedence over the responder.
  void answerPath(std::string path, ScriptedAnswer answer);
  // Answers the requests that no path answer covers. Runs on a server thread.
  void setResponder(Responder responder);

  // Every request so far, in the order they arrived.
  std::vector<CapturedRequest> requests() const;
  // Waits until at least count requests have arrived; false when timeout
  // passes first (meant as a guard against hanging, not as a measurement).
  bool waitForRequests(std::size_t count,
                       std::chrono::milliseconds timeout = std::chrono::seconds(30)) const;
  // How many distinct TCP connections the requests so far came on.
  int connectionCount() const;

 private:
  std::size_t record(CapturedRequest request);
  ScriptedAnswer answerFor(std::size_t index) const;
  void waitUntilClosing();

  mutable std::mutex mutex_;
  mutable std::condition_variable changed_;
  std::vector<CapturedRequest> requests_;              // guarded by mutex_
  std::map<std::string, ScriptedAnswer> pathAnswers_;  // guarded by mutex_
  Responder responder_;                                // guarded by mutex_
  bool closing_ = false;                               // guarded by mutex_

  std::unique_ptr<httplib::Server> http_;
  std::unique_ptr<ServerThread> serving_;
  std::unique_ptr<CapturingRelay> relay_;
};

}  // namespace orvanta::testing
