// The Linux HttpClient: libcurl's multi interface on one network thread.
#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "orvanta/config.h"
#include "orvanta/platform/http_client.h"

namespace orvanta {

// Choices fixed for the lifetime of one CurlHttpClient.
struct CurlHttpOptions {
  // Off: the server's certificate is accepted as presented (neither its chain
  // nor its host name is checked). On: both are verified.
  bool verifyServerCertificate = false;
  // With verification on: the CA bundle to verify against; empty means
  // libcurl's default bundle. Ignored with verification off.
  std::string caFile;
  // The word in front of every log line the client writes.
  std::string logPrefix = "Orvanta";
};

// Sends requests with libcurl. One network thread drives all transfers and
// runs every completion; a completion that blocks holds up all the others.
//
// On the wire a request carries exactly the headers it lists (a header with an
// empty value is sent present and empty), plus the Host header that HTTP/1.1
// requires; libcurl's own defaults (Accept, Content-Type, Expect) are
// suppressed. A POST sends its body as is, with the Content-Length the request
// lists, or libcurl's if it lists none. Only "GET" and "POST" are supported.
// The URL's path goes out as given (dot segments are not resolved).
//
// Connections are kept alive and reused. At most one connection per host is
// open, so requests to one host take turns on it. Redirects are not followed:
// a 3xx is reported as its status. No client certificate is ever offered.
//
// timeoutSeconds (0 or less: no limit) bounds how long a request may stand
// still once its turn on the connection has come: while connecting (TLS
// included), and while no byte moves either way (libcurl judges that from its
// speed over the last few seconds, so a stall is noticed a few seconds late).
// Waiting for the turn does not count, so a burst behind one slow answer does
// not time out with it.
//
// A transport failure (refused, name lookup, timeout, TLS, reset) completes
// with status 0 and libcurl's reason in error, and is logged as one line
// naming the method, host and path (never the query or the body).
class CurlHttpClient final : public HttpClient {
 public:
  explicit CurlHttpClient(CurlHttpOptions options = {});
  // Calls stop(). Safe on the network thread too (from within a completion):
  // the thread then ends on its own after that completion returns.
  ~CurlHttpClient() override;
  CurlHttpClient(const CurlHttpClient&) = delete;
  CurlHttpClient& operator=(const CurlHttpClient&) = delete;

  // Any thread. Hands the request to the network thread. After stop() the
  // completion runs at once, on the calling thread, with status 0.
  void send(HttpRequest request, Completion completion) override;
  // Any thread; idempotent. Fails every queued and in-flight request with
  // status 0, then joins the network thread; those completions have run when
  // it returns. Called from within a completion it cannot wait for its own
  // thread: it returns at once and the rest fail after that completion.
  void stop() override;
  // Any thread. Refuses new requests at once (they fail on the calling thread,
  // also from within a completion), keeps driving the ones queued or in
  // flight and returns when they are answered, or after graceSeconds with
  // the rest failed with status 0; then the client is stopped. Called from
  // within a completion it returns at once, as stop() does.
  void drain(double graceSeconds) override;

 private:
  class Engine;

  // Waits for the network thread to end, unless called on it.
  void joinNetworkThread();

  std::shared_ptr<Engine> engine_;  // shared with the network thread
  std::thread thread_;
  const std::thread::id networkThreadId_;
  std::once_flag joined_;
};

// The client for a host's Config: its TLS and log-prefix choices.
std::shared_ptr<HttpClient> makeCurlHttpClient(const Config& config);

}  // namespace orvanta
