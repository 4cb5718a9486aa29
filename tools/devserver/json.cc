#include "devserver/json.h"

namespace orvanta::devserver {

std::string dumpJson(const Json& value) {
  return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace orvanta::devserver
