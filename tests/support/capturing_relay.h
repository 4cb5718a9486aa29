// A TCP relay that records HTTP requests as their bytes arrived.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "orvanta/platform/http_client.h"

namespace orvanta::testing {

// One HTTP request exactly as it arrived on the wire.
struct CapturedRequest {
  std::string method;
  std::string target;   // as sent: still percent-encoded, query included
  HttpHeaders headers;  // in arrival order; names as sent; each value as sent
                        // after the blanks that follow the colon
  std::string body;
  int connection = 0;   // the TCP connection it came on: 1 is the first accepted

  // The target without its query.
  std::string path() const;
  // The value of every header called name (compared ignoring ASCII case), in
  // arrival order.
  std::vector<std::string> values(std::string_view name) const;
};

// Listens on 127.0.0.1 (a free port) and relays each connection to a local
// HTTP server, recording every request before passing it on. It exists
// because cpp-httplib's own request record is not faithful: it drops headers
// with empty values and percent-decodes header values.
//
// A request is passed on once it has arrived whole, with one more header,
// kCaptureIndexHeader, carrying what the recorder answered for it, so that
// the server behind can find the record. Request bodies must be framed by
// Content-Length (chunked request bodies are not understood).
class CapturingRelay {
 public:
  static constexpr std::string_view kCaptureIndexHeader = "X-Capture-Index";
  // Called on a relay thread with each complete request; answers the value
  // passed on in kCaptureIndexHeader.
  using Recorder = std::function<std::size_t(CapturedRequest)>;

  // Throws std::runtime_error when it cannot listen.
  CapturingRelay(int upstreamPort, Recorder record);
  // Closes every connection and joins the relay's threads.
  ~CapturingRelay();
  CapturingRelay(const CapturingRelay&) = delete;
  CapturingRelay& operator=(const CapturingRelay&) = delete;

  int port() const { return port_; }

 private:
  class Socket;
  struct Connection;

  void acceptConnections();
  void relayRequests(Connection& connection);

  const int upstreamPort_;
  const Recorder record_;
  std::unique_ptr<Socket> listener_;
  int port_ = 0;
  std::mutex mutex_;
  std::vector<std::unique_ptr<Connection>> connections_;  // guarded by mutex_
  std::thread acceptor_;
};

}  // namespace orvanta::testing
