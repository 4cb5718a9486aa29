#include "devserver/connection_reset.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <charconv>
#include <filesystem>
#include <string>

namespace orvanta::devserver {
namespace {

struct Endpoint {
  std::string address;
  int port = -1;
};

// Numeric address and port of a socket name, as cpp-httplib reports them in a Request.
Endpoint endpointOf(const sockaddr_storage& name) {
  char text[INET6_ADDRSTRLEN] = {};
  if (name.ss_family == AF_INET) {
    const auto& v4 = reinterpret_cast<const sockaddr_in&>(name);
    inet_ntop(AF_INET, &v4.sin_addr, text, sizeof text);
    return {text, ntohs(v4.sin_port)};
  }
  if (name.ss_family == AF_INET6) {
    const auto& v6 = reinterpret_cast<const sockaddr_in6&>(name);
    inet_ntop(AF_INET6, &v6.sin6_addr, text, sizeof text);
    return {text, ntohs(v6.sin6_port)};
  }
  return {};
}

bool matches(int fd, const httplib::Request& request) {
  sockaddr_storage local{};
  sockaddr_storage peer{};
  socklen_t local_size = sizeof local;
  socklen_t peer_size = sizeof peer;
  if (getsockname(fd, reinterpret_cast<sockaddr*>(&local), &local_size) != 0 ||
      getpeername(fd, reinterpret_cast<sockaddr*>(&peer), &peer_size) != 0) {
    return false;
  }
  Endpoint l = endpointOf(local);
  Endpoint p = endpointOf(peer);
  return l.port == request.local_port && l.address == request.local_addr &&
         p.port == request.remote_port && p.address == request.remote_addr;
}

// The descriptor of the connection, or -1. Descriptors of other threads may open and close while
// this looks; none of them can carry this connection's address pair, so a match is ours.
int findSocket(const httplib::Request& request) {
  std::error_code error;
  for (std::filesystem::directory_iterator it("/proc/self/fd", error), end; !error && it != end;
       it.increment(error)) {
    std::string name = it->path().filename().string();
    int fd = -1;
    auto [parsed, ec] = std::from_chars(name.data(), name.data() + name.size(), fd);
    if (ec == std::errc() && parsed == name.data() + name.size() && matches(fd, request)) return fd;
  }
  return -1;
}

}  // namespace

bool resetConnection(const httplib::Request& request) {
  int fd = findSocket(request);
  if (fd < 0) return false;
  linger abort{.l_onoff = 1, .l_linger = 0};
  if (setsockopt(fd, SOL_SOCKET, SO_LINGER, &abort, sizeof abort) != 0) return false;
  int placeholder = open("/dev/null", O_WRONLY | O_CLOEXEC);
  if (placeholder < 0) return false;
  bool replaced = dup3(placeholder, fd, O_CLOEXEC) == fd;  // closes the socket: RST goes out
  close(placeholder);
  return replaced;
}

}  // namespace orvanta::devserver
