#include "orvanta/url_query.h"

#include <uriparser/Uri.h>

#include <optional>
#include <ranges>
#include <string>

#include "base/utf8.h"

namespace orvanta {
namespace {

// Percent-decoding only: a "+" stays a "+", as query items are read. Text
// whose escapes do not spell UTF-8 has no decoded form. The decoded length
// comes from the end uriparser answers, so that a "%00" stays in the text.
std::optional<std::string> percentDecode(std::string_view text) {
  std::string out(text);
  out.resize(uriUnescapeInPlaceExA(out.data(), URI_FALSE, URI_BR_DONT_TOUCH) - out.data());
  if (!isUtf8(out)) return std::nullopt;
  return out;
}

}  // namespace

Map queryParameters(std::string_view url) {
  Map parameters;
  UriUriA uri;
  if (uriParseSingleUriExA(&uri, url.data(), url.data() + url.size(), nullptr) != URI_SUCCESS) return parameters;
  // The parsed query stops at the fragment, so a "?" inside the fragment
  // starts none; its range points into url.
  const std::string_view query(uri.query.first, uri.query.afterLast);
  uriFreeUriMembersA(&uri);
  // Split here rather than by uriDissectQueryMallocA, whose items end at the
  // first zero byte and so would cut a value at a "%00".
  for (const auto range : std::views::split(query, '&')) {
    const std::string_view item(range.begin(), range.end());
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
  // Stored under the new key, then the old one removed: a key moved onto
  // itself is gone.
  Value moved = *value;
  map.set(std::string(newKey), std::move(moved));
  map.erase(oldKey);
}

}  // namespace orvanta
