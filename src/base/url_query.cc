#include "orvanta/url_query.h"

#include <algorithm>
#include <optional>
#include <string>

namespace orvanta {
namespace {

constexpr auto npos = std::string_view::npos;

// Characters that may stand in URL text as they are (RFC 3986 unreserved,
// reserved, and "%" for escapes). Where "#", "[" and "]" may stand is
// checked apart.
bool isURLCharacter(unsigned char c) {
  if (c >= 'a' && c <= 'z') return true;
  if (c >= 'A' && c <= 'Z') return true;
  if (c >= '0' && c <= '9') return true;
  return std::string_view("-._~:/?#[]@!$&'()*+,;=%").find(static_cast<char>(c)) != npos;
}

int hexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// Whether text is well-formed UTF-8: no stray continuation byte, no
// truncated or overlong sequence, no surrogate, nothing beyond U+10FFFF.
bool isUTF8(std::string_view text) {
  for (std::size_t i = 0; i < text.size();) {
    const auto lead = static_cast<unsigned char>(text[i]);
    std::size_t length = 0;
    unsigned min = 0;
    if (lead < 0x80) {
      ++i;
      continue;
    } else if ((lead & 0xE0) == 0xC0) {
      length = 2, min = 0x80;
    } else if ((lead & 0xF0) == 0xE0) {
      length = 3, min = 0x800;
    } else if ((lead & 0xF8) == 0xF0) {
      length = 4, min = 0x10000;
    } else {
      return false;
    }
    if (i + length > text.size()) return false;
    unsigned code = lead & (0x7F >> length);
    for (std::size_t k = 1; k < length; ++k) {
      const auto next = static_cast<unsigned char>(text[i + k]);
      if ((next & 0xC0) != 0x80) return false;
      code = (code << 6) | (next & 0x3F);
    }
    if (code < min || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) return false;
    i += length;
  }
  return true;
}

// Percent-decoding only: a "+" stays a "+", as query items are read. Text
// whose escapes do not spell UTF-8 has no decoded form.
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
  if (!isUTF8(out)) return std::nullopt;
  return out;
}

// Where the authority ("//host:port") ends, or 0 when there is none.
std::size_t authorityEnd(std::string_view url) {
  const auto start = url.find("://");
  if (start == npos || url.find_first_of("/?#") < start) return 0;
  return std::min(url.find_first_of("/?#", start + 3), url.size());
}

bool isValidURLText(std::string_view url) {
  for (std::size_t i = 0; i < url.size(); ++i) {
    const auto c = static_cast<unsigned char>(url[i]);
    if (!isURLCharacter(c)) return false;
    if (c == '%' && (i + 2 >= url.size() || hexValue(url[i + 1]) < 0 || hexValue(url[i + 2]) < 0)) return false;
  }
  // One "#" at most, which starts the fragment; brackets only around an IPv6
  // host.
  const auto fragment = url.find('#');
  if (fragment != npos && url.find('#', fragment + 1) != npos) return false;
  return url.find_first_of("[]", authorityEnd(url)) == npos;
}

}  // namespace

Map queryParameters(std::string_view url) {
  Map parameters;
  if (!isValidURLText(url)) return parameters;
  // The query runs from the first "?" to the fragment; a "?" inside the
  // fragment belongs to the fragment.
  const std::string_view beforeFragment = url.substr(0, url.find('#'));
  const auto question = beforeFragment.find('?');
  if (question == npos) return parameters;
  std::string_view query = beforeFragment.substr(question + 1);
  while (!query.empty()) {
    const auto amp = query.find('&');
    const std::string_view item = query.substr(0, amp);
    query = amp == npos ? std::string_view() : query.substr(amp + 1);
    const auto equals = item.find('=');
    if (equals == npos) continue;  // an item without a value
    auto name = percentDecode(item.substr(0, equals));
    auto value = percentDecode(item.substr(equals + 1));
    if (name && value) parameters.set(std::move(*name), std::move(*value));
  }
  return parameters;
}

void replaceKey(Map& map, std::string_view oldKey, std::string_view newKey) {
  const Value* value = map.find(oldKey);
  if (!value) return;
  // Stored under the new key, then the old one removed: a key moved onto
  // itself is gone.
  Value moved = *value;
  map.set(std::string(newKey), std::move(moved));
  map.erase(oldKey);
}

}  // namespace orvanta
