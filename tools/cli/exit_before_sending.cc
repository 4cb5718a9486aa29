#include "cli/exit_before_sending.h"

#include <cstdlib>

namespace orvanta::cli {
namespace {

std::string requestSuffix() {
  const char* method = std::getenv("ORVANTA_CLI_EXIT_BEFORE_SENDING");
  return method && *method ? "/" + std::string(method) : std::string();
}

}  // namespace

ExitBeforeSending::ExitBeforeSending(std::shared_ptr<HttpClient> inner)
    : inner_(std::move(inner)), suffix_(requestSuffix()) {}

void ExitBeforeSending::send(HttpRequest request, Completion completion) {
  // As a killed process: no destructor, no flush beyond what is on disk.
  if (!suffix_.empty() && request.url.ends_with(suffix_)) std::_Exit(kExitBeforeSending);
  inner_->send(std::move(request), std::move(completion));
}

}  // namespace orvanta::cli
