// JSON conversion for the request layer, with the failure kinds its callers test.
#pragma once

#include <string>
#include <variant>

#include "orvanta/value.h"

namespace orvanta {

struct JsonError {
  std::string message;
};

class OrvantaJsonBuilder {
 public:
  // The parsed value (an object or an array); a JsonError when the bytes are
  // not one such JSON document (a bare scalar at the top included); null
  // (monostate) when the argument is not a byte buffer.
  using ParseResult = std::variant<std::monostate, Value, JsonError>;
  static ParseResult parseJsonObject(const Value& argument);

  // Compact JSON bytes of a map or an array; a JsonError for any other value
  // and for one holding what JSON cannot carry (bytes, dates, numbers that
  // are not finite).
  using CreateResult = std::variant<Bytes, JsonError>;
  static CreateResult createJsonObject(const Value& value);
};

}  // namespace orvanta
