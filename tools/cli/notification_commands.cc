// receive, respond, present, action, local, launch-from and extension: the
// notification callbacks of an app, each with the notification's user info
// given as a JSON object.
#include <optional>
#include <string>

#include "cli/command_handlers.h"
#include "cli/host.h"
#include "cli/usage_error.h"
#include "orvanta/push_task_manager.h"
#include "orvanta/runtime.h"

namespace orvanta::cli {
namespace {

// The request identifier of a notification the system delivered.
constexpr const char* kRemoteIdentifier = "remote";

Map payloadArgument(Arguments& words) {
  Value payload = jsonArgument("PAYLOAD", words.required("PAYLOAD"));
  if (const Map* userInfo = payload.asMap()) return *userInfo;
  throw UsageError("PAYLOAD must be a JSON object");
}

// --state, active when not given.
ApplicationState stateOption(Arguments& words) {
  const std::string state = words.option("--state").value_or("active");
  if (state == "active") return ApplicationState::Active;
  if (state == "inactive") return ApplicationState::Inactive;
  if (state == "background") return ApplicationState::Background;
  throw UsageError("--state must be active, inactive or background, not \"" + state + "\"");
}

OrvantaPushTaskManager& manager(Host& host) { return host.runtime().pushTaskManager(); }

}  // namespace

Action parseReceive(Arguments& words) {
  const ApplicationState state = stateOption(words);
  Map payload = payloadArgument(words);
  return [state, payload](Host& host) {
    host.appHost().setApplicationState(state);
    host.expectDelayedWork();
    manager(host).didReceiveRemoteNotification(payload);
  };
}

Action parseRespond(Arguments& words) {
  const ApplicationState state = stateOption(words);
  const std::string identifier = words.option("--identifier").value_or(kRemoteIdentifier);
  Map payload = payloadArgument(words);
  return [state, identifier, payload](Host& host) {
    host.appHost().setApplicationState(state);
    host.expectDelayedWork();
    host.notificationCenter().respond({identifier, payload, ""});
  };
}

Action parsePresent(Arguments& words) {
  const std::string identifier = words.option("--identifier").value_or(kRemoteIdentifier);
  Map payload = payloadArgument(words);
  return [identifier, payload](Host& host) { host.notificationCenter().present({identifier, payload, ""}); };
}

Action parseAction(Arguments& words) {
  std::string identifier = words.required("IDENTIFIER");
  Map payload = payloadArgument(words);
  return [identifier, payload](Host& host) { manager(host).handleActionWithIdentifier(identifier, payload, Map{}); };
}

Action parseLocal(Arguments& words) {
  const ApplicationState state = stateOption(words);
  Map payload = payloadArgument(words);
  return [state, payload](Host& host) {
    host.appHost().setApplicationState(state);
    manager(host).didReceiveLocalNotification(payload);
  };
}

Action parseLaunchFrom(Arguments& words) {
  Map payload = payloadArgument(words);
  return [payload](Host& host) {
    host.setLaunchOptions(Map{{kLaunchOptionsRemoteNotificationKey, payload}});
    host.expectDelayedWork();
  };
}

Action parseExtension(Arguments& words) {
  const std::string category = words.option("--category").value_or("");
  Map payload = payloadArgument(words);
  return [category, payload](Host& host) {
    manager(host).didReceiveNotificationRequest({kRemoteIdentifier, payload, category});
  };
}

}  // namespace orvanta::cli
