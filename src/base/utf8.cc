#include "base/utf8.h"

#include <string>

#include "orvanta/json.h"

namespace orvanta {

// The JSON writer checks UTF-8 strictly and throws on anything else.
bool isUtf8(std::string_view text) {
  try {
    (void)Json(std::string(text)).dump();
  } catch (const Json::type_error&) {
    return false;
  }
  return true;
}

}  // namespace orvanta
