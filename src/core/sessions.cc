#include "core/sessions.h"

#include <utility>

#include "orvanta/url_query.h"
#include "core/comman_methods.h"
#include "core/data_model.h"
#include "device/date_formator.h"
#include "device/date_utilities.h"
#include "device/session_time.h"

namespace orvanta {
namespace {
constexpr const char* kUpdatedDate = "updated_date";
}  // namespace

Sessions::Sessions(OrvantaDataModel& model, DateFormator& dates, const Clock& clock, SettingsStore& standardSettings,
                   SessionStarted sessionStarted)
    : model_(model),
      dates_(dates),
      clock_(clock),
      standardSettings_(standardSettings),
      sessionStarted_(std::move(sessionStarted)) {}

void Sessions::setDeepLinkQueryParameters(Map parameters) {
  replaceKey(parameters, "__ktm_medium", "atcm");
  replaceKey(parameters, "__ktm_source", "atcs");
  replaceKey(parameters, "__ktm_id", "atci");
  parameters.erase("__kta");
  parameters.set(kUpdatedDate, dates_.getCurrentDate());
  model_.setDeeplinkQueryParam(parameters);
  // Not persisted at once: losing it to a crash only loses attribution.
  standardSettings_.set(settings_key::kAttribution, std::move(parameters));
}

void Sessions::checkQueryParam() {
  const auto stored = standardSettings_.get(settings_key::kAttribution);
  const Map* attribution = stored ? stored->asMap() : nullptr;
  const Value* updated = attribution ? attribution->find(kUpdatedDate) : nullptr;
  const Date* updatedDate = updated ? updated->asDate() : nullptr;
  const std::int64_t age = updatedDate ? getMinutes(*updatedDate, clock_) : 0;
  if (age <= model_.SessionIdTimeoutInMinutes()) {
    model_.setDeeplinkQueryParam(attribution ? std::optional<Map>(*attribution) : std::nullopt);
  }
}

void Sessions::checkSessionId() {
  // The order of these checks is the contract: while no previous time is
  // recorded, the first check stops.
  const auto previous = model_.prevTrackingEventTime();
  const std::int64_t minutes = previous ? minusCurrentTimeInMinutes(*previous, clock_) : 0;
  if (minutes == 0) return;
  if (minutes >= model_.SessionIdTimeoutInMinutes()) {
    resetSession();
    return;
  }
  model_.setPrevTrackingEventTime(dates_.getUserLocalTimeStamp());
}

void Sessions::addDeepLinkParametersInDict(Map& trackingObject) {
  const auto attribution = model_.deeplinkQueryParam();
  if (!attribution) return;
  for (const auto& [key, value] : *attribution) {
    // A date goes out as the sending time, not the stored one, on purpose.
    if (value.isDate()) {
      trackingObject.set(key, dates_.getUserLocalTimeStamp());
    } else {
      trackingObject.set(key, value);
    }
  }
}

void Sessions::setSessionTimeOutInMinutes(std::int64_t minutes) { model_.setSessionIdTimeoutInMinutes(minutes); }

void Sessions::resetSession() {
  model_.setStrSessionid(dates_.getUserLocalTimeStamp());
  model_.setPrevTrackingEventTime(dates_.getUserLocalTimeStamp());
  model_.setDeeplinkQueryParam(std::nullopt);
  standardSettings_.remove(settings_key::kPopupRules);
  if (sessionStarted_) sessionStarted_();
}

}  // namespace orvanta
