#include "support/loopback_server.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <strings.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <set>
#include <stdexcept>
#include <utility>

namespace orvanta::testing {
namespace {

// The request line and header lines of one request (head: without the blank line).
CapturedRequest parseHead(const std::string& head) {
  std::vector<std::string> lines;
  for (size_t start = 0, end = 0; start <= head.size(); start = end + 2) {
    end = std::min(head.find("\r\n", start), head.size());
    lines.push_back(head.substr(start, end - start));
  }
  CapturedRequest request;
  const std::string& requestLine = lines.front();
  const size_t methodEnd = std::min(requestLine.find(' '), requestLine.size());
  request.method = requestLine.substr(0, methodEnd);
  request.target = requestLine.substr(std::min(methodEnd + 1, requestLine.size()));
  request.target.erase(std::min(request.target.rfind(' '), request.target.size()));
  for (size_t i = 1; i < lines.size(); ++i) {
    const size_t colon = std::min(lines[i].find(':'), lines[i].size());
    const size_t value = std::min(lines[i].find_first_not_of(" \t", colon + 1), lines[i].size());
    request.headers.emplace_back(lines[i].substr(0, colon), lines[i].substr(value));
  }
  return request;
}

bool sendAll(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t sent = ::send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent < 0 && errno == EINTR) continue;
    if (sent <= 0) return false;
    bytes.remove_prefix(static_cast<size_t>(sent));
  }
  return true;
}

}  // namespace

std::vector<std::string> CapturedRequest::values(const std::string& name) const {
  std::vector<std::string> found;
  for (const auto& [headerName, value] : headers) {
    if (::strcasecmp(headerName.c_str(), name.c_str()) == 0) found.push_back(value);
  }
  return found;
}

LoopbackServer::LoopbackServer() {
  listener_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  if (listener_ < 0 || ::bind(listener_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
      ::listen(listener_, SOMAXCONN) != 0 ||
      ::getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
    if (listener_ >= 0) ::close(listener_);
    throw std::runtime_error("loopback server: cannot listen on 127.0.0.1");
  }
  port_ = ntohs(address.sin_port);
  acceptor_ = std::thread([this] {
    for (int number = 1;; ++number) {
      const int fd = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
      if (fd < 0 && (errno == EINTR || errno == ECONNABORTED)) continue;
      if (fd < 0) return;  // the listener was shut down
      const int on = 1;    // every answer goes out at once
      ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
      std::lock_guard lock(mutex_);
      clients_.push_back(fd);
      connections_.emplace_back([this, fd, number] { serve(fd, number); });
    }
  });
}

LoopbackServer::~LoopbackServer() {
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

void LoopbackServer::serve(int fd, int number) {
  std::string pending;  // received, not yet a whole request
  char buffer[16384];
  for (ssize_t got; (got = ::recv(fd, buffer, sizeof buffer, 0)) != 0;) {
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return;
    pending.append(buffer, static_cast<size_t>(got));
    for (size_t headEnd; (headEnd = pending.find("\r\n\r\n")) != std::string::npos;) {
      CapturedRequest request = parseHead(pending.substr(0, headEnd));
      const std::vector<std::string> length = request.values("Content-Length");
      const size_t bodyLength = length.empty() ? 0 : std::stoul(length.front());
      if (pending.size() - headEnd - 4 < bodyLength) break;  // the body is still on its way
      request.body = pending.substr(headEnd + 4, bodyLength);
      request.connection = number;
      pending.erase(0, headEnd + 4 + bodyLength);
      const ScriptedAnswer answer = answerFor(request);
      std::string bytes = "HTTP/1.1 " + std::to_string(answer.status) + " Scripted\r\n";
      for (const auto& [name, value] : answer.headers) bytes += name + ": " + value + "\r\n";
      bytes += "Content-Length: " + std::to_string(answer.body.size()) + "\r\n\r\n" + answer.body;
      if (!sendAll(fd, bytes)) return;
    }
  }
}

ScriptedAnswer LoopbackServer::answerFor(const CapturedRequest& request) {
  Responder responder;
  {
    std::lock_guard lock(mutex_);
    requests_.push_back(request);
    responder = responder_;
  }
  changed_.notify_all();
  const ScriptedAnswer answer = responder ? responder(request) : ScriptedAnswer{};  // outside the lock
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [&] { return closing_ || !answer.stall; });
  return answer;
}

std::string LoopbackServer::url(std::string_view target) const {
  return "http://127.0.0.1:" + std::to_string(port_) + std::string(target);
}

void LoopbackServer::setResponder(Responder responder) {
  std::lock_guard lock(mutex_);
  responder_ = std::move(responder);
}

std::vector<CapturedRequest> LoopbackServer::requests() const {
  std::lock_guard lock(mutex_);
  return requests_;
}

bool LoopbackServer::waitForRequests(std::size_t count, std::chrono::milliseconds timeout) const {
  std::unique_lock lock(mutex_);
  return changed_.wait_for(lock, timeout, [&] { return requests_.size() >= count; });
}

int LoopbackServer::connectionCount() const {
  std::lock_guard lock(mutex_);
  std::set<int> connections;
  for (const CapturedRequest& request : requests_) connections.insert(request.connection);
  return static_cast<int>(connections.size());
}

}  // namespace orvanta::testing
