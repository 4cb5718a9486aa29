#include "notifications/notification_payload.h"

#include <charconv>

#include "base/utf8.h"
#include "device/string_helpers.h"
#include "orvanta/push_task_manager.h"

namespace orvanta {
namespace notification_payload {

const Map* section(const Map& userInfo) {
  const Value* payload = userInfo.find("payload");
  return payload ? payload->asMap() : nullptr;
}

std::optional<std::string> trid(const Map& userInfo) {
  const Map* payload = section(userInfo);
  const Value* trid = payload ? payload->find("trid") : nullptr;
  const std::string* text = trid ? trid->asString() : nullptr;
  return text ? std::optional<std::string>(*text) : std::nullopt;
}

std::optional<std::string> whyNotOurs(const Map& userInfo) {
  const Map* payload = section(userInfo);
  if (payload == nullptr) return userInfo.contains("payload") ? "its \"payload\" is not a map" : "it has no \"payload\"";
  const std::optional<std::string> id = trid(userInfo);
  if (!id) return payload->contains("trid") ? "its \"trid\" is not a string" : "it has no \"trid\"";
  if (removeblankSpace(*id).empty()) return "its \"trid\" is blank";
  // Neither could be stored and matched exactly: a NUL ends SQL text.
  if (!isUtf8(*id)) return "its \"trid\" is not UTF-8";
  if (id->find('\0') != std::string::npos) return "its \"trid\" holds a NUL character";
  return std::nullopt;
}

bool isOursElseLog(const Map& userInfo, const Logger& logger) {
  const std::optional<std::string> why = whyNotOurs(userInfo);
  if (why) logger.log("a notification is left alone, not being the library's own: " + *why);
  return !why;
}

Alert alert(const Map& userInfo) {
  const Value* aps = userInfo.find("aps");
  const Value* alert = aps && aps->isMap() ? aps->asMap()->find("alert") : nullptr;
  const Map* texts = alert ? alert->asMap() : nullptr;
  if (texts == nullptr) return {};
  return {OrvantaPushTaskManager::getValueForKey("title", *texts).value_or(""),
          OrvantaPushTaskManager::getValueForKey("body", *texts).value_or("")};
}

}  // namespace notification_payload

bool OrvantaPushTaskManager::isNotificationFromOrvanta(const Map& userInfo) {
  return !notification_payload::whyNotOurs(userInfo);
}

std::optional<std::string> OrvantaPushTaskManager::getValueForKey(std::string_view key, const Map& dataDict) {
  const Value* value = dataDict.find(key);
  if (value == nullptr) return std::nullopt;
  if (const std::string* text = value->asString()) return isNULL(text) ? std::nullopt : std::optional(*text);
  if (const bool* flag = value->asBool()) return *flag ? "1" : "0";
  if (const std::int64_t* integer = value->asInteger()) return std::to_string(*integer);
  if (const double* real = value->asDouble()) {
    // The shortest text that reads back as the same number, as 2.5 or 1e+21.
    char text[32];
    const auto written = std::to_chars(text, text + sizeof text, *real);
    return std::string(text, written.ptr);
  }
  return std::nullopt;
}

}  // namespace orvanta
