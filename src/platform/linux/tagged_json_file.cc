#include "platform/linux/tagged_json_file.h"

#include <filesystem>
#include <system_error>

#include "orvanta/json.h"
#include "orvanta/log.h"
#include "platform/linux/atomic_file.h"

namespace orvanta {
namespace {

Map setAside(const std::string& path, const std::string& reason) {
  const std::string aside = path + ".corrupt";
  std::error_code error;
  std::filesystem::rename(path, aside, error);
  std::string line = "Orvanta cannot use " + path + " (" + reason + "); it reads as empty";
  line += error ? " (could not move it to " + aside + ": " + error.message() + ")"
                : " and is kept as " + aside;
  logLine(line);
  return Map{};
}

}  // namespace

Map readTaggedMapFile(const std::string& path) {
  FileContents file = readWholeFile(path);
  switch (file.outcome) {
    case FileContents::Outcome::kMissing:
      return Map{};
    case FileContents::Outcome::kFailed:
      return setAside(path, file.error);
    case FileContents::Outcome::kRead:
      break;
  }
  const Json json = Json::parse(file.data, nullptr, /*allow_exceptions=*/false);
  if (!json.is_object()) return setAside(path, "not a JSON object");
  Value value = fromTaggedJson(json);
  Map* map = value.asMap();
  // An object that spells a tag ({"$bytes": ...}) is no map of ours.
  if (map == nullptr) return setAside(path, "not a JSON object");
  return std::move(*map);
}

bool writeTaggedMapFile(const std::string& path, const Map& map, mode_t mode) {
  const std::string text = toTaggedJson(map).dump(-1, ' ', false, Json::error_handler_t::replace);
  std::string error;
  if (!replaceFileAtomically(path, text, mode, &error)) {
    logLine("Orvanta cannot save " + path + ": " + error);
    return false;
  }
  return true;
}

}  // namespace orvanta
