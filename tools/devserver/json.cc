#include "devserver/json.h"

namespace orvanta::devserver {
namespace {

constexpr int kMaxDepth = 512;

}  // namespace

std::string dumpJson(const Json& value) {
  return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

Json parseDocument(std::string_view text) {
  // The parser keeps its own stack; the callback stops it keeping anything once too deep.
  bool tooDeep = false;
  Json parsed = Json::parse(
      text,
      [&tooDeep](int depth, Json::parse_event_t, Json&) {
        if (depth > kMaxDepth) tooDeep = true;
        return !tooDeep;
      },
      /*allow_exceptions=*/false);
  return tooDeep ? Json(Json::value_t::discarded) : parsed;
}

}  // namespace orvanta::devserver
