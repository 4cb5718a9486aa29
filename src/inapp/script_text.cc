#include "inapp/script_text.h"

#include <type_traits>

#include "orvanta/number_text.h"

namespace orvanta {
namespace {

constexpr const char* kObjectText = "[object Object]";

template <typename Items, typename Text>
std::string joined(const Items& items, Text text) {
  std::string out;
  bool first = true;
  for (const auto& item : items) {
    if (!first) out += ',';
    first = false;
    out += text(item);
  }
  return out;
}

std::string elementText(const Value& element);

std::string valueText(const Value& value) {
  return std::visit(
      [](const auto& v) -> std::string {
        using T = std::decay_t<decltype(v)>;
        if constexpr (std::is_same_v<T, Null>) return "null";
        if constexpr (std::is_same_v<T, bool>) return v ? "true" : "false";
        if constexpr (std::is_same_v<T, std::int64_t>) return std::to_string(v);
        if constexpr (std::is_same_v<T, double>) return shortestDecimal(v);
        if constexpr (std::is_same_v<T, std::string>) return v;
        if constexpr (std::is_same_v<T, Bytes>) {
          return joined(v, [](auto byte) { return std::to_string(static_cast<unsigned>(byte)); });
        }
        if constexpr (std::is_same_v<T, Array>) return joined(v, elementText);
        return kObjectText;  // a map or a date
      },
      value.storage());
}

// Inside an array, null stands for nothing.
std::string elementText(const Value& element) { return element.isNull() ? std::string() : valueText(element); }

}  // namespace

std::string scriptText(const std::optional<Value>& argument) {
  return argument ? valueText(*argument) : std::string("undefined");
}

}  // namespace orvanta
