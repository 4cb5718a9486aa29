// Serving a cpp-httplib server from a background thread.
#pragma once

#include <thread>

namespace httplib {
class Server;
}

namespace orvanta::testing {

// Serves an httplib server (plain or TLS) on 127.0.0.1, on a free port, from
// a thread of its own. The server's routes must be set up beforehand, and it
// must outlive this object.
class ServerThread {
 public:
  // Serving when the constructor returns; throws std::runtime_error when the
  // server cannot listen.
  explicit ServerThread(httplib::Server& server);
  // Stops the server and joins the thread. Handlers still running must be
  // able to finish.
  ~ServerThread();
  ServerThread(const ServerThread&) = delete;
  ServerThread& operator=(const ServerThread&) = delete;

  int port() const { return port_; }

 private:
  httplib::Server& server_;
  int port_ = 0;
  std::thread thread_;
};

}  // namespace orvanta::testing
