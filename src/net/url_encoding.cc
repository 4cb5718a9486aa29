#include "net/url_encoding.h"

namespace orvanta {
namespace {

// The characters a URL's fragment and its query may hold as they are (the
// two sets are equal).
bool isQueryOrFragmentAllowed(unsigned char c) {
  if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9')) return true;
  return std::string_view("!$&'()*+,-./:;=?@_~").find(static_cast<char>(c)) != std::string_view::npos;
}

std::string percentEncodeQueryOrFragment(std::string_view text) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string out;
  out.reserve(text.size());
  for (const char ch : text) {
    const auto c = static_cast<unsigned char>(ch);
    if (isQueryOrFragmentAllowed(c)) {
      out.push_back(ch);
    } else {
      out.push_back('%');
      out.push_back(kDigits[c >> 4]);
      out.push_back(kDigits[c & 0xf]);
    }
  }
  return out;
}

}  // namespace

std::string percentEncodeURLFragment(std::string_view text) { return percentEncodeQueryOrFragment(text); }

std::string percentEncodeURLQuery(std::string_view text) { return percentEncodeQueryOrFragment(text); }

}  // namespace orvanta
