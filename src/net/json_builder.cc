#include "net/json_builder.h"

#include <cmath>

#include "orvanta/json.h"

namespace orvanta {
namespace {

bool isJsonCompatible(const Value& value) {
  if (value.isBytes() || value.isDate()) return false;
  if (const double* d = value.asDouble()) return std::isfinite(*d);
  if (const Array* array = value.asArray()) {
    for (const auto& element : *array)
      if (!isJsonCompatible(element)) return false;
  }
  if (const Map* map = value.asMap()) {
    for (const auto& entry : *map)
      if (!isJsonCompatible(entry.second)) return false;
  }
  return true;
}

// A JSON document here is an object or an array; a bare number, string,
// boolean or null at the top is refused, in both directions.
bool isContainer(const Value& value) { return value.isMap() || value.isArray(); }

}  // namespace

OrvantaJsonBuilder::ParseResult OrvantaJsonBuilder::parseJsonObject(const Value& argument) {
  const Bytes* bytes = argument.asBytes();
  if (!bytes) return std::monostate{};
  auto parsed = parseJson(std::string_view(reinterpret_cast<const char*>(bytes->data()), bytes->size()));
  if (!parsed) return JsonError{"the data is not valid JSON"};
  if (!isContainer(*parsed)) return JsonError{"the JSON text is not an object or an array"};
  return std::move(*parsed);
}

OrvantaJsonBuilder::CreateResult OrvantaJsonBuilder::createJsonObject(const Value& value) {
  if (!isContainer(value)) return JsonError{"only an object or an array is a JSON document"};
  if (!isJsonCompatible(value)) return JsonError{"the value holds bytes, a date or a number JSON cannot carry"};
  const std::string text = dumpJson(value);
  return Bytes(text.begin(), text.end());
}

}  // namespace orvanta
