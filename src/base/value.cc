#include "orvanta/value.h"

#include <algorithm>

namespace orvanta {
namespace {

auto keyIs(std::string_view key) {
  return [key](const Map::Entry& e) { return e.first == key; };
}

}  // namespace

// Lookups are linear: maps here are small (tracking objects, settings), and a
// vector keeps both the insertion order and cheap copies.
const Value* Map::find(std::string_view key) const {
  auto it = std::find_if(entries_.begin(), entries_.end(), keyIs(key));
  return it == entries_.end() ? nullptr : &it->second;
}

Value* Map::find(std::string_view key) {
  return const_cast<Value*>(std::as_const(*this).find(key));
}

void Map::set(std::string key, Value value) {
  if (Value* existing = find(key)) {
    *existing = std::move(value);
    return;
  }
  entries_.emplace_back(std::move(key), std::move(value));
}

bool Map::erase(std::string_view key) {
  auto it = std::find_if(entries_.begin(), entries_.end(), keyIs(key));
  if (it == entries_.end()) return false;
  entries_.erase(it);
  return true;
}

bool Value::truthy() const {
  if (const bool* b = asBool()) return *b;
  if (const std::int64_t* i = asInteger()) return *i != 0;
  if (const double* d = asDouble()) return *d != 0;
  return false;
}

}  // namespace orvanta
