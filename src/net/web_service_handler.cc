// The HTTP request layer: GET of JSON, POST of encoded parameter text.
#include "net/web_service_handler.h"

#include "core/comman_methods.h"
#include "core/data_model.h"
#include "device/device_type.h"
#include "net/json_builder.h"
#include "net/url_encoding.h"

namespace orvanta {
namespace {

constexpr double kRequestTimeoutSeconds = 60;

std::string lowercase(std::string text) {
  for (char& c : text)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  return text;
}

}  // namespace

OrvantaWebServiceHandler::OrvantaWebServiceHandler(HttpClient& http, std::string trackingBaseUrl,
                                                   const AppHost& appHost, const OrvantaLocationTracker& location,
                                                   OrvantaDataModel& model,
                                                   OrvantaCommanMethods& settings, DateFormator& dates,
                                                   Sessions& sessions, ClientIdentity& identity,
                                                   DBManager& offlineQueue)
    : http_(http),
      trackingBaseUrl_(std::move(trackingBaseUrl)),
      appHost_(appHost),
      location_(location),
      model_(model),
      settings_(settings),
      dates_(dates),
      sessions_(sessions),
      identity_(identity),
      offlineQueue_(offlineQueue),
      deviceModel_(lowercase(getDeviceType(appHost))) {}

void OrvantaWebServiceHandler::callGetService(const std::string& url, GetBlock block) {
  HttpRequest request;
  request.method = "GET";
  request.url = url;
  request.timeoutSeconds = kRequestTimeoutSeconds;
  excecuteSessionRequest(std::move(request), [block = std::move(block)](int status, std::optional<std::string> body) {
    if (status == 200 && body) {
      auto parsed = OrvantaJsonBuilder::parseJsonObject(Value(Bytes(body->begin(), body->end())));
      if (auto* value = std::get_if<Value>(&parsed)) {
        block(200, std::move(*value));
        return;
      }
    }
    block(500, std::nullopt);
  });
}

void OrvantaWebServiceHandler::postRequestDataToTheServer(const std::string& method, const std::string& params,
                                                          StatusBlock block) {
  // No server configured: nothing leaves the device, and the message stays
  // queued for a launch that names one.
  if (trackingBaseUrl_.empty()) {
    if (block) block(0);
    return;
  }
  HttpRequest request;
  request.method = "POST";
  request.url = percentEncodeURLFragment(trackingBaseUrl_ + method);
  request.timeoutSeconds = kRequestTimeoutSeconds;
  request.headers.emplace_back("Content-Length", std::to_string(params.size()));

  // The settings lookup never answers null, so the stored user agent (or ""
  // when none was ever stored) is what goes out; no user agent is built here.
  std::string userAgent = settings_.getTextFromDefaults(settings_key::kUserAgent);
  model_.setStrUserAgent(userAgent);
  request.headers.emplace_back("User-Agent", std::move(userAgent));
  request.body = params;

  excecuteSessionRequest(std::move(request), [block = std::move(block)](int status, std::optional<std::string>) {
    if (block) block(status);
  });
}

void OrvantaWebServiceHandler::excecuteSessionRequest(HttpRequest request, ResultBlock block) {
  http_.send(std::move(request), [block = std::move(block)](HttpResponse response) {
    block(response.status, std::move(response.body));
  });
}

}  // namespace orvanta
