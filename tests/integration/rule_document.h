// In-app rules as the rules server publishes them, for the process-level tests.
#pragma once

#include <string>

#include "orvanta/json.h"

namespace orvanta::testing {

// A rule valid from 2020 to 2099 that listens to eventId, shows the page
// "title=<id>", and has no audience filter, timing or cap.
inline Json ruleListeningTo(const std::string& id, const std::string& eventId) {
  return {{"id", id},
          {"fromDate", "2020-01-01T00:00:00"},
          {"toDate", "2099-01-01T00:00:00"},
          {"whatTo", "title=" + id},
          {"whomTo", {{"eventList", eventId}}}};
}

}  // namespace orvanta::testing
