#include "inapp/frequency_capping.h"

#include <utility>

#include "device/date_formator.h"
#include "inapp/value_readings.h"

namespace orvanta {
namespace {

constexpr const char* kFrequency = "frequency";
constexpr const char* kFrequencyType = "frequencyType";
constexpr const char* kFrequencyRemaining = "frequencyRemaining";
constexpr const char* kModifiedDate = "modifiedDate";
constexpr const char* kDisplayDay = "displayDay";
constexpr const char* kSessionID = "sessionID";

// Reads key into field when the stored kind is T; false when the key is there
// with another kind.
template <typename T, typename Field>
bool read(const Map& map, const char* key, Field& field) {
  const Value* value = map.find(key);
  if (!value) return true;
  const auto* typed = std::get_if<T>(&value->storage());
  if (!typed) return false;
  field = *typed;
  return true;
}

}  // namespace

OrvantaFrequencyCapping OrvantaFrequencyCapping::getFrequencyCappingWithDict(const Map& whenTo,
                                                                             const DateFormator& dates,
                                                                             std::string sessionId) {
  OrvantaFrequencyCapping cap;
  if (const Value* frequency = whenTo.find(kFrequency)) cap.frequency = integerValue(*frequency);
  if (const Value* type = whenTo.find(kFrequencyType); type && type->isString()) cap.frequencyType = *type->asString();
  cap.frequencyRemaining = cap.frequency;
  cap.sessionID = std::move(sessionId);
  if (const Value* modified = whenTo.find(kModifiedDate); modified && modified->isString()) {
    cap.modifiedDate = dates.formatDate(*modified->asString(), "yyyy-MM-dd HH:mm:ss");
  }
  return cap;
}

std::int64_t OrvantaFrequencyCapping::getFrequencyWithType(const std::optional<std::string>& frequencyType) {
  if (frequencyType == "session") return frequency_kind::kSession;
  if (frequencyType == "day") return frequency_kind::kDay;
  if (frequencyType == "campaign") return frequency_kind::kCampaign;
  return frequency_kind::kUnknown;
}

Value OrvantaFrequencyCapping::encodeWithCoder() const {
  Map map;
  map.set(kFrequency, frequency);
  if (frequencyType) map.set(kFrequencyType, *frequencyType);
  map.set(kFrequencyRemaining, frequencyRemaining);
  if (modifiedDate) map.set(kModifiedDate, *modifiedDate);
  map.set(kDisplayDay, displayDay);
  if (sessionID) map.set(kSessionID, *sessionID);
  return map;
}

std::optional<OrvantaFrequencyCapping> OrvantaFrequencyCapping::initWithCoder(const Value& stored) {
  const Map* map = stored.asMap();
  if (!map) return std::nullopt;
  OrvantaFrequencyCapping cap;
  const bool whole = read<std::int64_t>(*map, kFrequency, cap.frequency) &&
                     read<std::string>(*map, kFrequencyType, cap.frequencyType) &&
                     read<std::int64_t>(*map, kFrequencyRemaining, cap.frequencyRemaining) &&
                     read<Date>(*map, kModifiedDate, cap.modifiedDate) &&
                     read<std::int64_t>(*map, kDisplayDay, cap.displayDay) &&
                     read<std::string>(*map, kSessionID, cap.sessionID);
  if (!whole) return std::nullopt;
  return cap;
}

}  // namespace orvanta
