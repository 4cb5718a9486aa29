// queue, inbox and state: looking at what the app keeps, without launching it.
#include <string_view>

#include "cli/command_handlers.h"
#include "cli/host.h"
#include "cli/usage_error.h"
#include "orvanta/inspection.h"
#include "orvanta/json.h"

namespace orvanta::cli {
namespace {

// The suite's entries for every key the library keeps, tagged so that bytes and dates
// show as what they are.
Json storedSettings(const SettingsStore& store) {
  Json entries = Json::object();
  for (const std::string& key : Inspection::storedSettingKeys()) {
    if (std::optional<Value> value = store.get(key)) entries[key] = toTaggedJson(*value);
  }
  return entries;
}

// One line of JSON; text that is not UTF-8 shows as U+FFFD rather than failing.
std::string line(const Json& value) { return value.dump(-1, ' ', false, Json::error_handler_t::replace); }

Json storedText(const SettingsStore& store, std::string_view key) {
  std::optional<Value> value = store.get(key);
  return value ? toJson(*value) : Json();
}

}  // namespace

Action parseQueue(Arguments&) {
  return [](Host& host) {
    const auto messages = host.inspection().queuedMessages();
    if (!messages) throw CommandFailed("the offline queue cannot be read (see the library's log above)");
    for (const QueuedMessage& message : *messages) {
      Json row{{"id", message.id}, {"method", message.method}, {"data", message.data}};
      host.output().line(line(row));
    }
  };
}

Action parseInbox(Arguments&) {
  return [](Host& host) {
    for (const Value& record : host.inspection().notifications()) {
      host.output().line(dumpJson(record));
    }
  };
}

Action parseState(Arguments&) {
  return [](Host& host) {
    const Platform& platform = host.platform();
    Json state{{"deviceId", storedText(*platform.standardSettings, "pushid")},
               {"session", storedText(*platform.standardSettings, "sessionid")},
               {"settings", storedSettings(*platform.standardSettings)},
               {"appGroupSettings", storedSettings(*platform.appGroupSettings)}};
    host.output().line(line(state));
  };
}

}  // namespace orvanta::cli
