#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <set>
#include <string>

#include "cli/output.h"
#include "orvanta/platform/http_client.h"

namespace orvanta::cli {

// Wraps the platform's HTTP client: forwards every request, prints each
// exchange as one line once its answer is in, and counts the requests whose
// completion has not yet returned. Because the library queues a failed
// message inside that completion, a count of zero means that every message
// handed over so far is either answered 200 or in the offline queue.
class TracingHttpClient final : public HttpClient {
 public:
  TracingHttpClient(std::shared_ptr<HttpClient> inner, std::shared_ptr<Output> output)
      : inner_(std::move(inner)), output_(std::move(output)) {}
  // Stops the real client first: its stop runs the last completions, which
  // still use this object.
  ~TracingHttpClient() override { inner_->stop(); }
  TracingHttpClient(const TracingHttpClient&) = delete;
  TracingHttpClient& operator=(const TracingHttpClient&) = delete;

  void send(HttpRequest request, Completion completion) override;
  void stop() override { inner_->stop(); }
  void drain(double graceSeconds) override { inner_->drain(graceSeconds); }

  // Requests handed to the real client whose completion has not returned.
  int inFlight() const { return inFlight_.load(); }
  // Waits until the completion of a request for url has returned; false when
  // the deadline came first.
  bool waitForAnswer(const std::string& url, std::chrono::steady_clock::time_point deadline);

 private:
  const std::shared_ptr<HttpClient> inner_;
  const std::shared_ptr<Output> output_;
  std::atomic<int> inFlight_{0};
  std::mutex mutex_;
  std::condition_variable answered_;
  std::set<std::string> answeredUrls_;  // guarded by mutex_
};

}  // namespace orvanta::cli
