// start, track, track-many and deeplink: what an app does with its own events.

#include <chrono>
#include <string>

#include "cli/command_handlers.h"
#include "cli/host.h"
#include "cli/usage_error.h"
#include "orvanta/url_query.h"
#include "orvanta/app_tracking.h"
#include "orvanta/json.h"
#include "orvanta/runtime.h"
#include "orvanta/shared_manager.h"

namespace orvanta::cli {
Action parseStart(Arguments&) {
  return [](Host&) {};
}

Action parseTrack(Arguments& words) {
  std::int64_t eventId = integerArgument("EVENTID", words.required("EVENTID"));
  std::optional<std::string> payloadText = words.optional();
  std::optional<Array> products;
  if (payloadText) products = productsArgument("PAYLOAD_JSON", *payloadText);
  return [eventId, products](Host& host) {
    OrvantaAppTracking& tracking = host.runtime().appTracking();
    StatusBlock report = host.expectStatus("track " + std::to_string(eventId));
    if (products) {
      tracking.sendAppTrackingEventWithCustomPayload(eventId, *products, std::move(report));
    } else {
      tracking.sendAppTrackingEvent(eventId, std::move(report));
    }
  };
}

Action parseTrackMany(Arguments& words) {
  std::string prefix = words.option("--prefix").value_or("run");
  std::int64_t eventId = integerArgument("--event", words.option("--event").value_or("101"));
  std::int64_t count = integerArgument("N", words.required("N"));
  if (count < 0) throw UsageError("N must not be negative");
  return [prefix, eventId, count](Host& host) {
    OrvantaAppTracking& tracking = host.runtime().appTracking();
    for (std::int64_t seq = 0; seq < count; ++seq) {
      Array payload{Map{{"s^run", prefix}, {"i^seq", seq}}};
      std::string label = prefix + " " + std::to_string(seq);
      tracking.sendAppTrackingEventWithCustomPayload(eventId, payload, host.expectStatus("track " + label));
      // The call has returned: from here on the library answers for the event.
      host.output().line("handed " + label);
      // One at a time: a failed event is queued before the next is handed, so
      // the queue holds them in the order they were handed.
      host.waitForCompletions(std::chrono::steady_clock::now() + kOneAnswer);
    }
  };
}

Action parseDeeplink(Arguments& words) {
  std::string url = words.required("URL");
  return [url](Host& host) {
    Map parameters = queryParameters(url);
    host.output().line("deeplink query parameters " + dumpJson(parameters));
    host.runtime().sharedManager().setDeepLinkQueryParameters(std::move(parameters));
  };
}

}  // namespace orvanta::cli
