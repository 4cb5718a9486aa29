// orvanta::Value: the property-list value that settings, tracking objects and
// archived records are made of.
#pragma once

#include <compare>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace orvanta {

// The explicit null marker (a stored "null object"). Absence is not a value:
// lookups answer a pointer or an optional instead.
struct Null {
  friend bool operator==(Null, Null) { return true; }
};

// A point in time: seconds since 1970-01-01 UTC, with fractions.
struct Date {
  double secondsSince1970 = 0;
  friend auto operator<=>(const Date&, const Date&) = default;
};

using Bytes = std::vector<std::uint8_t>;

class Value;
using Array = std::vector<Value>;

// A string-keyed map that remembers insertion order. Replacing the value of an
// existing key keeps the key where it was, so a JSON object written from it
// reads in the order its fields were first added.
class Map {
 public:
  using Entry = std::pair<std::string, Value>;
  using const_iterator = std::vector<Entry>::const_iterator;

  Map() = default;
  Map(std::initializer_list<Entry> entries);

  // The value under key, or nullptr when the key is absent.
  const Value* find(std::string_view key) const;
  Value* find(std::string_view key);
  bool contains(std::string_view key) const { return find(key) != nullptr; }

  void set(std::string key, Value value);
  // Removes key; answers whether it was present.
  bool erase(std::string_view key);

  std::size_t size() const { return entries_.size(); }
  bool empty() const { return entries_.empty(); }
  const_iterator begin() const { return entries_.begin(); }
  const_iterator end() const { return entries_.end(); }
  void reserve(std::size_t n) { entries_.reserve(n); }

  friend bool operator==(const Map& a, const Map& b);

 private:
  std::vector<Entry> entries_;
};

class Value {
 public:
  using Storage =
      std::variant<Null, bool, std::int64_t, double, std::string, Bytes, Date, Array, Map>;

  Value() : v_(Null{}) {}
  Value(Null) : v_(Null{}) {}
  Value(bool b) : v_(b) {}
  Value(int i) : v_(static_cast<std::int64_t>(i)) {}
  Value(long i) : v_(static_cast<std::int64_t>(i)) {}
  Value(long long i) : v_(static_cast<std::int64_t>(i)) {}
  Value(double d) : v_(d) {}
  Value(const char* s) : v_(std::string(s)) {}
  Value(std::string s) : v_(std::move(s)) {}
  Value(std::string_view s) : v_(std::string(s)) {}
  Value(Bytes b) : v_(std::move(b)) {}
  Value(Date d) : v_(d) {}
  Value(Array a) : v_(std::move(a)) {}
  Value(Map m) : v_(std::move(m)) {}

  bool isNull() const { return std::holds_alternative<Null>(v_); }
  bool isBool() const { return std::holds_alternative<bool>(v_); }
  bool isInteger() const { return std::holds_alternative<std::int64_t>(v_); }
  bool isDouble() const { return std::holds_alternative<double>(v_); }
  bool isNumber() const { return isInteger() || isDouble(); }
  bool isString() const { return std::holds_alternative<std::string>(v_); }
  bool isBytes() const { return std::holds_alternative<Bytes>(v_); }
  bool isDate() const { return std::holds_alternative<Date>(v_); }
  bool isArray() const { return std::holds_alternative<Array>(v_); }
  bool isMap() const { return std::holds_alternative<Map>(v_); }

  // Typed access: nullptr when the value is of another kind.
  const bool* asBool() const { return std::get_if<bool>(&v_); }
  const std::int64_t* asInteger() const { return std::get_if<std::int64_t>(&v_); }
  const double* asDouble() const { return std::get_if<double>(&v_); }
  const std::string* asString() const { return std::get_if<std::string>(&v_); }
  const Bytes* asBytes() const { return std::get_if<Bytes>(&v_); }
  const Date* asDate() const { return std::get_if<Date>(&v_); }
  const Array* asArray() const { return std::get_if<Array>(&v_); }
  const Map* asMap() const { return std::get_if<Map>(&v_); }
  Array* asArray() { return std::get_if<Array>(&v_); }
  Map* asMap() { return std::get_if<Map>(&v_); }

  // Lenient readings used where the system reads "boolValue"-style: a bool,
  // or a number other than zero; anything else is false.
  bool truthy() const;

  const Storage& storage() const { return v_; }

  friend bool operator==(const Value& a, const Value& b) { return a.v_ == b.v_; }

 private:
  Storage v_;
};

// Map members that need Value complete.
inline Map::Map(std::initializer_list<Entry> entries) {
  for (const auto& e : entries) set(e.first, e.second);
}
inline bool operator==(const Map& a, const Map& b) { return a.entries_ == b.entries_; }

}  // namespace orvanta
