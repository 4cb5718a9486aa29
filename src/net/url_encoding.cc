#include "net/url_encoding.h"

namespace orvanta {
namespace {

bool isFragmentAllowed(unsigned char c) {
  if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9')) return true;
  return std::string_view("!$&'()*+,-./:;=?@_~").find(static_cast<char>(c)) != std::string_view::npos;
}

}  // namespace

std::string percentEncodeURLFragment(std::string_view text) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string out;
  out.reserve(text.size());
  for (const char ch : text) {
    const auto c = static_cast<unsigned char>(ch);
    if (isFragmentAllowed(c)) {
      out.push_back(ch);
    } else {
      out.push_back('%');
      out.push_back(kDigits[c >> 4]);
      out.push_back(kDigits[c & 0xf]);
    }
  }
  return out;
}

}  // namespace orvanta
