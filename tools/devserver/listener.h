#pragma once

#include <httplib.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>

namespace orvanta::devserver {

// Serves one cpp-httplib server on one bound port, on a thread of its own.
class Listener {
 public:
  // Binds `host`:`port` (0 = any free port) and starts accepting. Connections made after the
  // constructor returns are queued even before the serving thread runs. Throws
  // std::runtime_error when the port cannot be bound.
  Listener(std::unique_ptr<httplib::Server> server, const std::string& host, int port);

  // close(), then waits for the requests in flight and their connections to end.
  ~Listener();

  Listener(const Listener&) = delete;
  Listener& operator=(const Listener&) = delete;

  int port() const { return port_; }

  // Stops accepting: once it returns, new connections to the port are refused. Requests in
  // flight go on; open keep-alive connections end at cpp-httplib's keep-alive timeout.
  void close();

 private:
  std::unique_ptr<httplib::Server> server_;
  int port_ = 0;
  std::atomic<bool> finished_{false};  // the serving loop has returned
  std::thread thread_;
};

}  // namespace orvanta::devserver
