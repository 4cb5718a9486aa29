#include "core/url_query.h"

#include <optional>
#include <string>

namespace orvanta {
namespace {

// Characters that may stand in URL text as they are (RFC 3986 unreserved,
// reserved, and "%" for escapes).
bool isURLCharacter(unsigned char c) {
  if (c >= 'a' && c <= 'z') return true;
  if (c >= 'A' && c <= 'Z') return true;
  if (c >= '0' && c <= '9') return true;
  return std::string_view("-._~:/?#[]@!$&'()*+,;=%").find(static_cast<char>(c)) != std::string_view::npos;
}

int hexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// Percent-decoding only: a "+" stays a "+", as query items are read.
std::optional<std::string> percentDecode(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') {
      out.push_back(text[i]);
      continue;
    }
    if (i + 2 >= text.size()) return std::nullopt;
    const int high = hexValue(text[i + 1]), low = hexValue(text[i + 2]);
    if (high < 0 || low < 0) return std::nullopt;
    out.push_back(static_cast<char>(high * 16 + low));
    i += 2;
  }
  return out;
}

bool isValidURLText(std::string_view url) {
  for (std::size_t i = 0; i < url.size(); ++i) {
    const auto c = static_cast<unsigned char>(url[i]);
    if (!isURLCharacter(c)) return false;
    if (c == '%' && (i + 2 >= url.size() || hexValue(url[i + 1]) < 0 || hexValue(url[i + 2]) < 0)) return false;
  }
  return true;
}

}  // namespace

Map queryParameters(std::string_view url) {
  Map parameters;
  if (!isValidURLText(url)) return parameters;
  const auto question = url.find('?');
  if (question == std::string_view::npos) return parameters;
  std::string_view query = url.substr(question + 1);
  query = query.substr(0, query.find('#'));
  while (!query.empty()) {
    const auto amp = query.find('&');
    const std::string_view item = query.substr(0, amp);
    query = amp == std::string_view::npos ? std::string_view() : query.substr(amp + 1);
    const auto equals = item.find('=');
    if (equals == std::string_view::npos) continue;  // an item without a value
    auto name = percentDecode(item.substr(0, equals));
    auto value = percentDecode(item.substr(equals + 1));
    if (name && value) parameters.set(std::move(*name), std::move(*value));
  }
  return parameters;
}

void replaceKey(Map& map, std::string_view oldKey, std::string_view newKey) {
  const Value* value = map.find(oldKey);
  if (!value) return;
  Value moved = *value;
  map.erase(oldKey);
  map.set(std::string(newKey), std::move(moved));
}

}  // namespace orvanta
