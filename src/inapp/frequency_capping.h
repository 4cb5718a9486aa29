// One in-app rule's frequency cap: how many showings a period allows and how
// many are left, as the device keeps it across restarts and downloads.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "orvanta/value.h"

namespace orvanta {

class DateFormator;

// Period kind codes, as getFrequencyWithType answers them.
namespace frequency_kind {
inline constexpr std::int64_t kSession = 0;
inline constexpr std::int64_t kDay = 1;
inline constexpr std::int64_t kCampaign = 2;
inline constexpr std::int64_t kUnknown = 1000;
}  // namespace frequency_kind

struct OrvantaFrequencyCapping {
  std::int64_t frequency = 0;
  std::optional<std::string> frequencyType;
  // May go below zero: negative and zero both mean used up.
  std::int64_t frequencyRemaining = 0;
  // getTodaysDay of the last counted showing; 0 until first set.
  std::int64_t displayDay = 0;
  std::optional<std::string> sessionID;
  std::optional<Date> modifiedDate;

  // From a rule's "whenTo" map: "frequency" (number or numeric text, 0 when
  // missing), "frequencyType" (text), the full count left, the session
  // current now, "modifiedDate" read as "yyyy-MM-dd HH:mm:ss" GMT.
  static OrvantaFrequencyCapping getFrequencyCappingWithDict(const Map& whenTo, const DateFormator& dates,
                                                             std::string sessionId);
  // "session" 0, "day" 1, "campaign" 2, anything else or none 1000.
  static std::int64_t getFrequencyWithType(const std::optional<std::string>& frequencyType);

  // The stored form: a map with "frequency" (integer), "frequencyType"
  // (string), "frequencyRemaining" (integer), "modifiedDate" (date),
  // "displayDay" (integer), "sessionID" (string); a key whose property is
  // unset is left out.
  Value encodeWithCoder() const;
  // The record a stored value holds; nullopt when it is not a map, or a key
  // it has holds another kind than the one above (a corrupt record). Keys it
  // lacks read as unset.
  static std::optional<OrvantaFrequencyCapping> initWithCoder(const Value& stored);

  friend bool operator==(const OrvantaFrequencyCapping&, const OrvantaFrequencyCapping&) = default;
};

}  // namespace orvanta
