// A real HTTP/1.1 server on the loopback interface for integration tests. It
// speaks plain sockets rather than cpp-httplib because it must record each
// request exactly as its bytes arrived: httplib drops headers with empty
// values and percent-decodes header values.
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <strings.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <sstream>
#include <stdexcept>
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
};

// How the server answers one request (always with an empty body).
struct ScriptedAnswer {
  int status = 200;
  bool stall = false;  // hold the answer back until the server's end
  // Answer this long after the request arrived (sooner at the server's end):
  // a slow server, for a client that waits for it.
  std::chrono::milliseconds delay{0};
};

// Listens on 127.0.0.1 (a free port) and answers as the test scripts it: by
// default 200 with an empty body. Connections stay open for as long as the
// client keeps them. All members are thread-safe.
class LoopbackServer {
 public:
  using Responder = std::function<ScriptedAnswer(const CapturedRequest&)>;

  // Listening when the constructor returns; throws std::runtime_error when it cannot.
  LoopbackServer() {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    socklen_t length = sizeof address;
    listener_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (listener_ < 0 || ::bind(listener_, generic, length) != 0 ||
        ::listen(listener_, SOMAXCONN) != 0 || ::getsockname(listener_, generic, &length) != 0) {
      if (listener_ >= 0) ::close(listener_);
      throw std::runtime_error("loopback server: cannot listen on 127.0.0.1");
    }
    port_ = ntohs(address.sin_port);
    acceptor_ = std::thread([this] {
      for (int number = 1;; ++number) {
        const int fd = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
        if (fd < 0 && (errno == EINTR || errno == ECONNABORTED)) continue;
        if (fd < 0) return;  // the listener was shut down
        std::lock_guard lock(mutex_);
        clients_.push_back(fd);
        connections_.emplace_back([this, fd, number] { serve(fd, number); });
      }
    });
  }
  // Lets stalled answers go and closes every connection.
  ~LoopbackServer() {
    {
      std::lock_guard lock(mutex_);
      closing_ = true;
    }
    changed_.notify_all();
    ::shutdown(listener_, SHUT_RDWR);  // accept() fails from now on
    acceptor_.join();
    for (int fd : clients_) ::shutdown(fd, SHUT_RDWR);
    for (std::thread& connection : connections_) connection.join();
    for (int fd : clients_) ::close(fd);
    ::close(listener_);
  }
  LoopbackServer(const LoopbackServer&) = delete;
  LoopbackServer& operator=(const LoopbackServer&) = delete;

  int port() const { return port_; }
  // "http://127.0.0.1:<port>" followed by target, which starts with "/".
  std::string url(std::string_view target) const {
    return "http://127.0.0.1:" + std::to_string(port_) + std::string(target);
  }
  // Answers every request from now on; runs on a connection's thread.
  void setResponder(Responder responder) {
    std::lock_guard lock(mutex_);
    responder_ = std::move(responder);
  }
  // Every request so far, in the order they arrived.
  std::vector<CapturedRequest> requests() const {
    std::lock_guard lock(mutex_);
    return requests_;
  }
  // Waits until at least count requests have arrived; false after 30 s (a
  // guard against hanging, not a measurement).
  bool waitForRequests(std::size_t count) const {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, std::chrono::seconds(30),
                             [&] { return requests_.size() >= count; });
  }

 private:
  // The request line and header lines of one request (without the blank line).
  static CapturedRequest parseHead(const std::string& head) {
    std::istringstream in(head);
    CapturedRequest request;
    std::string line;
    in >> request.method >> request.target;
    std::getline(in, line);  // the rest of the request line
    while (std::getline(in, line)) {
      if (line.ends_with('\r')) line.pop_back();
      const size_t colon = std::min(line.find(':'), line.size());
      const size_t value = std::min(line.find_first_not_of(" \t", colon + 1), line.size());
      request.headers.emplace_back(line.substr(0, colon), line.substr(value));
    }
    return request;
  }

  void serve(int fd, int number) {
    std::string pending;  // received, not yet a whole request
    char buffer[16384];
    for (ssize_t got; (got = ::recv(fd, buffer, sizeof buffer, 0)) != 0;) {
      if (got < 0 && errno == EINTR) continue;
      if (got < 0) return;
      pending.append(buffer, static_cast<size_t>(got));
      for (size_t headEnd; (headEnd = pending.find("\r\n\r\n")) != std::string::npos;) {
        CapturedRequest request = parseHead(pending.substr(0, headEnd));
        const auto length = std::ranges::find_if(request.headers, [](const auto& header) {
          return ::strcasecmp(header.first.c_str(), "Content-Length") == 0;
        });
        const size_t bodyLength = length == request.headers.end() ? 0 : std::stoul(length->second);
        if (pending.size() - headEnd - 4 < bodyLength) break;  // the body is still on its way
        request.body = pending.substr(headEnd + 4, bodyLength);
        request.connection = number;
        pending.erase(0, headEnd + 4 + bodyLength);
        const ScriptedAnswer answer = answerFor(request);
        const std::string bytes =
            "HTTP/1.1 " + std::to_string(answer.status) + " Scripted\r\nContent-Length: 0\r\n\r\n";
        // A blocking send of a few bytes goes out whole or not at all.
        if (::send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL) < 0) return;
      }
    }
  }

  // Records the request and answers it as scripted (the responder runs unlocked).
  ScriptedAnswer answerFor(const CapturedRequest& request) {
    std::unique_lock lock(mutex_);
    requests_.push_back(request);
    Responder responder = responder_;
    changed_.notify_all();
    lock.unlock();
    const ScriptedAnswer answer = responder ? responder(request) : ScriptedAnswer{};
    lock.lock();
    changed_.wait(lock, [&] { return closing_ || !answer.stall; });
    changed_.wait_for(lock, answer.delay, [&] { return closing_; });
    return answer;
  }

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
