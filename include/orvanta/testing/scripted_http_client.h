#pragma once

#include <functional>
#include <mutex>
#include <vector>

#include "orvanta/platform/http_client.h"

namespace orvanta::testing {

// An HTTP client that records every request and answers from a script.
// Unless answers are held, the completion runs inside send() on the caller's
// thread, which keeps unit tests deterministic; with answers held they wait
// until the test releases them, in order, as the network would later.
// drain() plays a grace period without waiting: the test says beforehand what
// the network does during it (whileDraining), and whatever is still held
// afterwards has outlived it.
class ScriptedHttpClient : public HttpClient {
 public:
  using Responder = std::function<HttpResponse(const HttpRequest&)>;

  ScriptedHttpClient();

  void send(HttpRequest request, Completion completion) override;
  void stop() override;
  // Refuses new requests (status 0, at once), runs the whileDraining action
  // on this thread, then stops: held answers not released by then fail with
  // status 0. graceSeconds is not waited for.
  void drain(double graceSeconds) override;

  // Every answer comes from responder (default: status 200, empty body).
  void setResponder(Responder responder);
  // Shorthand: every answer has this status.
  void answerWithStatus(int status);
  void holdAnswers(bool hold);
  // Answers every held request; answers how many.
  std::size_t releaseHeld();
  std::size_t heldCount() const;
  // What happens during drain()'s grace period, e.g. releaseHeld(): answers
  // that come in time. Without one, every held answer comes too late.
  void whileDraining(std::function<void()> action);

  std::vector<HttpRequest> requests() const;
  std::size_t requestCount() const;
  void clearRequests();

 private:
  struct Held {
    HttpRequest request;
    Completion completion;
  };
  mutable std::mutex mutex_;
  Responder responder_;
  bool hold_ = false;
  bool stopped_ = false;
  bool draining_ = false;
  std::function<void()> whileDraining_;
  std::vector<HttpRequest> requests_;
  std::vector<Held> held_;
};

}  // namespace orvanta::testing
