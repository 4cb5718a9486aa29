#include "devserver/tracking_message.h"

#include <array>
#include <utility>

namespace orvanta::devserver {
namespace {

constexpr std::string_view kDataPrefix = "data=";

std::optional<std::string> stringField(const Json& object, const char* key) {
  auto it = object.find(key);
  if (it == object.end() || !it->is_string()) return std::nullopt;
  return it->get<std::string>();
}

}  // namespace

DecodedBody decodeTrackingBody(std::string_view body) {
  DecodedBody decoded;
  if (!body.starts_with(kDataPrefix)) return decoded;
  Json data = parseDocument(body.substr(kDataPrefix.size()));
  if (!data.is_object()) return decoded;
  if (auto it = data.find("eventid"); it != data.end() && it->is_number_integer()) {
    decoded.eventid = it->get<std::int64_t>();
  }
  decoded.identity = stringField(data, "identity");
  decoded.sessionid = stringField(data, "sessionid");
  decoded.pushid = stringField(data, "pushid");
  decoded.data = std::move(data);
  return decoded;
}

std::string eventName(std::string_view method, std::optional<std::int64_t> eventid) {
  static constexpr std::array<std::pair<std::int64_t, std::string_view>, 10> kNames{{
      {12, "notification delivered"},
      {13, "notification opened"},
      {20, "first launch"},
      {21, "launch"},
      {22, "login"},
      {23, "logout"},
      {25, "register"},
      {41, "popup shown"},
      {42, "popup clicked"},
      {43, "popup closed"},
  }};
  if (!eventid) return method == "profilePush" ? "profile" : "";
  for (const auto& [id, name] : kNames) {
    if (id == *eventid) return std::string(name);
  }
  return "custom";
}

}  // namespace orvanta::devserver
