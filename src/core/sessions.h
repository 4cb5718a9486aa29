// Sessions and deep-link attribution: the session id and the attribution
// parameters that ride on every tracking message.
#pragma once

#include <cstdint>
#include <functional>

#include "orvanta/platform/clock.h"
#include "orvanta/platform/settings_store.h"
#include "orvanta/value.h"

namespace orvanta {

class DateFormator;
class OrvantaDataModel;

// Runs on its callers' threads; the state it keeps lives in the data model
// and the standard settings store, both thread-safe. Every collaborator must
// outlive it.
class Sessions {
 public:
  // Called at the end of every resetSession: a new session fetches the
  // in-app rules again.
  using SessionStarted = std::function<void()>;

  Sessions(OrvantaDataModel& model, DateFormator& dates, const Clock& clock, SettingsStore& standardSettings,
           SessionStarted sessionStarted);

  // Renames the campaign keys, drops "__kta", stamps "updated_date", keeps the
  // map in the data model and stores it (not persisted at once).
  void setDeepLinkQueryParameters(Map parameters);
  // Start-up: restores the stored attribution while it is younger than the
  // session timeout.
  void checkQueryParam();
  // Before every tracking message: renews the session once it timed out. While
  // no previous time is recorded nothing changes, so the start-up session
  // lasts for the life of the process.
  void checkSessionId();
  // Adds the attribution to a tracking object; a date goes out as the
  // sending time.
  void addDeepLinkParametersInDict(Map& trackingObject);
  void setSessionTimeOutInMinutes(std::int64_t minutes);
  // A new session id in memory only, attribution ends, "popupRules" cleared,
  // then sessionStarted.
  void resetSession();

 private:
  OrvantaDataModel& model_;
  DateFormator& dates_;
  const Clock& clock_;
  SettingsStore& standardSettings_;
  const SessionStarted sessionStarted_;
};

}  // namespace orvanta
