#pragma once

#include <memory>
#include <string>

#include "orvanta/platform/http_client.h"

namespace orvanta::cli {

// A test hook between the library and the network: with the environment
// variable ORVANTA_CLI_EXIT_BEFORE_SENDING set to a method name (such as
// "pn_deliver"), the process ends at once, with status kExitBeforeSending and
// no clean-up, when the library hands over its first request to that method:
// after everything the library does before a send, before the send. Without
// the variable every request goes straight on.
class ExitBeforeSending final : public HttpClient {
 public:
  static constexpr int kExitBeforeSending = 3;

  explicit ExitBeforeSending(std::shared_ptr<HttpClient> inner);

  void send(HttpRequest request, Completion completion) override;
  void stop() override { inner_->stop(); }
  void drain(double graceSeconds) override { inner_->drain(graceSeconds); }

 private:
  const std::shared_ptr<HttpClient> inner_;
  const std::string suffix_;  // "/" + the method; empty without the variable
};

}  // namespace orvanta::cli
