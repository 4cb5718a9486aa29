#include "support/capturing_relay.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <stdexcept>
#include <utility>

namespace orvanta::testing {
namespace {

constexpr std::string_view kLineEnd = "\r\n";
constexpr std::string_view kHeadEnd = "\r\n\r\n";

bool equalsIgnoringCase(std::string_view a, std::string_view b) {
  auto lower = [](char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; };
  return a.size() == b.size() &&
         std::equal(a.begin(), a.end(), b.begin(), [&](char x, char y) { return lower(x) == lower(y); });
}

// The request line and header lines of one request (head: up to, without,
// the blank line).
CapturedRequest parseHead(std::string_view head) {
  CapturedRequest request;
  const size_t lineEnd = std::min(head.find(kLineEnd), head.size());
  const std::string_view requestLine = head.substr(0, lineEnd);
  const size_t methodEnd = std::min(requestLine.find(' '), requestLine.size());
  const size_t targetEnd = requestLine.rfind(' ');
  request.method = requestLine.substr(0, methodEnd);
  if (targetEnd != std::string_view::npos && targetEnd > methodEnd) {
    request.target = requestLine.substr(methodEnd + 1, targetEnd - methodEnd - 1);
  }
  std::string_view rest = head.substr(lineEnd);
  while (!rest.empty()) {
    rest.remove_prefix(kLineEnd.size());
    const std::string_view line = rest.substr(0, rest.find(kLineEnd));
    rest.remove_prefix(line.size());
    const size_t colon = std::min(line.find(':'), line.size());
    std::string_view value = line.substr(std::min(colon + 1, line.size()));
    value.remove_prefix(std::min(value.find_first_not_of(" \t"), value.size()));
    request.headers.emplace_back(line.substr(0, colon), value);
  }
  return request;
}

// The first Content-Length of the request; 0 when absent or not a number.
size_t contentLength(const CapturedRequest& request) {
  const std::vector<std::string> lengths = request.values("Content-Length");
  size_t length = 0;
  if (!lengths.empty()) std::from_chars(lengths[0].data(), lengths[0].data() + lengths[0].size(), length);
  return length;
}

// Sends every byte; false when the connection ended first.
bool sendAll(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t sent = ::send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent < 0 && errno == EINTR) continue;
    if (sent <= 0) return false;
    bytes.remove_prefix(static_cast<size_t>(sent));
  }
  return true;
}

// Reads what is there (blocking for at least one byte); empty at the end of
// the connection.
std::string_view receiveSome(int fd, std::string& buffer) {
  buffer.resize(16 * 1024);
  for (;;) {
    const ssize_t got = ::recv(fd, buffer.data(), buffer.size(), 0);
    if (got < 0 && errno == EINTR) continue;
    return std::string_view(buffer.data(), got > 0 ? static_cast<size_t>(got) : 0);
  }
}

// Small writes go out at once: a relayed answer written in pieces must not
// wait for the other side's delayed acknowledgement between them.
void sendWithoutDelay(int fd) {
  const int on = 1;
  ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

sockaddr_in loopbackAddress(int port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

}  // namespace

std::string CapturedRequest::path() const { return target.substr(0, target.find('?')); }

std::vector<std::string> CapturedRequest::values(std::string_view name) const {
  std::vector<std::string> found;
  for (const auto& [headerName, value] : headers) {
    if (equalsIgnoringCase(headerName, name)) found.push_back(value);
  }
  return found;
}

// An owned socket descriptor.
class CapturingRelay::Socket {
 public:
  explicit Socket(int fd) : fd_(fd) {}
  ~Socket() {
    if (fd_ >= 0) ::close(fd_);
  }
  Socket(const Socket&) = delete;
  Socket& operator=(const Socket&) = delete;

  int get() const { return fd_; }
  // Ends both directions; a thread blocked on the socket wakes up. The
  // descriptor itself stays open until destruction.
  void shutdown() const { ::shutdown(fd_, SHUT_RDWR); }

 private:
  const int fd_;
};

// One client connection and its twin towards the server behind.
struct CapturingRelay::Connection {
  Connection(int number, int clientFd, int upstreamFd)
      : number(number), client(clientFd), upstream(upstreamFd) {}
  void close() const {
    client.shutdown();
    upstream.shutdown();
  }

  const int number;
  const Socket client;
  const Socket upstream;
  std::thread inbound;   // client to server, recording
  std::thread outbound;  // server to client
};

CapturingRelay::CapturingRelay(int upstreamPort, Recorder record)
    : upstreamPort_(upstreamPort), record_(std::move(record)) {
  listener_ = std::make_unique<Socket>(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_in address = loopbackAddress(0);
  socklen_t length = sizeof address;
  if (listener_->get() < 0 ||
      ::bind(listener_->get(), reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
      ::listen(listener_->get(), SOMAXCONN) != 0 ||
      ::getsockname(listener_->get(), reinterpret_cast<sockaddr*>(&address), &length) != 0) {
    throw std::runtime_error("capturing relay: cannot listen on 127.0.0.1");
  }
  port_ = ntohs(address.sin_port);
  acceptor_ = std::thread([this] { acceptConnections(); });
}

CapturingRelay::~CapturingRelay() {
  listener_->shutdown();  // accept() fails from now on
  acceptor_.join();
  std::lock_guard lock(mutex_);
  for (const auto& connection : connections_) connection->close();
  for (const auto& connection : connections_) {
    connection->inbound.join();
    connection->outbound.join();
  }
}

void CapturingRelay::acceptConnections() {
  for (int number = 1;; ++number) {
    const int clientFd = ::accept4(listener_->get(), nullptr, nullptr, SOCK_CLOEXEC);
    if (clientFd < 0) {
      if (errno == EINTR || errno == ECONNABORTED) continue;
      return;  // the listener was shut down
    }
    const int upstreamFd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    auto connection = std::make_unique<Connection>(number, clientFd, upstreamFd);
    const sockaddr_in upstream = loopbackAddress(upstreamPort_);
    if (upstreamFd < 0 ||
        ::connect(upstreamFd, reinterpret_cast<const sockaddr*>(&upstream), sizeof upstream) != 0) {
      continue;  // the client sees its connection closed
    }
    sendWithoutDelay(clientFd);
    sendWithoutDelay(upstreamFd);
    Connection& started = *connection;
    std::lock_guard lock(mutex_);
    connections_.push_back(std::move(connection));
    started.inbound = std::thread([this, &started] { relayRequests(started); });
    started.outbound = std::thread([&started] {
      std::string buffer;
      for (std::string_view bytes; !(bytes = receiveSome(started.upstream.get(), buffer)).empty();) {
        if (!sendAll(started.client.get(), bytes)) break;
      }
      started.close();
    });
  }
}

void CapturingRelay::relayRequests(Connection& connection) {
  std::string buffer;
  std::string pending;  // received, not yet a whole request
  for (std::string_view bytes; !(bytes = receiveSome(connection.client.get(), buffer)).empty();) {
    pending.append(bytes);
    bool open = true;
    for (size_t headEnd; open && (headEnd = pending.find(kHeadEnd)) != std::string::npos;) {
      const std::string_view head = std::string_view(pending).substr(0, headEnd);
      CapturedRequest request = parseHead(head);
      const size_t bodyStart = headEnd + kHeadEnd.size();
      const size_t bodyLength = contentLength(request);
      if (pending.size() - bodyStart < bodyLength) break;  // the body is still on its way
      request.body = pending.substr(bodyStart, bodyLength);
      request.connection = connection.number;
      const size_t index = record_(std::move(request));
      std::string forwarded(head);
      forwarded.append(kLineEnd).append(kCaptureIndexHeader).append(": ").append(std::to_string(index));
      forwarded.append(kHeadEnd).append(pending, bodyStart, bodyLength);
      open = sendAll(connection.upstream.get(), forwarded);
      pending.erase(0, bodyStart + bodyLength);
    }
    if (!open) break;
  }
  connection.close();
}

}  // namespace orvanta::testing
