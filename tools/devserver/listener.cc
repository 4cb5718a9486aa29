#include "devserver/listener.h"

#include <sys/socket.h>

#include <stdexcept>

namespace orvanta::devserver {

Listener::Listener(std::unique_ptr<httplib::Server> server, const std::string& host, int port)
    : server_(std::move(server)) {
  // Address reuse lets the port be bound again right after going down, while connections of the
  // previous listener linger. cpp-httplib's default would be SO_REUSEPORT, which would also let a
  // second server share the port silently instead of failing to bind.
  server_->set_socket_options([](socket_t sock) {
    int yes = 1;
    setsockopt(sock, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
  });
  if (port == 0) {
    port_ = server_->bind_to_any_port(host);
  } else if (server_->bind_to_port(host, port)) {
    port_ = port;
  }
  if (port_ <= 0) {
    throw std::runtime_error("cannot listen on " + host + ":" + std::to_string(port));
  }
  thread_ = std::thread([this] {
    server_->listen_after_bind();
    finished_ = true;
  });
  // httplib's stop() does nothing until the serving loop has marked itself running; wait for
  // that so that close() always takes effect.
  while (!server_->is_running() && !finished_) std::this_thread::yield();
}

Listener::~Listener() {
  close();
  thread_.join();
}

void Listener::close() { server_->stop(); }

}  // namespace orvanta::devserver
