#include "support/value_printer.h"

#include "orvanta/json.h"

namespace orvanta {

void PrintTo(const Value& value, std::ostream* out) { *out << toTaggedJson(value).dump(); }
void PrintTo(const Map& map, std::ostream* out) { PrintTo(Value(map), out); }

}  // namespace orvanta
