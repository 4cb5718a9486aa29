#include "devserver/control_request.h"

#include <limits>
#include <stdexcept>

namespace orvanta::devserver {
namespace {

[[noreturn]] void reject(const std::string& why) { throw std::invalid_argument(why); }

int integerIn(const Json& value, const std::string& key, std::int64_t low, std::int64_t high) {
  if (!value.is_number_integer()) reject(key + " must be an integer");
  auto n = value.get<std::int64_t>();
  if (n < low || n > high) {
    reject(key + " must be between " + std::to_string(low) + " and " + std::to_string(high));
  }
  return static_cast<int>(n);
}

bool flag(const Json& value, const std::string& key) {
  if (!value.is_boolean()) reject(key + " must be true or false");
  return value.get<bool>();
}

std::chrono::milliseconds duration(const Json& value, const std::string& key) {
  return std::chrono::milliseconds(integerIn(value, key, 0, std::numeric_limits<int>::max()));
}

// "fail" needs a status; "reset" has none.
FaultRule faultRule(const Json& value, const std::string& key, bool with_status) {
  if (!value.is_object()) reject(key + " must be an object");
  FaultRule rule;
  for (const auto& [name, field] : value.items()) {
    std::string path = key + "." + name;
    if (name == "status" && with_status) {
      rule.status = integerIn(field, path, 201, 599);
    } else if (name == "count") {
      rule.count = integerIn(field, path, 1, std::numeric_limits<int>::max());
    } else if (name == "method") {
      if (!field.is_string() || field.get<std::string>().empty()) {
        reject(path + " must be a method name");
      }
      rule.method = field.get<std::string>();
    } else {
      reject("unknown key " + path);
    }
  }
  if (with_status && !rule.status) reject(key + ".status is required");
  return rule;
}

}  // namespace

ControlRequest parseControlRequest(const Json& document) {
  if (!document.is_object()) reject("the control document must be a JSON object");
  ControlRequest request;
  for (const auto& [key, value] : document.items()) {
    if (key == "clear") {
      request.clear = flag(value, key);
    } else if (key == "fail") {
      request.rules.push_back(faultRule(value, key, /*with_status=*/true));
    } else if (key == "reset") {
      request.rules.push_back(faultRule(value, key, /*with_status=*/false));
    } else if (key == "stall_ms") {
      request.stall = duration(value, key);
    } else if (key == "down") {
      request.down = flag(value, key);
    } else if (key == "down_ms") {
      request.down_for = duration(value, key);
    } else if (key == "up") {
      request.up = flag(value, key);
    } else {
      reject("unknown key " + key);
    }
  }
  if (request.up && (request.down || request.down_for)) reject("up and down together");
  return request;
}

}  // namespace orvanta::devserver
