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
  // The parsed value; a JsonError when the bytes are not one JSON document;
  // null (monostate) when the argument is not a byte buffer.
  using ParseResult = std::variant<std::monostate, Value, JsonError>;
  static ParseResult parseJsonObject(const Value& argument);

  // Compact JSON bytes; a JsonError for a value JSON cannot carry (bytes,
  // dates, numbers that are not finite).
  using CreateResult = std::variant<Bytes, JsonError>;
  static CreateResult createJsonObject(const Value& value);
};

}  // namespace orvanta
