#include "devserver/fault_controller.h"

#include <algorithm>

namespace orvanta::devserver {

void FaultController::apply(const ControlRequest& request) {
  std::lock_guard lock(mutex_);
  if (request.clear) {
    rules_.clear();
    stall_ = std::chrono::milliseconds(0);
    ++clear_generation_;
    wake_.notify_all();
  }
  rules_.insert(rules_.end(), request.rules.begin(), request.rules.end());
  if (request.stall) stall_ = *request.stall;
}

FaultDecision FaultController::decide(std::string_view method) {
  std::lock_guard lock(mutex_);
  auto rule = std::find_if(rules_.begin(), rules_.end(), [&](const FaultRule& r) {
    return !r.method || *r.method == method;
  });
  if (rule == rules_.end()) return {};
  FaultDecision decision{.reset = !rule->status, .status = rule->status.value_or(0)};
  if (rule->count && --*rule->count == 0) rules_.erase(rule);
  return decision;
}

void FaultController::stall() {
  std::unique_lock lock(mutex_);
  if (stall_.count() == 0) return;
  auto delay = stall_;
  unsigned generation = clear_generation_;
  ++stalled_;
  wake_.wait_for(lock, delay, [&] { return shut_down_ || clear_generation_ != generation; });
  --stalled_;
}

void FaultController::shutdown() {
  std::lock_guard lock(mutex_);
  shut_down_ = true;
  wake_.notify_all();
}

Json FaultController::state() const {
  std::lock_guard lock(mutex_);
  Json rules = Json::array();
  for (const FaultRule& rule : rules_) {
    rules.push_back({{"action", rule.status ? "fail" : "reset"},
                     {"status", rule.status ? Json(*rule.status) : Json()},
                     {"method", rule.method ? Json(*rule.method) : Json()},
                     {"remaining", rule.count ? Json(*rule.count) : Json()}});
  }
  return {{"rules", std::move(rules)}, {"stall_ms", stall_.count()}, {"stalled", stalled_}};
}

}  // namespace orvanta::devserver
