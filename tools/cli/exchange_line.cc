#include "cli/exchange_line.h"

#include <array>
#include <algorithm>
#include <string_view>

#include "orvanta/json.h"

namespace orvanta::cli {
namespace {

// The fields every tracking message carries; they say nothing about the event.
constexpr std::array<std::string_view, 14> kCommonFields{
    "osversion", "sdkversion", "appversion", "pushid", "appid", "ostype", "cts",
    "lat",       "lng",        "sessionid",  "tx",     "make",  "model",  "adid"};

// The URL without scheme and authority.
std::string_view pathOf(std::string_view url) {
  std::size_t scheme = url.find("://");
  std::size_t path = url.find('/', scheme == std::string_view::npos ? 0 : scheme + 3);
  return path == std::string_view::npos ? std::string_view("/") : url.substr(path);
}

std::string fieldText(const Json& value) { return value.is_string() ? value.get<std::string>() : value.dump(); }

std::string eventFields(std::string_view body) {
  constexpr std::string_view kField = "data=";
  if (!body.starts_with(kField)) return {};
  Json data = Json::parse(body.substr(kField.size()), nullptr, /*allow_exceptions=*/false);
  if (!data.is_object()) return " (body is not data=<JSON object>)";
  std::string text;
  for (const auto& [key, value] : data.items()) {
    bool common = std::find(kCommonFields.begin(), kCommonFields.end(), key) != kCommonFields.end();
    if (common || (key == "identity" && value == "")) continue;
    text += " " + key + "=" + fieldText(value);
  }
  return text;
}

std::string outcome(const HttpResponse& response) {
  if (response.status != 0) return std::to_string(response.status);
  return "no answer (" + (response.error.empty() ? std::string("stopped") : response.error) + ")";
}

}  // namespace

std::string exchangeLine(const HttpRequest& request, const HttpResponse& response) {
  return "http " + request.method + " " + std::string(pathOf(request.url)) + eventFields(request.body) + " -> " +
         outcome(response);
}

}  // namespace orvanta::cli
