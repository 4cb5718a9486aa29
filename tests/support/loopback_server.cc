#include "support/loopback_server.h"

#include <httplib.h>

#include <limits>
#include <set>
#include <utility>

namespace orvanta::testing {

LoopbackServer::LoopbackServer() : http_(std::make_unique<httplib::Server>()) {
  // The relay has recorded the request already; this only answers it.
  auto answer = [this](const httplib::Request& request, httplib::Response& response) {
    const std::string index = request.get_header_value(std::string(CapturingRelay::kCaptureIndexHeader));
    ScriptedAnswer scripted = answerFor(std::stoul(index));
    if (scripted.stall) waitUntilClosing();
    response.status = scripted.status;
    for (const auto& [name, value] : scripted.headers) response.set_header(name, value);
    response.body = std::move(scripted.body);
  };
  const std::string anyPath = R"([\s\S]*)";
  http_->Get(anyPath, answer);
  http_->Post(anyPath, answer);
  http_->Put(anyPath, answer);
  http_->Patch(anyPath, answer);
  http_->Delete(anyPath, answer);
  http_->Options(anyPath, answer);
  // httplib closes a kept-alive connection after a few requests by default;
  // a test that counts connections must see only the client's own choices.
  http_->set_keep_alive_max_count(std::numeric_limits<std::size_t>::max());
  http_->set_tcp_nodelay(true);  // see CapturingRelay: answers go out in pieces

  serving_ = std::make_unique<ServerThread>(*http_);
  relay_ = std::make_unique<CapturingRelay>(
      serving_->port(), [this](CapturedRequest request) { return record(std::move(request)); });
}

LoopbackServer::~LoopbackServer() {
  {
    std::lock_guard lock(mutex_);
    closing_ = true;
  }
  changed_.notify_all();
  relay_.reset();
  serving_.reset();
}

std::string LoopbackServer::url(std::string_view target) const {
  return "http://127.0.0.1:" + std::to_string(port()) + std::string(target);
}

void LoopbackServer::answerPath(std::string path, ScriptedAnswer answer) {
  std::lock_guard lock(mutex_);
  pathAnswers_.insert_or_assign(std::move(path), std::move(answer));
}

void LoopbackServer::setResponder(Responder responder) {
  std::lock_guard lock(mutex_);
  responder_ = std::move(responder);
}

std::vector<CapturedRequest> LoopbackServer::requests() const {
  std::lock_guard lock(mutex_);
  return requests_;
}

bool LoopbackServer::waitForRequests(std::size_t count, std::chrono::milliseconds timeout) const {
  std::unique_lock lock(mutex_);
  return changed_.wait_for(lock, timeout, [&] { return requests_.size() >= count; });
}

int LoopbackServer::connectionCount() const {
  std::lock_guard lock(mutex_);
  std::set<int> connections;
  for (const CapturedRequest& request : requests_) connections.insert(request.connection);
  return static_cast<int>(connections.size());
}

std::size_t LoopbackServer::record(CapturedRequest request) {
  std::size_t index = 0;
  {
    std::lock_guard lock(mutex_);
    index = requests_.size();
    requests_.push_back(std::move(request));
  }
  changed_.notify_all();
  return index;
}

ScriptedAnswer LoopbackServer::answerFor(std::size_t index) const {
  Responder responder;
  CapturedRequest request;
  {
    std::lock_guard lock(mutex_);
    request = requests_.at(index);
    const auto byPath = pathAnswers_.find(request.path());
    if (byPath != pathAnswers_.end()) return byPath->second;
    responder = responder_;
  }
  // Outside the lock: the responder may call back into the server.
  return responder ? responder(request) : ScriptedAnswer{};
}

void LoopbackServer::waitUntilClosing() {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [&] { return closing_; });
}

}  // namespace orvanta::testing
