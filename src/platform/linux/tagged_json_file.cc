#include "platform/linux/tagged_json_file.h"

#include <filesystem>
#include <optional>
#include <system_error>
#include <utility>

#include "orvanta/json.h"
#include "orvanta/log.h"
#include "platform/linux/atomic_file.h"

namespace orvanta {
namespace {

std::string lastGoodPathOf(const std::string& path) { return path + ".last-good"; }

// The map that data holds, or nullopt.
std::optional<Map> parseMap(const std::string& data) {
  const Json json = Json::parse(data, nullptr, /*allow_exceptions=*/false);
  if (!json.is_object()) return std::nullopt;
  Value value = fromTaggedJson(json);
  Map* map = value.asMap();
  // An object that spells a tag ({"$bytes": ...}) is no map of ours.
  if (map == nullptr) return std::nullopt;
  return std::move(*map);
}

// The map path holds, or nullopt with the reason in *why (empty when the file
// is missing).
std::optional<Map> readMap(const std::string& path, std::string* data, std::string* why) {
  FileContents file = readWholeFile(path);
  switch (file.outcome) {
    case FileContents::Outcome::kMissing:
      return std::nullopt;
    case FileContents::Outcome::kFailed:
      *why = file.error;
      return std::nullopt;
    case FileContents::Outcome::kRead:
      break;
  }
  std::optional<Map> map = parseMap(file.data);
  if (!map) *why = "not a JSON object";
  *data = std::move(file.data);
  return map;
}

// Moves path to <path>.corrupt; answers the words for the log.
std::string setAside(const std::string& path) {
  const std::string aside = path + ".corrupt";
  std::error_code error;
  std::filesystem::rename(path, aside, error);
  return error ? "could not move it to " + aside + ": " + error.message() : "kept as " + aside;
}

// Puts the last good copy of path back in its place; answers its map, or an
// empty one when there is no usable copy. Adds what happened to *line.
Map restoreLastGood(const std::string& path, mode_t mode, std::string* line) {
  const std::string lastGood = lastGoodPathOf(path);
  std::string data;
  std::string why;
  std::optional<Map> map = readMap(lastGood, &data, &why);
  if (!map) {
    *line += why.empty() ? "; it reads as empty" : "; it reads as empty (" + lastGood + ": " + why + ")";
    return Map{};
  }
  *line += "; restored from " + lastGood;
  // Put back at once, so that the next reader (maybe another process) finds
  // the restored settings rather than a missing file.
  if (std::string error; !replaceFileAtomically(path, data, mode, &error)) {
    *line += " in memory only (" + error + ")";
  }
  return std::move(*map);
}

}  // namespace

Map readTaggedMapFile(const std::string& path, mode_t mode) {
  std::string data;
  std::string why;
  if (std::optional<Map> map = readMap(path, &data, &why)) return std::move(*map);
  if (why.empty()) return Map{};  // missing: a suite never written
  std::string line = "Orvanta cannot use " + path + " (" + why + "); " + setAside(path);
  Map restored = restoreLastGood(path, mode, &line);
  logLine(line);
  return restored;
}

bool writeTaggedMapFile(const std::string& path, const Map& map, mode_t mode) {
  const std::string text = toTaggedJson(map).dump(-1, ' ', false, Json::error_handler_t::replace);
  std::string error;
  if (!replaceFileAtomically(path, text, mode, &error)) {
    logLine("Orvanta cannot save " + path + ": " + error);
    return false;
  }
  if (!replaceFileAtomically(lastGoodPathOf(path), text, mode, &error)) {
    logLine("Orvanta cannot keep the last good copy of " + path + ": " + error);
  }
  return true;
}

}  // namespace orvanta
