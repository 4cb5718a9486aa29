#include "cli/commands.h"

#include <algorithm>

#include "cli/command_handlers.h"

namespace orvanta::cli {

const std::vector<Command>& commands() {
  static const std::vector<Command> table{
      {"start", "", "launch the app and do nothing else", true, parseStart},
      {"track", "EVENTID [PAYLOAD_JSON]",
       "a custom event; PAYLOAD_JSON is an object or an array of objects, keys typed "
       "\"s^\", \"i^\", \"f^\"",
       true, parseTrack},
      {"track-many", "N [--prefix P] [--event EVENTID]",
       "N custom events with payload {\"s^run\":P,\"i^seq\":i}, one after the other's answer; prints "
       "\"handed P i\" once the library has taken event i",
       true, parseTrackMany},
      {"register", "[IDENTITY] [--token HEX]", "register the device (and its push token) for IDENTITY", true,
       parseRegister},
      {"login", "IDENTITY", "log IDENTITY in", true, parseLogin},
      {"logout", "", "log the current identity out", true, parseLogout},
      {"profile", "IDENTITY ATTRS_JSON", "send profile attributes for IDENTITY", true, parseProfile},
      {"deeplink", "URL", "open an app-scheme link: its query parameters become the attribution", true,
       parseDeeplink},
      {"receive", "PAYLOAD [--state active|inactive|background]",
       "a remote notification arrives in that application state (default active)", true, parseReceive},
      {"respond", "PAYLOAD [--state S] [--identifier ID]",
       "the user opens a notification (request identifier default \"remote\"; \"LocalNotification\" is a local one)",
       true, parseRespond},
      {"present", "PAYLOAD [--identifier ID]", "a notification arrives while the app is in the foreground", true,
       parsePresent},
      {"action", "IDENTIFIER PAYLOAD", "the user taps the notification's action button IDENTIFIER (its link)", true,
       parseAction},
      {"local", "PAYLOAD [--state S]", "a local notification arrives in that application state", true, parseLocal},
      {"launch-from", "PAYLOAD", "a tap on the notification launches the app, which opens it 0.5 s later", true,
       parseLaunchFrom, true},
      {"extension", "PAYLOAD [--category NAME]",
       "the service extension has prepared the notification (NAME: its content's category)", true,
       parseExtension},
      {"rules", "",
       "print the in-app rules as downloaded at start-up, one JSON object per line: id, eventList and the "
       "stored frequency record",
       true, parseRules},
      {"why", "EVENTID [PAYLOAD_JSON]",
       "trace what the in-app rules would decide for the event now, without showing or counting: one line "
       "per candidate rule, then the winner",
       true, parseWhy},
      {"queue", "", "print the offline queue, one JSON object per line: id, method, data", false, parseQueue},
      {"inbox", "", "print the stored notifications, one JSON object per line, newest first", false,
       parseInbox},
      {"state", "", "print the device id, the session and the stored settings as one JSON object", false,
       parseState},
  };
  return table;
}

const Command* findCommand(std::string_view name) {
  const auto& table = commands();
  auto found = std::find_if(table.begin(), table.end(), [name](const Command& c) { return c.name == name; });
  return found == table.end() ? nullptr : &*found;
}

}  // namespace orvanta::cli
