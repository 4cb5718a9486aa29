// The envelope every tracking message travels in: common device and session
// fields, the event's own fields, session, attribution and advertising id,
// posted as "data=" followed by compact JSON.
#include <charconv>

#include "core/client_identity.h"
#include "core/comman_methods.h"
#include "core/data_model.h"
#include "core/sessions.h"
#include "device/date_formator.h"
#include "device/location_tracker.h"
#include "net/web_service_handler.h"
#include "orvanta/json.h"
#include "orvanta/version.h"
#include "storage/db_manager.h"

namespace orvanta {
namespace {

constexpr const char* kMake = "apple";
constexpr const char* kOSType = "IOS";
constexpr const char* kProfileMethod = "profilePush";
// The common fields plus a typical event's own ones.
constexpr std::size_t kTypicalFieldCount = 20;

std::int64_t timestampNumber(const std::string& stamp) {
  std::int64_t number = 0;
  std::from_chars(stamp.data(), stamp.data() + stamp.size(), number);
  return number;
}

}  // namespace

Map OrvantaWebServiceHandler::commonFields(const Map& info) {
  Map object;
  object.reserve(kTypicalFieldCount + info.size());
  object.set("identity", identity_.getIdentity());
  object.set("osversion", settings_.getFromDefaults(settings_key::kOSVersion));
  object.set("sdkversion", kSDKVersion);
  object.set("appversion", settings_.getFromDefaults(settings_key::kAppVersion));
  object.set("pushid", settings_.getFromDefaults(settings_key::kPushId));
  object.set("appid", settings_.getFromDefaults(settings_key::kAppId));
  object.set("ostype", kOSType);
  object.set("cts", timestampNumber(dates_.getUserLocalTimeStamp()));
  object.set("lat", location_.getLatitude());
  object.set("lng", location_.getLongitude());
  object.set("sessionid", settings_.getFromDefaults(settings_key::kSessionId));
  object.set("tx", timestampNumber(dates_.getUserLocalTimeStamp()));
  object.set("make", kMake);
  object.set("model", deviceModel_);
  for (const auto& [key, value] : info) object.set(key, value);
  return object;
}

void OrvantaWebServiceHandler::callPostService(const std::string& method, const Map& info, StatusBlock block) {
  postPreparedDictionaryToServer(commonFields(info), method, std::move(block));
}

std::string OrvantaWebServiceHandler::envelope(Map trackingObject) {
  // The stored id wins over a renewed one kept only in memory, except for the
  // message right after the renewal; that is the session rule as it stands.
  model_.setStrSessionid(settings_.getTextFromDefaults(settings_key::kSessionId));
  sessions_.checkSessionId();
  trackingObject.set("sessionid", model_.strSessionid());
  sessions_.addDeepLinkParametersInDict(trackingObject);
  trackingObject.set("adid", appHost_.advertisingIdentifier());
  return "data=" + dumpJson(trackingObject);
}

void OrvantaWebServiceHandler::postPreparedDictionaryToServer(Map trackingObject, const std::string& method,
                                                              StatusBlock block) {
  std::string params = envelope(std::move(trackingObject));
  // Journaled before it leaves, so a process killed mid-flight still has it.
  const auto ticket = offlineQueue_.recordInFlight(method, params);
  sendJournaled(method, params, ticket, std::move(block));
}

std::string OrvantaWebServiceHandler::prepareTrackingMessage(const Map& info) {
  return envelope(commonFields(info));
}

void OrvantaWebServiceHandler::sendJournaled(const std::string& method, const std::string& params,
                                             std::optional<std::int64_t> ticket, StatusBlock block) {
  auto& queue = offlineQueue_;
  postRequestDataToTheServer(method, params,
                             [&queue, ticket, method, params, block = std::move(block)](int status) {
                               queue.settleInFlight(ticket, method, params, status);
                               if (block) block(status);
                             });
}

void OrvantaWebServiceHandler::callProfilePushService(const Value& payload, StatusBlock block) {
  Map object;
  object.set("identity", identity_.getIdentity());
  object.set("pushid", settings_.getFromDefaults(settings_key::kPushId));
  object.set("appid", settings_.getFromDefaults(settings_key::kAppId));
  object.set("make", kMake);
  object.set("model", deviceModel_);
  const Map* attributes = payload.asMap();
  object.set("profileDetails", attributes ? *attributes : Map{});
  postPreparedDictionaryToServer(std::move(object), kProfileMethod, std::move(block));
}

}  // namespace orvanta
