#include "cli/tracing_http_client.h"

#include "cli/exchange_line.h"

namespace orvanta::cli {

void TracingHttpClient::send(HttpRequest request, Completion completion) {
  ++inFlight_;
  // The request is kept for the line; the real client gets a copy.
  auto traced = [this, request, completion = std::move(completion)](HttpResponse response) {
    output_->exchange(exchangeLine(request, response));
    completion(std::move(response));
    --inFlight_;
  };
  inner_->send(request, std::move(traced));
}

}  // namespace orvanta::cli
