// rules and why: what the in-app rules downloaded at start-up are, and what
// they would decide for an event.
#include <string>

#include "cli/command_handlers.h"
#include "cli/host.h"
#include "orvanta/app_tracking.h"
#include "orvanta/json.h"
#include "orvanta/popup_trace.h"
#include "orvanta/runtime.h"

namespace orvanta::cli {
namespace {

// "rule ID: passes" or "rule ID: fails CHECK (detail)"; "-" for a rule without id.
std::string candidateLine(const RuleTrace& rule) {
  std::string text = "rule " + rule.ruleId.value_or("-") + ": ";
  if (rule.decidedBy == RuleCheck::kShown) return text + "passes";
  return text + "fails " + std::string(checkName(rule.decidedBy)) + " (" + rule.detail + ")";
}

std::string winnerLine(const PopupTrace& trace) {
  for (const RuleTrace& rule : trace.candidates) {
    if (rule.decidedBy == RuleCheck::kShown) return "winner " + rule.ruleId.value_or("-");
  }
  return "winner none";
}

}  // namespace

Action parseRules(Arguments&) {
  return [](Host& host) {
    for (const Value& rule : host.runtime().appTracking().popupRules()) host.output().line(dumpJson(rule));
  };
}

Action parseWhy(Arguments& words) {
  const std::int64_t eventId = integerArgument("EVENTID", words.required("EVENTID"));
  std::optional<std::string> payloadText = words.optional();
  const Array products = payloadText ? productsArgument("PAYLOAD_JSON", *payloadText) : Array{};
  return [eventId, products](Host& host) {
    const PopupTrace trace = host.runtime().appTracking().popupDryRun(eventId, products);
    if (trace.offline) host.output().note("the network is unreachable: no popup shows and no rule is looked at");
    for (const RuleTrace& rule : trace.candidates) host.output().line(candidateLine(rule));
    host.output().line(winnerLine(trace));
  };
}

}  // namespace orvanta::cli
