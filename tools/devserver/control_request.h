#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "devserver/json.h"

namespace orvanta::devserver {

// One injected fault for tracking POSTs: answer `status`, or reset the connection when `status`
// is nullopt; only for `method` when given; for the next `count` matching requests, or until
// cleared when `count` is nullopt.
struct FaultRule {
  std::optional<int> status{};
  std::optional<std::string> method{};
  std::optional<int> count{};

  friend bool operator==(const FaultRule&, const FaultRule&) = default;
};

// A change of fault modes, from the control API or from the command line. Applied in this
// order: clear, rules, stall, down/up.
struct ControlRequest {
  bool clear = false;  // drop every rule, stop stalling, come back up
  std::vector<FaultRule> rules{};                      // appended to the active rules
  std::optional<std::chrono::milliseconds> stall{};    // delay every tracking POST; 0 = stop
  bool down = false;                                   // refuse connections until "up"
  std::optional<std::chrono::milliseconds> down_for{}; // refuse connections for this long
  bool up = false;
};

// Reads a control document such as {"fail":{"status":500,"count":3}},
// {"fail":{"status":503,"method":"pn_login"}}, {"reset":{"count":2}}, {"stall_ms":2000},
// {"down_ms":5000}, {"down":true}, {"up":true} or {"clear":true}; keys may be combined.
// Throws std::invalid_argument naming the offending key when the document is not one of these.
ControlRequest parseControlRequest(const Json& document);

}  // namespace orvanta::devserver
