// The HTTP request layer: GET of JSON, POST of encoded parameter text.
#include "net/web_service_handler.h"

#include "core/comman_methods.h"
#include "core/data_model.h"
#include "device/device_type.h"
#include "net/json_builder.h"
#include "net/url_encoding.h"
#include "orvanta/runtime.h"

namespace orvanta {
namespace {

constexpr double kRequestTimeoutSeconds = 60;

std::string lowercase(std::string text) {
  for (char& c : text)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  return text;
}

}  // namespace

OrvantaWebServiceHandler::OrvantaWebServiceHandler(Runtime& runtime)
    : runtime_(runtime), deviceModel_(lowercase(getDeviceType(*runtime.platform().appHost))) {}

OrvantaWebServiceHandler& OrvantaWebServiceHandler::sharedInstance() { return Runtime::shared().webServiceHandler(); }

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
  HttpRequest request;
  request.method = "POST";
  request.url = percentEncodeURLFragment(runtime_.config().trackingBaseUrl + method);
  request.timeoutSeconds = kRequestTimeoutSeconds;
  request.headers.emplace_back("Content-Length", std::to_string(params.size()));

  // The settings lookup never answers null, so the stored user agent (or ""
  // when none was ever stored) is what goes out; no user agent is built here.
  auto& model = runtime_.dataModel();
  std::string userAgent = runtime_.commanMethods().getTextFromDefaults(settings_key::kUserAgent);
  model.setStrUserAgent(userAgent);
  request.headers.emplace_back("User-Agent", std::move(userAgent));
  request.body = params;

  excecuteSessionRequest(std::move(request), [block = std::move(block)](int status, std::optional<std::string>) {
    if (block) block(status);
  });
}

void OrvantaWebServiceHandler::excecuteSessionRequest(HttpRequest request, ResultBlock block) {
  runtime_.platform().http->send(std::move(request), [block = std::move(block)](HttpResponse response) {
    block(response.status, std::move(response.body));
  });
}

}  // namespace orvanta
