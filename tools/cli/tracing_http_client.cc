#include "cli/tracing_http_client.h"

#include "cli/exchange_line.h"

namespace orvanta::cli {

void TracingHttpClient::send(HttpRequest request, Completion completion) {
  ++inFlight_;
  // The request is kept for the line; the real client gets a copy.
  auto traced = [this, request, completion = std::move(completion)](HttpResponse response) {
    output_->exchange(exchangeLine(request, response));
    completion(std::move(response));
    {
      std::lock_guard lock(mutex_);
      answeredUrls_.insert(request.url);
    }
    answered_.notify_all();
    --inFlight_;
  };
  inner_->send(request, std::move(traced));
}

bool TracingHttpClient::waitForAnswer(const std::string& url, std::chrono::steady_clock::time_point deadline) {
  std::unique_lock lock(mutex_);
  return answered_.wait_until(lock, deadline, [&] { return answeredUrls_.contains(url); });
}

}  // namespace orvanta::cli
