// queue, inbox and state: looking at what the app keeps, without launching it.
#include <array>

#include "cli/command_handlers.h"
#include "cli/host.h"
#include "cli/usage_error.h"
#include "core/comman_methods.h"
#include "orvanta/json.h"
#include "orvanta/runtime.h"
#include "orvanta/shared_manager.h"
#include "storage/database_source.h"

namespace orvanta::cli {
namespace {

// Every stored setting the client keeps, in the order state prints them.
constexpr std::array kSettingKeys{
    settings_key::kPushId,      settings_key::kSessionId,  settings_key::kAppId,
    settings_key::kAppVersion,  settings_key::kOSVersion,  settings_key::kIdentity,
    settings_key::kToken,       settings_key::kOldToken,   settings_key::kFirstLaunch,
    settings_key::kHasRunAppOnce, settings_key::kAttribution, settings_key::kUserAgent,
    settings_key::kTRID,        settings_key::kAppGroupFallback, settings_key::kPopupRules,
};

// The suite's entries for the keys above, tagged so that bytes and dates
// show as what they are.
Json storedSettings(const SettingsStore& store) {
  Json entries = Json::object();
  for (const char* key : kSettingKeys) {
    if (std::optional<Value> value = store.get(key)) entries[key] = toTaggedJson(*value);
  }
  return entries;
}

// The database as the app's first launch leaves it. Opening a missing file
// would create it without the queue table, which a later launch then never
// adds; so it is created whole here.
DatabaseSource& database(Host& host) {
  DatabaseSource& database = host.runtime().databaseSource();
  database.createDatabase();
  return database;
}

// One line of JSON; text that is not UTF-8 shows as U+FFFD rather than failing.
std::string line(const Json& value) { return value.dump(-1, ' ', false, Json::error_handler_t::replace); }

Json storedText(const SettingsStore& store, const char* key) {
  std::optional<Value> value = store.get(key);
  return value ? toJson(*value) : Json();
}

}  // namespace

Action parseQueue(Arguments&) {
  return [](Host& host) {
    const std::optional<std::vector<OrvantaEventModel>> events = database(host).getAllEvents();
    if (!events) throw CommandFailed("the offline queue cannot be read (see the library's log above)");
    for (const OrvantaEventModel& event : *events) {
      Json row{{"id", event.eventID}, {"method", event.strEventName}, {"data", event.strEventData}};
      host.output().line(line(row));
    }
  };
}

Action parseInbox(Arguments&) {
  return [](Host& host) {
    database(host);
    for (const Value& record : host.runtime().sharedManager().getNotifications()) {
      host.output().line(dumpJson(record));
    }
  };
}

Action parseState(Arguments&) {
  return [](Host& host) {
    const Platform& platform = host.runtime().platform();
    Json state{{"deviceId", storedText(*platform.standardSettings, settings_key::kPushId)},
               {"session", storedText(*platform.standardSettings, settings_key::kSessionId)},
               {"settings", storedSettings(*platform.standardSettings)},
               {"appGroupSettings", storedSettings(*platform.appGroupSettings)}};
    host.output().line(line(state));
  };
}

}  // namespace orvanta::cli
