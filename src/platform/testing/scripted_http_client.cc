#include "orvanta/testing/scripted_http_client.h"

#include <utility>

namespace orvanta::testing {

ScriptedHttpClient::ScriptedHttpClient() { answerWithStatus(200); }

void ScriptedHttpClient::send(HttpRequest request, Completion completion) {
  Responder responder;
  {
    std::lock_guard lock(mutex_);
    requests_.push_back(request);
    if (stopped_ || draining_) {
      responder = [](const HttpRequest&) { return HttpResponse{0, {}, std::nullopt, "stopped"}; };
    } else if (hold_) {
      held_.push_back({std::move(request), std::move(completion)});
      return;
    } else {
      responder = responder_;
    }
  }
  completion(responder(request));
}

void ScriptedHttpClient::stop() {
  std::vector<Held> held;
  {
    std::lock_guard lock(mutex_);
    stopped_ = true;
    held.swap(held_);
  }
  for (auto& h : held) h.completion(HttpResponse{0, {}, std::nullopt, "stopped"});
}

void ScriptedHttpClient::drain(double /*graceSeconds*/) {
  std::function<void()> action;
  {
    std::lock_guard lock(mutex_);
    draining_ = true;
    action = whileDraining_;
  }
  if (action) action();
  stop();
}

void ScriptedHttpClient::whileDraining(std::function<void()> action) {
  std::lock_guard lock(mutex_);
  whileDraining_ = std::move(action);
}

void ScriptedHttpClient::setResponder(Responder responder) {
  std::lock_guard lock(mutex_);
  responder_ = std::move(responder);
}

void ScriptedHttpClient::answerWithStatus(int status) {
  setResponder([status](const HttpRequest&) { return HttpResponse{status, {}, std::string(), {}}; });
}

void ScriptedHttpClient::holdAnswers(bool hold) {
  std::lock_guard lock(mutex_);
  hold_ = hold;
}

std::size_t ScriptedHttpClient::releaseHeld() {
  std::vector<Held> held;
  Responder responder;
  {
    std::lock_guard lock(mutex_);
    held.swap(held_);
    responder = responder_;
  }
  for (auto& h : held) h.completion(responder(h.request));
  return held.size();
}

std::size_t ScriptedHttpClient::heldCount() const {
  std::lock_guard lock(mutex_);
  return held_.size();
}

std::vector<HttpRequest> ScriptedHttpClient::requests() const {
  std::lock_guard lock(mutex_);
  return requests_;
}

std::size_t ScriptedHttpClient::requestCount() const {
  std::lock_guard lock(mutex_);
  return requests_.size();
}

void ScriptedHttpClient::clearRequests() {
  std::lock_guard lock(mutex_);
  requests_.clear();
}

}  // namespace orvanta::testing
