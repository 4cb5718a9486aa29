#include "support/server_thread.h"

#include <httplib.h>

#include <stdexcept>

namespace orvanta::testing {

ServerThread::ServerThread(httplib::Server& server) : server_(server) {
  if (server_.is_valid()) port_ = server_.bind_to_any_port("127.0.0.1");
  if (port_ <= 0) throw std::runtime_error("test server: cannot listen on 127.0.0.1");
  thread_ = std::thread([this] { server_.listen_after_bind(); });
  // stop() only takes effect on a running server, so wait for it to run.
  while (!server_.is_running()) std::this_thread::yield();
}

ServerThread::~ServerThread() {
  server_.stop();
  thread_.join();
}

}  // namespace orvanta::testing
