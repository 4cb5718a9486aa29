// A real HTTP/1.1 server on the loopback interface for integration tests. It
// speaks plain sockets rather than cpp-httplib because it must record each
// request exactly as its bytes arrived: httplib drops headers with empty
// values and percent-decodes header values.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "orvanta/platform/http_client.h"

namespace orvanta::testing {

// One request exactly as it arrived on the wire.
struct CapturedRequest {
  std::string method;
  std::string target;   // as sent: still percent-encoded, query included
  HttpHeaders headers;  // in arrival order, as sent (blanks after the colon skipped)
  std::string body;     // framed by Content-Length (chunked bodies are not understood)
  int connection = 0;   // the TCP connection it came on: 1 is the first accepted

  // The value of every header called name (ignoring ASCII case), in arrival order.
  std::vector<std::string> values(const std::string& name) const;
};

// How the server answers one request.
struct ScriptedAnswer {
  int status = 200;
  HttpHeaders headers;
  std::string body;
  bool stall = false;  // hold the answer back until the server's end
};

// Listens on 127.0.0.1 (a free port) and answers as the test scripts it: by
// default 200 with an empty body. Connections stay open for as long as the
// client keeps them. All members are thread-safe.
class LoopbackServer {
 public:
  using Responder = std::function<ScriptedAnswer(const CapturedRequest&)>;

  // Listening when the constructor returns; throws std::runtime_error when it cannot.
  LoopbackServer();
  // Lets stalled answers go and closes every connection.
  ~LoopbackServer();
  LoopbackServer(const LoopbackServer&) = delete;
  LoopbackServer& operator=(const LoopbackServer&) = delete;

  int port() const { return port_; }
  // "http://127.0.0.1:<port>" followed by target, which starts with "/".
  std::string url(std::string_view target) const;
  // Answers every request from now on; runs on a connection's thread.
  void setResponder(Responder responder);

  // Every request so far, in the order they arrived.
  std::vector<CapturedRequest> requests() const;
  // Waits until at least count requests have arrived; false when timeout
  // passes first (a guard against hanging, not a measurement).
  bool waitForRequests(std::size_t count, std::chrono::milliseconds timeout = std::chrono::seconds(30)) const;
  // How many distinct TCP connections the requests so far came on.
  int connectionCount() const;

 private:
  void serve(int fd, int number);
  ScriptedAnswer answerFor(const CapturedRequest& request);

  int listener_ = -1;
  int port_ = 0;
  mutable std::mutex mutex_;
  mutable std::condition_variable changed_;
  std::vector<CapturedRequest> requests_;  // guarded by mutex_
  Responder responder_;                    // guarded by mutex_
  bool closing_ = false;                   // guarded by mutex_
  std::vector<int> clients_;               // guarded by mutex_
  std::vector<std::thread> connections_;   // guarded by mutex_
  std::thread acceptor_;
};

}  // namespace orvanta::testing
