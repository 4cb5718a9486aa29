// Reading the parts of a notification's user info that the library uses.
// Every reader takes user info of any shape: a part of the wrong kind reads
// as missing, and nothing throws.
#pragma once

#include <optional>
#include <string>

#include "base/logger.h"
#include "orvanta/value.h"

namespace orvanta::notification_payload {

// "payload", when it is a map.
const Map* section(const Map& userInfo);
// "payload" -> "trid", when it is a string (blank or not).
std::optional<std::string> trid(const Map& userInfo);
// Why userInfo is not one of the library's notifications; nullopt when it is.
std::optional<std::string> whyNotOurs(const Map& userInfo);
// Whether it is; when not, one log line says why it is left alone.
bool isOursElseLog(const Map& userInfo, const Logger& logger);

// "aps" -> "alert" -> "title" and "body"; both empty unless the alert is a map.
struct Alert {
  std::string title;
  std::string body;
};
Alert alert(const Map& userInfo);

}  // namespace orvanta::notification_payload
