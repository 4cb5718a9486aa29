// Sessions and deep-link attribution: the part of the facade that rides on
// every tracking message.
#include "core/comman_methods.h"
#include "core/data_model.h"
#include "device/session_time.h"
#include "base/url_query.h"
#include "device/date_formator.h"
#include "device/date_utilities.h"
#include "orvanta/runtime.h"
#include "orvanta/shared_manager.h"

namespace orvanta {
namespace {

constexpr const char* kUpdatedDate = "updated_date";

}  // namespace

void OrvantaSharedManager::setDeepLinkQueryParameters(Map parameters) {
  replaceKey(parameters, "__ktm_medium", "atcm");
  replaceKey(parameters, "__ktm_source", "atcs");
  replaceKey(parameters, "__ktm_id", "atci");
  parameters.erase("__kta");
  parameters.set(kUpdatedDate, runtime_.dateFormator().getCurrentDate());
  runtime_.dataModel().setDeeplinkQueryParam(parameters);
  // Not persisted at once: losing it to a crash only loses attribution.
  runtime_.platform().standardSettings->set(settings_key::kAttribution, std::move(parameters));
}

void OrvantaSharedManager::checkQueryParam() {
  const auto stored = runtime_.platform().standardSettings->get(settings_key::kAttribution);
  const Map* attribution = stored ? stored->asMap() : nullptr;
  const Value* updated = attribution ? attribution->find(kUpdatedDate) : nullptr;
  const Date* updatedDate = updated ? updated->asDate() : nullptr;
  const std::int64_t age = updatedDate ? getMinutes(*updatedDate, *runtime_.platform().clock) : 0;
  auto& model = runtime_.dataModel();
  if (age <= model.SessionIdTimeoutInMinutes()) {
    model.setDeeplinkQueryParam(attribution ? std::optional<Map>(*attribution) : std::nullopt);
  }
}

void OrvantaSharedManager::checkSessionId() {
  // The order of these checks is the contract: while no previous time is
  // recorded, the first check stops, so the start-up session lasts for the
  // life of the process.
  auto& model = runtime_.dataModel();
  const auto previous = model.prevTrackingEventTime();
  const std::int64_t minutes = previous ? minusCurrentTimeInMinutes(*previous, *runtime_.platform().clock) : 0;
  if (minutes == 0) return;
  if (minutes >= model.SessionIdTimeoutInMinutes()) {
    resetSession();
    return;
  }
  model.setPrevTrackingEventTime(runtime_.dateFormator().getUserLocalTimeStamp());
}

void OrvantaSharedManager::addDeepLinkParametersInDict(Map& trackingObject) {
  const auto attribution = runtime_.dataModel().deeplinkQueryParam();
  if (!attribution) return;
  for (const auto& [key, value] : *attribution) {
    // A date goes out as the sending time, not the stored one, on purpose.
    if (value.isDate()) {
      trackingObject.set(key, runtime_.dateFormator().getUserLocalTimeStamp());
    } else {
      trackingObject.set(key, value);
    }
  }
}

void OrvantaSharedManager::setSessionTimeOutInMinutes(std::int64_t minutes) {
  runtime_.dataModel().setSessionIdTimeoutInMinutes(minutes);
}

void OrvantaSharedManager::resetSession() {
  auto& model = runtime_.dataModel();
  auto& dates = runtime_.dateFormator();
  model.setStrSessionid(dates.getUserLocalTimeStamp());
  model.setPrevTrackingEventTime(dates.getUserLocalTimeStamp());
  model.setDeeplinkQueryParam(std::nullopt);
  runtime_.platform().standardSettings->remove(settings_key::kPopupRules);
  // The in-app rules are fetched again here once in-app messaging is part of
  // the library.
}

}  // namespace orvanta
