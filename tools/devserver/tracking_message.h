#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "devserver/json.h"

namespace orvanta::devserver {

// What the server reads out of one tracking POST body.
struct DecodedBody {
  // The object after "data=", or nullopt when the body is malformed: it does not start with
  // "data=", or what follows is not a JSON object.
  std::optional<Json> data;
  std::optional<std::int64_t> eventid;  // "eventid" when it is an integer
  std::optional<std::string> identity;  // each of these three when it is a string
  std::optional<std::string> sessionid;
  std::optional<std::string> pushid;
};

// Reads a body written as "data=" followed by compact JSON. The JSON is taken as is: the client
// does not form-encode it, so no percent-decoding happens here.
DecodedBody decodeTrackingBody(std::string_view body);

// A short human name for a message: "launch", "popup shown", "custom" for any other event id,
// "profile" for the profile message (which has no event id), "" when nothing is known.
std::string eventName(std::string_view method, std::optional<std::int64_t> eventid);

}  // namespace orvanta::devserver
