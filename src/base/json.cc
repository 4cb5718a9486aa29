#include "orvanta/json.h"

#include <cstdint>
#include <limits>
#include <type_traits>
#include <utility>

#include "base/base64.h"

namespace orvanta {
namespace {

constexpr const char* kBytesTag = "$bytes";
constexpr const char* kDateTag = "$date";
constexpr const char* kMapTag = "$map";

// Conversion recurses once per level; deeper input is cut there so that
// hostile text cannot exhaust the stack.
constexpr int kMaxDepth = 512;

// Keys of a Map are unique, so entries go straight to the back of the ordered
// object without its per-insert duplicate search.
void appendEntry(Json::object_t& object, std::string key, Json value) {
  object.emplace_back(std::move(key), std::move(value));
}

Json singleEntry(const char* key, Json value) {
  Json::object_t object;
  appendEntry(object, key, std::move(value));
  return Json(std::move(object));
}

// A tagged map that could be mistaken for a tag when read back.
bool looksLikeTag(const Map& map) {
  if (map.size() != 1) return false;
  const std::string& key = map.begin()->first;
  return key == kBytesTag || key == kDateTag || key == kMapTag;
}

Json encode(const Value& value, bool tagged) {
  return std::visit(
      [tagged](const auto& v) -> Json {
        using T = std::decay_t<decltype(v)>;
        if constexpr (std::is_same_v<T, Null>) {
          return nullptr;
        } else if constexpr (std::is_same_v<T, Bytes>) {
          if (tagged) return singleEntry(kBytesTag, encodeBase64(v));
          Json::array_t octets;
          octets.reserve(v.size());
          for (std::uint8_t b : v) octets.emplace_back(static_cast<std::int64_t>(b));
          return Json(std::move(octets));
        } else if constexpr (std::is_same_v<T, Date>) {
          if (tagged) return singleEntry(kDateTag, v.secondsSince1970);
          return v.secondsSince1970;
        } else if constexpr (std::is_same_v<T, Array>) {
          Json::array_t items;
          items.reserve(v.size());
          for (const Value& item : v) items.push_back(encode(item, tagged));
          return Json(std::move(items));
        } else if constexpr (std::is_same_v<T, Map>) {
          Json::object_t object;
          object.reserve(v.size());
          for (const auto& [key, item] : v) appendEntry(object, key, encode(item, tagged));
          if (tagged && looksLikeTag(v)) return singleEntry(kMapTag, Json(std::move(object)));
          return Json(std::move(object));
        } else {
          return v;  // bool, std::int64_t, double, std::string
        }
      },
      value.storage());
}

// Reads a Json tree back into a Value. Records whether the input was cut at
// kMaxDepth, which parseJson turns into a failure.
class Decoder {
 public:
  explicit Decoder(bool tagged) : tagged_(tagged) {}

  Value decode(const Json& json, int depth) {
    switch (json.type()) {
      case Json::value_t::boolean:
        return json.get<bool>();
      case Json::value_t::number_integer:
        return json.get<std::int64_t>();
      case Json::value_t::number_unsigned: {
        const auto n = json.get<std::uint64_t>();
        if (n <= static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
          return static_cast<std::int64_t>(n);
        }
        return static_cast<double>(n);
      }
      case Json::value_t::number_float:
        return json.get<double>();
      case Json::value_t::string:
        return json.get_ref<const std::string&>();
      case Json::value_t::binary: {
        const auto& binary = json.get_binary();
        return Bytes(binary.begin(), binary.end());
      }
      case Json::value_t::array:
        if (depth >= kMaxDepth) return cut();
        return decodeArray(json, depth + 1);
      case Json::value_t::object:
        if (depth >= kMaxDepth) return cut();
        if (tagged_ && json.size() == 1) {
          if (std::optional<Value> untagged = decodeTag(*json.begin(), json.begin().key(), depth)) {
            return std::move(*untagged);
          }
        }
        return decodeMap(json, depth + 1);
      case Json::value_t::null:
      case Json::value_t::discarded:
        break;
    }
    return Null{};
  }

  bool wasCut() const { return cut_; }

 private:
  Value cut() {
    cut_ = true;
    return Null{};
  }

  Value decodeArray(const Json& json, int depth) {
    Array items;
    items.reserve(json.size());
    for (const Json& item : json) items.push_back(decode(item, depth));
    return items;
  }

  Value decodeMap(const Json& json, int depth) {
    Map map;
    map.reserve(json.size());
    for (const auto& [key, item] : json.get_ref<const Json::object_t&>()) {
      map.set(key, decode(item, depth));
    }
    return map;
  }

  // The value a one-entry object stands for, or nullopt when it is no tag
  // (then it is an ordinary map).
  std::optional<Value> decodeTag(const Json& inner, const std::string& key, int depth) {
    if (key == kBytesTag && inner.is_string()) {
      if (std::optional<Bytes> bytes = decodeBase64(inner.get_ref<const std::string&>())) {
        return Value(std::move(*bytes));
      }
    } else if (key == kDateTag && inner.is_number()) {
      return Value(Date{inner.get<double>()});
    } else if (key == kMapTag && inner.is_object()) {
      if (depth + 1 >= kMaxDepth) return cut();
      return decodeMap(inner, depth + 2);
    }
    return std::nullopt;
  }

  const bool tagged_;
  bool cut_ = false;
};

}  // namespace

Json toJson(const Value& value) { return encode(value, false); }

Value fromJson(const Json& json) { return Decoder(false).decode(json, 0); }

std::string dumpJson(const Value& value) {
  return toJson(value).dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::optional<Value> parseJson(std::string_view text) {
  const Json json = Json::parse(text.begin(), text.end(), nullptr, /*allow_exceptions=*/false);
  if (json.is_discarded()) return std::nullopt;
  Decoder decoder(false);
  Value value = decoder.decode(json, 0);
  if (decoder.wasCut()) return std::nullopt;
  return value;
}

Json toTaggedJson(const Value& value) { return encode(value, true); }

Value fromTaggedJson(const Json& json) { return Decoder(true).decode(json, 0); }

}  // namespace orvanta
