#include "core/comman_methods.h"

#include <cstdio>

#include <utility>

#include "base/logger.h"
#include "core/data_model.h"

namespace orvanta {
namespace {

std::string trimBlanksAndTabs(std::string_view s) {
  const auto first = s.find_first_not_of(" \t");
  if (first == std::string_view::npos) return {};
  const auto last = s.find_last_not_of(" \t");
  return std::string(s.substr(first, last - first + 1));
}

std::string numberText(const Value& v) {
  if (const auto* i = v.asInteger()) return std::to_string(*i);
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, "%.17g", *v.asDouble());
  return buffer;
}

// The platform renders a token buffer as "<" + hex groups of 8 digits
// separated by blanks + ">"; stripping the brackets and blanks leaves plain
// lowercase hex, so bytes go straight to hex.
std::string hexOf(const Bytes& bytes) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string hex;
  hex.reserve(bytes.size() * 2);
  for (auto b : bytes) {
    hex.push_back(kDigits[b >> 4]);
    hex.push_back(kDigits[b & 0xf]);
  }
  return hex;
}

std::string stripTokenText(std::string_view text) {
  while (!text.empty() && (text.front() == '<' || text.front() == '>')) text.remove_prefix(1);
  while (!text.empty() && (text.back() == '<' || text.back() == '>')) text.remove_suffix(1);
  std::string out;
  for (char c : text)
    if (c != ' ') out.push_back(c);
  return out;
}

}  // namespace

OrvantaCommanMethods::OrvantaCommanMethods(SettingsStore& standardSettings, SettingsStore& appGroupSettings,
                                           OrvantaDataModel& model, const Logger& logger,
                                           TrackingEventSend sendTrackingEvent)
    : standardSettings_(standardSettings),
      appGroupSettings_(appGroupSettings),
      model_(model),
      logger_(logger),
      sendTrackingEvent_(std::move(sendTrackingEvent)) {}

void OrvantaCommanMethods::saveToDefaults(Value value, std::string_view key) {
  standardSettings_.set(key, std::move(value));
  standardSettings_.synchronize();
}

Value OrvantaCommanMethods::getFromDefaults(std::string_view key) const {
  if (auto stored = standardSettings_.get(key); stored && !stored->isNull()) return *stored;
  // The fallback reads the app-group entry named "key" whatever key was asked.
  const auto fallback = appGroupSettings_.get(settings_key::kAppGroupFallback);
  return Value(removeBlankSpaceValue(fallback ? &*fallback : nullptr));
}

std::string OrvantaCommanMethods::getTextFromDefaults(std::string_view key) const {
  const Value stored = getFromDefaults(key);
  if (const auto* text = stored.asString()) return *text;
  return removeBlankSpaceValue(&stored);
}

std::string OrvantaCommanMethods::removeBlankSpaceValue(const Value* value) {
  if (!value || value->isNull()) return {};
  std::string text;
  if (const auto* s = value->asString()) {
    text = *s;
  } else if (value->isNumber()) {
    text = numberText(*value);
  } else {
    return {};
  }
  if (text == "<null>" || text == "(null)") return {};
  return trimBlanksAndTabs(text);
}

std::string OrvantaCommanMethods::getDeviceToken() {
  auto token = model_.deviceToken();
  if (!token) {
    token = getFromDefaults(settings_key::kToken);
    model_.setDeviceToken(token);
  }
  if (const auto* bytes = token->asBytes()) return hexOf(*bytes);
  if (const auto* text = token->asString()) return stripTokenText(*text);
  return {};
}

void OrvantaCommanMethods::launchEvent() {
  // Read and set under the settings' lock, which processes sharing the
  // settings honour too, so of two first starts at once only one counts as
  // the first; the flag is durable before the event goes out.
  bool firstLaunch = false;
  standardSettings_.withLock([&] {
    const auto hasRun = standardSettings_.get(settings_key::kHasRunAppOnce);
    firstLaunch = !(hasRun && hasRun->truthy());
    if (firstLaunch) standardSettings_.set(settings_key::kHasRunAppOnce, true);
  });
  sendTrackingEvent_(firstLaunch ? 20 : 21);
}

void OrvantaCommanMethods::log(std::string_view message) const {
  logger_.log(message);
}

}  // namespace orvanta
